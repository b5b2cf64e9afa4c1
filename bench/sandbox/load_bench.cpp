// SPDX-License-Identifier: GPL-3.0-or-later
// Load time of an instrument: from a warm pool, in main-thread time; and cold, in a process of its own, to its first
// block, next to jalv from its start to the plug-in's first block, on the same JACK server.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "document/component_scan.h"
#include "document/plugin_path.h"
#include "support/devices/child_process.h"
#include "support/devices/jack_server.h"
#include "support/devices/live_stage.h"
#include "system/plugins/scratch_folder.h"

namespace vrel::sandbox {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using system::test::LiveStage;

constexpr const char* heraldUri = "urn:vrel:bench:herald";

double millisecondsSince(Clock::time_point begin) {
  return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

/// Where the plug-in reports its first block.
class Herald {
 public:
  Herald() { setenv("VREL_HERALD_FILE", file_.c_str(), 1); }

  void forget() const { fs::remove(file_); }

  /// Milliseconds from `begin` to the first block reported since `forget`; `crank` runs meanwhile.
  template <typename Crank>
  double await(Clock::time_point begin, const Crank& crank) const {
    std::int64_t nanoseconds = 0;
    const auto isReported = [&] {
      crank();
      std::ifstream stream(file_);
      std::string line;
      if (!std::getline(stream, line) || stream.eof()) {
        return false;
      }
      nanoseconds = std::stoll(line);
      return true;
    };
    if (!system::test::eventually(isReported)) {
      throw std::runtime_error("the plug-in reported no block");
    }
    const auto since = std::chrono::nanoseconds(nanoseconds) - begin.time_since_epoch();
    return std::chrono::duration<double, std::milli>(since).count();
  }

 private:
  const ScratchFolder folder_ = ScratchFolder::make().value();
  const fs::path file_ = folder_.path() / "played";
};

AVAudioUnitComponent heraldComponent() {
  const auto world = lv2::Lv2World::open();
  for (const auto& component : scanInstrumentComponents(*world)) {
    if (component.name == "Herald") {
      return component;
    }
  }
  throw std::runtime_error("the plug-in is not found");
}

/// Loads the instrument from a warm pool into a new strip: milliseconds of the main thread.
double warmLoad(LiveStage& stage, const AVAudioUnitComponent& component) {
  const auto key = pluginKey(component);
  auto& pool = stage.engine().pluginPool();
  pool.prewarmPlugin(key, nullptr);
  while (pool.isPrewarming(key) || pool.idleCount(key) == 0) {
    stage.loop().runPending();
  }
  const auto channel = stage.engine().addChannel("Strip");
  bool isLoaded = false;
  const auto begin = Clock::now();
  stage.engine().instruments().loadInstrument(channel, component, std::nullopt,
                                              [&](bool succeeded) { isLoaded = succeeded; });
  stage.loop().runPending();
  const double taken = millisecondsSince(begin);
  if (!isLoaded) {
    throw std::runtime_error("the pool was not warm");
  }
  stage.engine().removeChannel(*channel);
  return taken;
}

/// Revives a strip whose plug-in has crashed, with an empty pool: milliseconds to the first block of the new one.
double coldLoad(LiveStage& stage, AudioChannel& channel, const Herald& herald) {
  stage.engine().instruments().simulatePluginCrash(channel);
  herald.forget();
  const auto begin = Clock::now();
  stage.engine().instruments().reviveChannel(channel.shared_from_this());
  return herald.await(begin, [&] { stage.loop().runPending(); });
}

double jalvLoad(const Herald& herald, const std::string& logPath) {
  herald.forget();
  system::test::ChildProcess jalv;
  const auto begin = Clock::now();
  jalv.start({"jalv", "-n", "herald", heraldUri}, logPath);
  const double taken = herald.await(begin, [&] {
    if (!jalv.isRunning()) {
      throw std::runtime_error("jalv (Debian package jalv) cannot play the plug-in");
    }
  });
  jalv.end(SIGTERM);
  return taken;
}

void report(const char* what, std::vector<double> values) {
  std::sort(values.begin(), values.end());
  std::printf("%-46s %7.3f least %7.3f median %7.3f most (ms)\n", what, values.front(), values[values.size() / 2],
              values.back());
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

void run(int rounds) {
  setenv("LV2_PATH", VREL_HERALD_PATH ":/usr/lib/lv2:/usr/local/lib/lv2", 1);
  const Herald herald;
  const ScratchFolder logs = ScratchFolder::make().value();
  system::test::JackServer server;
  server.start();
  setenv("JACK_DEFAULT_SERVER", server.name().c_str(), 1);
  setenv("JACK_NO_START_SERVER", "1", 1);
  LiveStage stage({.jackServerName = server.name(), .pluginHostProgram = VREL_PLUGIN_HOST_PROGRAM});
  const auto component = heraldComponent();
  stage.engine().pluginPool().setResolver(
      [component](const std::string& key) { return resolvePluginPath(key, {component}); });
  if (const auto failure = stage.load(heraldUri)) {
    throw std::runtime_error(failure->description);
  }
  AudioChannel& strip = *stage.engine().channels().front();

  std::vector<double> cold;
  std::vector<double> jalv;
  for (int round = 0; round < rounds; ++round) {
    cold.push_back(coldLoad(stage, strip, herald));
    jalv.push_back(jalvLoad(herald, logs.path() / "jalv.log"));
  }
  constexpr int stripCount = 16;
  for (int other = 1; other < stripCount; ++other) {
    if (const auto failure = stage.load(heraldUri)) {
      throw std::runtime_error(failure->description);
    }
  }
  std::vector<double> warm;
  for (int round = 0; round < 10 * rounds; ++round) {
    warm.push_back(warmLoad(stage, component));
  }
  report("warm load with 16 strips, main thread", warm);
  report("cold load to the first block", cold);
  report("jalv, from its start to the first block", jalv);
  std::printf("cold load relative to jalv (medians): %.2f\n", median(cold) / median(jalv));
}

}  // namespace
}  // namespace vrel::sandbox

int main(int argc, char** argv) {
  try {
    vrel::sandbox::run(argc > 1 ? std::max(std::atoi(argv[1]), 1) : 40);
    return EXIT_SUCCESS;
  } catch (const std::exception& thrown) {
    std::fprintf(stderr, "load_bench: %s\n", thrown.what());
    return EXIT_FAILURE;
  }
}
