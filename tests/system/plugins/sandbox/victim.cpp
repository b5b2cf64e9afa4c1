// SPDX-License-Identifier: GPL-3.0-or-later

// A program with guests at every stage, for a test that kills it: one that serves and has started a daemon, one that is
// stopped, one in an endless loop, one that never comes up and one that never closes. Says "ready" when they are there,
// and then waits to be killed.

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <future>
#include <memory>
#include <thread>

#include "system/audio/node_processor.h"
#include "system/plugins/sandbox/supervisor.h"
#include "system/plugins/sandbox/word_wait.h"

namespace {

using namespace vrel::sandbox;  // NOLINT(google-build-using-namespace)

Supervisor::Launch launchOf(const char* name, std::function<void(vrel::Result<Supervisor::Ready>)> done) {
  InstantiateRequest request;
  request.bundlePath = VREL_ZOO_PATH "/rebel.lv2/";
  request.pluginUri = std::string("urn:vrel:zoo:rebel-") + name;
  request.componentType = 1;
  request.sampleRate = 48000;
  request.nominalBlockFrames = 128;
  return {request, std::move(done), {}};
}

std::shared_ptr<Guest> guestOf(Supervisor& supervisor, const char* name) {
  auto made = std::make_shared<std::promise<std::shared_ptr<Guest>>>();
  supervisor.launch(launchOf(
      name, [made](vrel::Result<Supervisor::Ready> ready) { made->set_value(ready ? ready.value().guest : nullptr); }));
  return made->get_future().get();
}

/// Has the rebel in the guest get one of its keys.
void press(Guest& guest, std::uint8_t key) {
  BlockRequest& request = guest.block().requests[1];
  request.frameCount = 64;
  request.eventCount = 1;
  request.events[0] = {{0x90, key, 64}};
  post(guest.block().request, 1);
}

}  // namespace

int main() {
  const auto supervisor =
      Supervisor::start({.helperPath = VREL_PLUGIN_HOST_PROGRAM, .log = {}, .closingGrace = std::chrono::hours(1)})
          .value();
  const auto serving = guestOf(*supervisor, "kind");
  const auto stopped = guestOf(*supervisor, "kind");
  const auto looping = guestOf(*supervisor, "kind");
  auto closing = guestOf(*supervisor, "hang-cleanup");
  if (!serving || !stopped || !looping || !closing) {
    return 1;
  }
  supervisor->launch(launchOf("hang-instantiate", [](const vrel::Result<Supervisor::Ready>&) {}));
  kill(stopped->processId(), SIGSTOP);
  press(*serving, 13);
  press(*looping, 1);
  closing.reset();
  while (supervisor->processCount() < 5) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  std::puts("ready");
  std::fflush(stdout);
  pause();
  return 0;
}
