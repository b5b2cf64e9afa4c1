// SPDX-License-Identifier: GPL-3.0-or-later
// Latency from a note of another program to a host's output: this program next to jalv, a host that runs one plug-in in
// JACK's own callback. Both play the same plug-in on the same server.

#include <algorithm>
#include <array>
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

#include "note_probe.h"
#include "percentile.h"
#include "support/devices/child_process.h"
#include "support/devices/jack_server.h"
#include "support/devices/live_stage.h"

namespace vrel::system::bench {
namespace {

constexpr double never = std::numeric_limits<double>::infinity();

struct Options {
  std::string plugin = "http://drobilla.net/plugins/mda/Piano";
  int notes = 500;
  bool sandbox = true;
};

Options parse(const std::vector<std::string>& arguments) {
  Options options;
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    const bool hasValue = index + 1 < arguments.size();
    if (arguments[index] == "--in-process") {
      options.sandbox = false;
    } else if (arguments[index] == "--notes" && hasValue) {
      options.notes = std::stoi(arguments[++index]);
    } else if (arguments[index] == "--plugin" && hasValue) {
      options.plugin = arguments[++index];
    } else {
      throw std::invalid_argument("usage: latency_bench [--notes N] [--plugin URI] [--in-process]");
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

void report(std::array<Host, NoteProbe::hostCount>& hosts, double blockFrames) {
  std::printf("%-6s %8s %8s %8s %8s %8s   frames;  99%% in periods\n", "", "least", "median", "90%", "99%", "most");
  for (auto& [name, frames] : hosts) {
    std::sort(frames.begin(), frames.end());
    std::printf("%-6s", name);
    for (const double part : {0.0, 0.5, 0.9, 0.99, 1.0}) {
      std::printf(" %8.0f", vrel::bench::percentile(frames, part));
    }
    std::printf("            %14.2f\n", vrel::bench::percentile(frames, 0.99) / blockFrames);
  }
}

std::array<Host, NoteProbe::hostCount> measure(NoteProbe& probe, int notes) {
  constexpr std::uint8_t middle = 60;
  std::array<Host, NoteProbe::hostCount> hosts = {Host{"vrel", {}}, Host{"jalv", {}}};
  for (int note = 0; note < notes; ++note) {
    const auto latencies = probe.play(middle);
    for (std::size_t host = 0; host < hosts.size(); ++host) {
      hosts[host].frames.push_back(latencies[host] ? *latencies[host] : never);
    }
  }
  return hosts;
}

/// False when a host missed a note.
bool run(const Options& options) {
  test::JackServer server;
  server.start();
  Jalv jalv(server.name(), options.plugin);
  test::LiveStage stage(
      {.jackServerName = server.name(), .pluginHostProgram = VREL_PLUGIN_HOST_PROGRAM, .sandbox = options.sandbox});
  if (const auto failure = stage.load(options.plugin)) {
    throw std::runtime_error(failure->description);
  }
  NoteProbe probe(server.name());
  const auto areLinked = [&] {
    stage.loop().runPending();
    return !jalv.isRunning() || (probe.link(0, "VRELMIDIClient", "vrel") && probe.link(1, "jalv", "jalv"));
  };
  if (!test::eventually(areLinked) || !jalv.isRunning()) {
    throw std::runtime_error("jalv (Debian package jalv) cannot play " + options.plugin);
  }

  // This thread runs the main queue, so another one measures.
  std::array<Host, NoteProbe::hostCount> hosts;
  std::exception_ptr failure;
  bool isDone = false;
  std::thread measuring([&] {
    try {
      hosts = measure(probe, options.notes);
    } catch (...) {
      failure = std::current_exception();
    }
    stage.loop().async([&isDone] { isDone = true; });
  });
  stage.loop().waitUntil([&isDone] { return isDone; }, std::chrono::hours(1));
  measuring.join();
  if (failure) {
    std::rethrow_exception(failure);
  }
  std::printf("%s, %d notes, 48000 frames per second, %u in a period; vrel's plug-in %s\n", options.plugin.c_str(),
              options.notes, probe.blockFrames(), options.sandbox ? "in a process of its own" : "in its own process");
  report(hosts, probe.blockFrames());
  std::printf("blocks that vrel's plug-in missed: %llu; device xruns: %llu\n",
              static_cast<unsigned long long>(stage.pluginCounters().lateBlocks),
              static_cast<unsigned long long>(stage.output().underruns()));
  return std::all_of(hosts.begin(), hosts.end(), [](const Host& host) { return host.frames.back() != never; });
}

}  // namespace
}  // namespace vrel::system::bench

int main(int argumentCount, char** arguments) {
  using namespace vrel::system::bench;
  try {
    return run(parse({arguments + 1, arguments + argumentCount})) ? 0 : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}
