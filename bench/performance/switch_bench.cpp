// SPDX-License-Identifier: GPL-3.0-or-later
// Main-thread time of a song switch, relative to the plug-ins' states alone, and the number of silent blocks.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "audio/bench_graph.h"
#include "performance/switch_stage.h"
#include "system/audio/paced_null_device.h"

namespace vrel::bench {
namespace {

using audio::bench::Clock;
using audio::bench::median;
using audio::bench::microsecondsSince;

/// Every strip has a state of the expected size in the setlist.
bool areStatesThere(SwitchStage& stage) {
  return std::all_of(stage.engine->channels().begin(), stage.engine->channels().end(), [&](const auto& channel) {
    const auto text = stage.engine->pluginState().capturePluginState(*channel);
    return text && text->size() > stateBytes * 4 / 3;
  });
}

/// Captures and restores all states on stage, by their texts: what a switch cost while it made and read those.
double microsecondsOfStates(SwitchStage& stage) {
  auto& states = stage.engine->pluginState();
  const auto decode = [&states](const std::optional<SharedText>& text) {
    return states.decodePluginState(text ? std::optional(SharedText(text->text())) : std::nullopt);
  };
  const auto begin = Clock::now();
  for (const auto& channel : stage.engine->channels()) {
    auto& unit = dynamic_cast<AVAudioUnit&>(*channel->instrumentNode.get()).auAudioUnit();
    const auto captured = states.capturePluginState(*channel);
    if (const auto state = decode(captured)) {
      unit.setFullStateForDocument(*state);
    }
    for (const auto& slot : states.captureEffectSlots(*channel)) {
      if (const auto state = decode(slot.stateBase64)) {
        dynamic_cast<AVAudioUnit&>(*channel->effectNodes.get().at(slot.id))
            .auAudioUnit()
            .setFullStateForDocument(*state);
      }
    }
  }
  return microsecondsSince(begin);
}

void switchInRealTime(benchmark::State& state, const CastMaker& makeCast) {
  SoundWatch watch;
  const auto device = std::make_shared<audio::PacedNullDevice>(
      audio::bench::sampleRate, audio::bench::blockFrames,
      [&watch](std::span<const float> left, std::span<const float> /*right*/) { watch.see(left.back()); });
  SwitchStage stage(device, makeCast);
  std::vector<double> passes;
  std::vector<double> wholes;
  std::vector<double> gaps;
  std::vector<double> states;
  for (auto _ : state) {
    if (!stage.isPoolWarm() || !areStatesThere(stage)) {
      state.SkipWithError("the pool is not warm, or a state is missing");
      break;
    }
    states.push_back(microsecondsOfStates(stage));
    const auto silentBefore = watch.silentBlocks();
    const auto begin = Clock::now();
    stage.apply();
    passes.push_back(microsecondsSince(begin));
    stage.finish();
    wholes.push_back(microsecondsSince(begin));
    state.SetIterationTime(passes.back() * 1e-6);
    stage.settle();
    const auto since = device->blocksPlayed();
    while (!watch.isSounding() && device->blocksPlayed() < since + 1000) {
      std::this_thread::yield();
    }
    gaps.push_back(static_cast<double>(watch.silentBlocks() - silentBefore));
  }
  if (!stage.problems().empty() || !watch.isSounding()) {
    state.SkipWithError(stage.problems().empty() ? "no sound came back" : stage.problems().front().c_str());
    return;
  }
  state.counters["pass_ms"] = median(passes) / 1000;
  state.counters["worst_pass_ms"] = *std::max_element(passes.begin(), passes.end()) / 1000;
  state.counters["pass_over_states"] = median(passes) / median(states);
  state.counters["silent_blocks"] = median(gaps);
  state.counters["most_silent_blocks"] = *std::max_element(gaps.begin(), gaps.end());
  state.counters["complete_ms"] = median(wholes) / 1000;
}
void switchBare16(benchmark::State& state) {
  switchInRealTime(state, bareCast(16));
}
void switchLv2Of16(benchmark::State& state) {
  switchInRealTime(state, lv2Cast(16, false));
}
void switchSandboxed16(benchmark::State& state) {
  switchInRealTime(state, lv2Cast(16, true));
}
BENCHMARK(switchBare16)->Iterations(50)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(switchLv2Of16)->Iterations(50)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(switchSandboxed16)->Iterations(50)->UseManualTime()->Unit(benchmark::kMillisecond);

/// One show of each size, switched alternately, so that other load affects all alike.
void passAsStripsGrow(benchmark::State& state) {
  constexpr std::array<std::size_t, 6> sizes{1, 2, 4, 8, 16, 32};
  std::vector<std::unique_ptr<SwitchStage>> stages;
  for (const auto size : sizes) {
    stages.push_back(std::make_unique<SwitchStage>(std::make_shared<audio::bench::ManualDevice>(), bareCast(size)));
  }
  std::map<std::size_t, std::vector<double>> perStrip;
  for (auto _ : state) {
    for (std::size_t index = 0; index < sizes.size(); ++index) {
      const auto begin = Clock::now();
      stages[index]->apply();
      perStrip[sizes[index]].push_back(microsecondsSince(begin) / static_cast<double>(sizes[index]));
      stages[index]->settle();
    }
  }
  for (const auto size : sizes) {
    state.counters["us_per_strip_of_" + std::to_string(size)] = median(perStrip[size]);
  }
  state.counters["of_16_over_4"] = median(perStrip[16]) / median(perStrip[4]);
  state.counters["of_32_over_8"] = median(perStrip[32]) / median(perStrip[8]);
}
BENCHMARK(passAsStripsGrow)->Iterations(50)->Unit(benchmark::kMillisecond);

/// Setlists of two, 40 and 1,000 songs of 16 strips, switched alternately.
void passAsSetlistGrows(benchmark::State& state) {
  constexpr std::array<std::size_t, 3> sizes{2, 40, 1000};
  std::vector<std::unique_ptr<SwitchStage>> stages;
  for (const auto size : sizes) {
    stages.push_back(std::make_unique<SwitchStage>(std::make_shared<audio::bench::ManualDevice>(), bareCast(16), size));
  }
  std::map<std::size_t, std::vector<double>> passes;
  for (auto _ : state) {
    for (std::size_t index = 0; index < sizes.size(); ++index) {
      const auto begin = Clock::now();
      stages[index]->apply();
      passes[sizes[index]].push_back(microsecondsSince(begin));
      stages[index]->settle();
    }
  }
  for (const auto size : sizes) {
    state.counters["us_of_" + std::to_string(size)] = median(passes[size]);
  }
  state.counters["of_1000_over_40"] = median(passes[1000]) / median(passes[40]);
}
BENCHMARK(passAsSetlistGrows)->Iterations(100)->Unit(benchmark::kMillisecond);

/// A block of 16 strips that ring behind their song, beside a block of the same strips on stage.
void ringingStripsOverPlayingOnes(benchmark::State& state) {
  constexpr std::size_t strips = 16;
  constexpr double secondsToRing = 30;
  const auto ringingDevice = std::make_shared<audio::bench::ManualDevice>();
  const auto playingDevice = std::make_shared<audio::bench::ManualDevice>();
  SwitchStage ringing(ringingDevice, bareCast(strips));
  SwitchStage playing(playingDevice, bareCast(strips));
  ringing.engine->removeAllChannels(secondsToRing);
  std::vector<double> ringingTimes;
  std::vector<double> playingTimes;
  for (auto _ : state) {
    // Alternating, so that other load affects both alike.
    const auto ringingBegin = Clock::now();
    ringingDevice->render();
    ringingTimes.push_back(microsecondsSince(ringingBegin));
    const auto playingBegin = Clock::now();
    playingDevice->render();
    playingTimes.push_back(microsecondsSince(playingBegin));
    ringingDevice->pump();
    playingDevice->pump();
  }
  if (ringing.engine->ringingChannels().size() != strips || !ringing.engine->channels().empty() ||
      ringingDevice->sample() == 0 || playing.engine->channels().size() != strips) {
    state.SkipWithError("not the strips that are compared");
    return;
  }
  state.counters["ringing_us"] = median(ringingTimes);
  state.counters["playing_us"] = median(playingTimes);
  state.counters["ratio"] = median(ringingTimes) / median(playingTimes);
}
BENCHMARK(ringingStripsOverPlayingOnes)->Iterations(4000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vrel::bench
