// SPDX-License-Identifier: GPL-3.0-or-later
// Latency from a note of another program to a host's output: this program next to jalv, a host that runs one plug-in in
// JACK's own callback. Both play the same plug-in on the same server, and get the same notes.

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "percentile.h"
#include "support/devices/child_process.h"
#include "support/devices/jack_server.h"
#include "support/devices/live_stage.h"
#include "support/devices/note_probe.h"

namespace vrel::system::bench {
namespace {

using test::NoteProbe;

constexpr double never = std::numeric_limits<double>::infinity();

struct Options {
  std::string plugin = "http://drobilla.net/plugins/mda/Piano";
  int notes = 500;
};

/// How this program plays.
struct Variant {
  const char* name;
  bool sandbox;
  bool isMainThreadHeldUp;
};

Options parse(const std::vector<std::string>& arguments) {
  Options options;
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    const bool hasValue = index + 1 < arguments.size();
    if (arguments[index] == "--notes" && hasValue) {
      options.notes = std::stoi(arguments[++index]);
    } else if (arguments[index] == "--plugin" && hasValue) {
      options.plugin = arguments[++index];
    } else {
      throw std::invalid_argument("usage: latency_bench [--notes N] [--plugin URI]");
    }
  }
  return options;
}

/// The reference host, on the server.
class Jalv {
 public:
  Jalv(const std::string& serverName, const std::string& plugin)
      : logPath_(std::filesystem::temp_directory_path() / (serverName + "-jalv.log")) {
    setenv("JACK_DEFAULT_SERVER", serverName.c_str(), 1);
    setenv("JACK_NO_START_SERVER", "1", 1);
    process_.start({"jalv", "-x", "-n", "jalv", plugin}, logPath_);
  }
  ~Jalv() {
    std::error_code ignored;
    std::filesystem::remove(logPath_, ignored);
  }
  Jalv(const Jalv&) = delete;
  Jalv& operator=(const Jalv&) = delete;

  [[nodiscard]] bool isRunning() { return process_.isRunning(); }

 private:
  const std::string logPath_;
  test::ChildProcess process_;
};

struct Host {
  const char* name = "";
  std::vector<double> frames;  // of each note; `never` where it was missed
};

using Hosts = std::array<Host, NoteProbe::mostHosts>;

void report(const Variant& variant, Hosts& hosts, double blockFrames) {
  for (auto& [name, frames] : hosts) {
    std::sort(frames.begin(), frames.end());
    std::printf("%-32s %-5s", variant.name, name);
    for (const double part : {0.0, 0.5, 0.9, 0.99, 1.0}) {
      std::printf(" %8.0f", vrel::bench::percentile(frames, part));
    }
    std::printf("            %14.2f\n", vrel::bench::percentile(frames, 0.99) / blockFrames);
  }
}

Hosts measure(NoteProbe& probe, int notes) {
  constexpr std::uint8_t middle = 60;
  Hosts hosts = {Host{"vrel", {}}, Host{"jalv", {}}};
  for (int note = 0; note < notes; ++note) {
    const auto latencies = probe.play(middle);
    for (std::size_t host = 0; host < hosts.size(); ++host) {
      hosts[host].frames.push_back(latencies[host] ? *latencies[host] : never);
    }
  }
  return hosts;
}

/// The main thread, until `isDone`. Held up, it looks after its queue five times a second only.
void runMainThread(test::LiveStage& stage, const Variant& variant, const std::atomic<bool>& isDone) {
  constexpr auto hold = std::chrono::milliseconds(200);
  while (variant.isMainThreadHeldUp && !isDone) {
    std::this_thread::sleep_for(hold);
    stage.loop().runPending();
  }
  stage.loop().waitUntil([&isDone] { return isDone.load(); }, std::chrono::hours(1));
}

/// False when a host missed a note.
bool run(const Options& options, const Variant& variant, const std::string& serverName, Jalv& jalv) {
  test::LiveStage stage(
      {.jackServerName = serverName, .pluginHostProgram = VREL_PLUGIN_HOST_PROGRAM, .sandbox = variant.sandbox});
  if (const auto failure = stage.load(options.plugin)) {
    throw std::runtime_error(failure->description);
  }
  NoteProbe probe(serverName);
  const auto areLinked = [&] {
    stage.loop().runPending();
    return !jalv.isRunning() || (probe.link(0, "vrel", "vrel") && probe.link(1, "jalv", "jalv"));
  };
  if (!test::eventually(areLinked) || !jalv.isRunning()) {
    throw std::runtime_error("jalv (Debian package jalv) cannot play " + options.plugin);
  }

  // This thread runs the main queue, so another one measures.
  Hosts hosts;
  std::exception_ptr failure;
  std::atomic<bool> isDone{false};
  std::thread measuring([&] {
    try {
      hosts = measure(probe, options.notes);
    } catch (...) {
      failure = std::current_exception();
    }
    isDone = true;
    stage.loop().async([] {});
  });
  runMainThread(stage, variant, isDone);
  measuring.join();
  if (failure) {
    std::rethrow_exception(failure);
  }
  report(variant, hosts, probe.blockFrames());
  std::printf("%-32s blocks that the plug-in missed: %llu; device xruns: %llu\n", "",
              static_cast<unsigned long long>(stage.pluginCounters().lateBlocks),
              static_cast<unsigned long long>(stage.output().underruns()));
  std::fflush(stdout);
  return std::all_of(hosts.begin(), hosts.end(), [](const Host& host) { return host.frames.back() != never; });
}

bool runAll(const Options& options) {
  constexpr std::array<Variant, 3> variants{{{"in this process", false, false},
                                             {"in a process of its own", true, false},
                                             {"the same, main thread held up", true, true}}};
  test::JackServer server;
  server.start();
  Jalv jalv(server.name(), options.plugin);
  std::printf("%s, %d notes each, 48000 frames per second, 128 in a period; frames\n", options.plugin.c_str(),
              options.notes);
  std::printf("%-38s %8s %8s %8s %8s %8s     99%% in periods\n", "", "least", "median", "90%", "99%", "most");
  return std::all_of(variants.begin(), variants.end(),
                     [&](const Variant& variant) { return run(options, variant, server.name(), jalv); });
}

}  // namespace
}  // namespace vrel::system::bench

int main(int argumentCount, char** arguments) {
  using namespace vrel::system::bench;
  try {
    return runAll(parse({arguments + 1, arguments + argumentCount})) ? 0 : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}
