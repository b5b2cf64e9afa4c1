// SPDX-License-Identifier: GPL-3.0-or-later

// The program without a window, on whichever JACK library it is started with: plays notes from another client, and
// prints of each how many frames late it was heard. The first argument is the program for plug-ins.

#include <cstdio>
#include <exception>
#include <stdexcept>

#include "support/devices/child_process.h"
#include "support/devices/live_stage.h"
#include "support/devices/note_probe.h"

namespace vrel::system::test {
namespace {

constexpr int notes = 8;

void play(const char* pluginHostProgram, bool sandbox) {
  LiveStage stage({.jackServerName = {}, .pluginHostProgram = pluginHostProgram, .sandbox = sandbox});
  if (const auto failure = stage.load("http://drobilla.net/plugins/mda/Piano")) {
    throw std::runtime_error(failure->description);
  }
  NoteProbe probe({}, 1);
  const auto isLinked = [&] {
    stage.loop().runPending();
    return probe.link(0, "vrel", "vrel");
  };
  if (!eventually(isLinked)) {
    throw std::runtime_error("the program is not on the server");
  }
  std::printf("device %s\n", stage.output().state().get().device.c_str());
  for (int note = 0; note < notes; ++note) {
    const auto late = probe.play(60).front();
    std::printf("late %d\n", late ? static_cast<int>(*late) : -1);
    stage.loop().runPending();
  }
}

}  // namespace
}  // namespace vrel::system::test

int main(int argumentCount, char** arguments) {
  try {
    vrel::system::test::play(arguments[1], argumentCount > 2);
    return 0;
  } catch (const std::exception& failure) {
    std::printf("%s\n", failure.what());
    return 1;
  }
}
