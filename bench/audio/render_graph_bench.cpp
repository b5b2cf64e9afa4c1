// SPDX-License-Identifier: GPL-3.0-or-later
// Overhead of the graph over the DSP that it calls, and the cost of a graph change on a running device.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "bench_graph.h"
#include "system/audio/denormal_guard.h"
#include "system/audio/paced_null_device.h"

namespace vrel::audio::bench {
namespace {

/// The same processors on buffers of their own, called one after the other directly.
class BareLoop {
 public:
  BareLoop() {
    for (std::size_t strip = 0; strip < stripCount; ++strip) {
      reverbs_[strip].mix().set(0.3F);
      meters_[strip].gain().set(0.7F);
      chords_[strip].prepare(sampleRate);
      reverbs_[strip].prepare(sampleRate);
      meters_[strip].prepare(sampleRate);
      strips_[strip] = stream(2 + strip);
    }
    main_.prepare(sampleRate);
  }

  void render() {
    const AudioThreadScope audioThread;
    const DenormalGuard denormals;
    const Stream chord = stream(0);
    const Stream reverb = stream(1);
    for (std::size_t strip = 0; strip < stripCount; ++strip) {
      for (float* const samples : chord.channels) {
        std::fill_n(samples, blockFrames, 0.0F);
      }
      chords_[strip].process({.frameCount = blockFrames, .inputs = {}, .output = chord, .tap = nullptr});
      reverbs_[strip].process({.frameCount = blockFrames, .inputs = {&chord, 1}, .output = reverb, .tap = nullptr});
      meters_[strip].process(
          {.frameCount = blockFrames, .inputs = {&reverb, 1}, .output = strips_[strip], .tap = nullptr});
    }
    main_.process({.frameCount = blockFrames, .inputs = strips_, .output = stream(2 + stripCount), .tap = nullptr});
  }
  [[nodiscard]] float sample() { return *stream(2 + stripCount).channels[0]; }

 private:
  Stream stream(std::size_t number) {
    Buffer& buffer = buffers_[number];
    return {.channels = {buffer.left.data(), buffer.right.data()}, .channelCount = 2};
  }

  struct alignas(64) Buffer {
    std::array<float, blockFrames> left{};
    std::array<float, blockFrames> right{};
  };
  std::array<ChordProcessor, stripCount> chords_;
  std::array<ReverbProcessor, stripCount> reverbs_;
  std::array<MixerProcessor, stripCount> meters_;
  MixerProcessor main_;
  std::array<Buffer, stripCount + 3> buffers_;
  std::array<Stream, stripCount> strips_;
};

void graphOverBareDsp(benchmark::State& state) {
  const auto device = std::make_shared<ManualDevice>();
  BenchGraph graph(device, 0);
  const auto bare = std::make_unique<BareLoop>();
  if (const Outcome failure = graph.engine.start()) {
    state.SkipWithError(failure->description.c_str());
    return;
  }
  std::vector<double> graphTimes;
  std::vector<double> bareTimes;
  for (auto _ : state) {
    // Alternating, so that other load affects both alike.
    const Clock::time_point graphBegin = Clock::now();
    device->render();
    graphTimes.push_back(microsecondsSince(graphBegin));
    const Clock::time_point bareBegin = Clock::now();
    bare->render();
    bareTimes.push_back(microsecondsSince(bareBegin));
    device->pump();
  }
  if (device->sample() != bare->sample()) {
    state.SkipWithError("the graph and the direct calls differ in output");
    return;
  }
  state.counters["graph_us"] = median(graphTimes);
  state.counters["bare_us"] = median(bareTimes);
  state.counters["ratio"] = median(graphTimes) / median(bareTimes);
}
BENCHMARK(graphOverBareDsp)->Name("Graph/16StripsOverBareDsp")->Iterations(4000)->Unit(benchmark::kMicrosecond);

// Strips whose tails have died beside strips that play.
void silentStripsOverPlayingOnes(benchmark::State& state) {
  const auto silentDevice = std::make_shared<ManualDevice>();
  const auto playingDevice = std::make_shared<ManualDevice>();
  BenchGraph silent(silentDevice, 0);
  BenchGraph playing(playingDevice, 0);
  if (silent.engine.start() || playing.engine.start()) {
    state.SkipWithError("an engine does not start");
    return;
  }
  const auto play = [](ManualDevice& device, double seconds) {
    for (int block = 0; block < static_cast<int>(seconds * sampleRate / blockFrames); ++block) {
      device.render();
      device.pump();
    }
  };
  constexpr double tailSeconds = 60;
  play(*silentDevice, 1);
  for (const Strip& strip : silent.strips) {
    strip.chord->setPlaying(false);
  }
  play(*silentDevice, tailSeconds);
  std::vector<double> silentTimes;
  std::vector<double> playingTimes;
  for (auto _ : state) {
    const Clock::time_point silentBegin = Clock::now();
    silentDevice->render();
    silentTimes.push_back(microsecondsSince(silentBegin));
    const Clock::time_point playingBegin = Clock::now();
    playingDevice->render();
    playingTimes.push_back(microsecondsSince(playingBegin));
    silentDevice->pump();
    playingDevice->pump();
  }
  state.counters["silent_us"] = median(silentTimes);
  state.counters["playing_us"] = median(playingTimes);
  state.counters["ratio"] = median(silentTimes) / median(playingTimes);
}
BENCHMARK(silentStripsOverPlayingOnes)
    ->Name("Graph/16SilentStripsOver16ThatPlay")
    ->Iterations(4000)
    ->Unit(benchmark::kMicrosecond);

void rewireOneOf16Strips(benchmark::State& state) {
  const auto device = std::make_shared<PacedNullDevice>(sampleRate, blockFrames);
  BenchGraph graph(device, 2);
  if (const Outcome failure = graph.engine.start()) {
    state.SkipWithError(failure->description.c_str());
    return;
  }
  std::vector<double> times;
  std::uint64_t mostSilentBlocks = 0;
  std::size_t turn = 0;
  for (auto _ : state) {
    // Sixteen phases of the block, since a stop may come at any time within it.
    const std::uint64_t played = device->blocksPlayed();
    while (device->blocksPlayed() < played + 2) {
      std::this_thread::yield();
    }
    std::this_thread::sleep_for(std::chrono::microseconds(turn % 16 * 160));
    const std::uint64_t silentBefore = graph.counters->silentBlocks.load();
    const Strip& strip = graph.strips[turn++ % stripCount];

    const Clock::time_point begin = Clock::now();
    graph.engine.stop();
    strip.unwire(graph.engine);
    strip.wire(graph.engine);
    const Outcome failure = graph.engine.start();
    const double taken = microsecondsSince(begin);

    if (failure) {
      state.SkipWithError(failure->description.c_str());
      return;
    }
    times.push_back(taken);
    state.SetIterationTime(taken * 1e-6);
    const std::uint64_t silent = graph.counters->silentBlocks.load() - silentBefore;
    mostSilentBlocks = std::max(mostSilentBlocks, silent);
  }
  state.counters["median_us"] = median(times);
  state.counters["most_silent_blocks"] = static_cast<double>(mostSilentBlocks);
  state.counters["missed_deadlines"] = static_cast<double>(device->missedDeadlines());
}
BENCHMARK(rewireOneOf16Strips)
    ->Name("Graph/RewireOneOf16Strips")
    ->Iterations(500)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vrel::audio::bench
