// SPDX-License-Identifier: GPL-3.0-or-later
// Start time, seen from outside: from the start of the process to JACK's notification that its output is connected to
// the playback ports, which the program does once its blocks run. With the plug-ins of this machine and with none,
// alternating: the difference is the cost of the scan.

#include <jack/jack.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "document/component_scan.h"
#include "percentile.h"
#include "support/devices/child_process.h"
#include "support/devices/jack_access.h"
#include "support/devices/jack_server.h"
#include "support/ui/virtual_display.h"
#include "system/plugins/lv2/lv2_world.h"

namespace vrel::app::bench {
namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// Notices when the program's output is connected.
class StreamWatch {
 public:
  explicit StreamWatch(const std::string& serverName) : client_(system::test::joinServer("watch", serverName)) {
    if (!client_ || jack_set_port_connect_callback(client_.get(), notice, this) != 0 ||
        jack_activate(client_.get()) != 0) {
      throw std::runtime_error("cannot open a JACK client");
    }
  }

  [[nodiscard]] Clock::time_point linkedAt() const { return linkedAt_; }
  [[nodiscard]] bool isLinked() const { return linkedAt() != Clock::time_point::max(); }

 private:
  static void notice(jack_port_id_t from, jack_port_id_t /*to*/, int isConnected, void* watch) {
    auto& self = *static_cast<StreamWatch*>(watch);
    const auto* const port = jack_port_by_id(self.client_.get(), from);
    const bool isOurs = port != nullptr && std::string_view(jack_port_name(port)).starts_with("vrel:");
    if (isOurs && isConnected != 0 && !self.isLinked()) {
      self.linkedAt_ = Clock::now();
    }
  }

  std::atomic<Clock::time_point> linkedAt_{Clock::time_point::max()};
  system::test::Client client_;
};

/// Milliseconds of one start, on a server of its own: a server whose clients were killed may block for long.
double startOnce(system::test::JackServer& server, const std::filesystem::path& folder) {
  server.start();
  system::test::ChildProcess program;
  auto watch = std::make_unique<StreamWatch>(server.name());
  // A session of its own, or it would hand over to a program that runs already.
  ::setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): nobody else reads it
  const auto start = Clock::now();
  program.start({VREL_PROGRAM}, folder / "vrel.log");
  const auto isOver = [&] { return watch->isLinked() || !program.isRunning(); };
  const bool plays = system::test::eventually(isOver) && watch->isLinked();
  const double took = std::chrono::duration<double, std::milli>(watch->linkedAt() - start).count();
  watch.reset();
  program.end(SIGKILL);
  server.kill();
  if (!plays) {
    throw std::runtime_error("the program did not connect its output");
  }
  return took;
}

/// Scans, and makes both lists as the program does.
std::size_t pluginCount() {
  const auto world = lv2::Lv2World::open();
  return scanInstrumentComponents(*world).size() + scanAudioEffectComponents(*world).size();
}

struct Times {
  const char* what = "";
  std::vector<double> milliseconds;
};

void report(Times& times) {
  std::sort(times.milliseconds.begin(), times.milliseconds.end());
  std::printf("%-44s %8.0f %8.0f %8.0f\n", times.what, times.milliseconds.front(),
              vrel::bench::percentile(times.milliseconds, 0.5), times.milliseconds.back());
}

void measure(int runs, const std::filesystem::path& folder) {
  system::test::JackServer server;
  ::setenv("JACK_DEFAULT_SERVER", server.name().c_str(), 1);
  ::setenv("JACK_NO_START_SERVER", "1", 1);
  ::setenv("VREL_PLUGIN_HOST", VREL_PLUGIN_HOST_PROGRAM, 1);
  const test::VirtualDisplay display(1440, 900);
  test::moveHome(folder);
  const auto nothing = folder / "no-plug-ins";
  std::filesystem::create_directory(nothing);

  Times all{"start to playing, plug-ins of this machine", {}};
  Times none{"start to playing, no plug-ins", {}};
  Times scan{"the scan alone, in a running program", {}};
  std::size_t plugins = 0;
  for (int run = 0; run < runs; ++run) {
    ::unsetenv("LV2_PATH");
    const auto start = Clock::now();
    plugins = pluginCount();
    scan.milliseconds.push_back(millisecondsSince(start));
    all.milliseconds.push_back(startOnce(server, folder));
    ::setenv("LV2_PATH", nothing.c_str(), 1);
    none.milliseconds.push_back(startOnce(server, folder));
  }
  std::printf("%d starts each; %zu instruments and effects; milliseconds\n", runs, plugins);
  std::printf("%-44s %8s %8s %8s\n", "", "least", "median", "most");
  for (auto* const times : {&all, &none, &scan}) {
    report(*times);
  }
  const double withAll = vrel::bench::percentile(all.milliseconds, 0.5);
  const double withNone = vrel::bench::percentile(none.milliseconds, 0.5);
  std::printf("the scan's share of the start (medians): %.0f ms, %.0f %%\n", withAll - withNone,
              100 * (withAll - withNone) / withAll);
}

int runsOf(const std::vector<std::string>& arguments) {
  constexpr int usual = 10;
  if (arguments.empty()) {
    return usual;
  }
  if (arguments.size() != 2 || arguments[0] != "--runs" || std::stoi(arguments[1]) < 1) {
    throw std::invalid_argument("usage: start_bench [--runs N]");
  }
  return std::stoi(arguments[1]);
}

}  // namespace
}  // namespace vrel::app::bench

int main(int argumentCount, char** arguments) {
  using namespace vrel::app;
  try {
    const int runs = bench::runsOf({arguments + 1, arguments + argumentCount});
    const auto folder = test::makeTemporaryFolder();
    bench::measure(runs, folder);
    std::filesystem::remove_all(folder);
    return EXIT_SUCCESS;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return EXIT_FAILURE;
  }
}
