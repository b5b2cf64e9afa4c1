// SPDX-License-Identifier: GPL-3.0-or-later
// Cost of the meters of 64 strips: the taps in the block, and the peaks on the tap thread.
//
// A separate executable, since it counts every allocation of the process.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "bench_graph.h"
#include "engine/audio_engine.h"
#include "foundation/mutex.h"
#include "simulation/recording_console.h"
#include "support/allocations/allocation_count.h"
#include "system/audio/render_node_factory.h"
#include "system/dispatch/offline_main_loop.h"
#include "system/dispatch/serial_queue.h"
#include "system/property_list/libplist_serialization.h"

namespace vrel::audio::bench {
namespace {

/// No plug-ins.
class NoUnits final : public AudioUnitFactory {
 public:
  void instantiate(const AudioComponentDescription& /*description*/, AudioComponentInstantiationOptions /*options*/,
                   UnitHandler completionHandler) override {
    completionHandler(nullptr, Error{"no plug-ins"});
  }
  void instantiateMIDIInstrument(const AudioComponentDescription& description,
                                 AudioComponentInstantiationOptions options, UnitHandler completionHandler) override {
    instantiate(description, options, std::move(completionHandler));
  }
};

/// The engine with 64 complete strips: chord, reverb, meter mixer and tap.
class MeteredEngine {
 public:
  MeteredEngine() {
    loop_.runPending();
    for (int strip = 0; strip < 64; ++strip) {
      const auto channel = engine->addChannel("Strip");
      const auto chord = std::make_shared<ChordNode>();
      engine->engine().attach(chord);
      channel->instrumentNode.set(chord);
      engine->chains().rebuildChannelEffectChain(*channel);
    }
    engine->applyMixerLevels();
  }

  void setTaps(bool areThere) {
    for (const auto& channel : engine->channels()) {
      areThere ? engine->levelCapture().installMeterTap(*channel) : engine->levelCapture().removeMeterTap(*channel);
    }
  }

  [[nodiscard]] bool hasPeaks() const {
    bool all = true;
    for (const auto& channel : engine->channels()) {
      const MutexLock lock(channel->meterLock);
      all = all && channel->rawMeterPeakL > 0 && channel->rawMeterPeakR > 0;
    }
    return all;
  }

 private:
  system::OfflineClock clock_;
  system::OfflineMainLoop loop_{clock_};
  system::SerialQueueFactory queues_;
  system::LibplistSerialization propertyLists_;
  simulation::RecordingConsole console_;
  NoUnits units_;

 public:
  std::shared_ptr<ManualDevice> device = std::make_shared<ManualDevice>();

 private:
  RenderNodeFactory nodes_{device, std::make_shared<RenderCounters>()};

 public:
  std::shared_ptr<AudioEngine> engine =
      AudioEngine::make({nodes_, units_, loop_, queues_, clock_, propertyLists_, console_});
};

void metersOf64Strips(benchmark::State& state) {
  MeteredEngine metered;
  MeteredEngine bare;
  bare.setTaps(false);
  std::vector<double> withTaps;
  std::vector<double> without;
  std::vector<double> peaks;
  const auto turn = [&] {
    const Clock::time_point bareBegin = Clock::now();
    bare.device->render();
    without.push_back(microsecondsSince(bareBegin));
    const Clock::time_point begin = Clock::now();
    metered.device->render();
    withTaps.push_back(microsecondsSince(begin));
    const Clock::time_point peaksBegin = Clock::now();
    metered.device->pump();
    peaks.push_back(microsecondsSince(peaksBegin));
    bare.device->pump();
  };
  const std::size_t room = static_cast<std::size_t>(state.max_iterations) + 10;
  for (auto* const times : {&withTaps, &without, &peaks}) {
    times->reserve(room);
  }
  for (int warm = 0; warm < 10; ++warm) {
    turn();
  }
  const std::size_t allocationsBefore = test::allocationCount();
  for (auto _ : state) {
    turn();
  }
  const std::size_t allocations = test::allocationCount() - allocationsBefore;
  if (!metered.hasPeaks()) {
    state.SkipWithError("the meters measured silence");
    return;
  }
  constexpr double blockMicroseconds = 1e6 * blockFrames / sampleRate;
  const double inBlock = median(withTaps) - median(without);
  state.counters["taps_us"] = inBlock;
  state.counters["taps_percent_of_block"] = 100 * inBlock / blockMicroseconds;
  state.counters["peaks_us"] = median(peaks);
  state.counters["peaks_percent_of_block"] = 100 * median(peaks) / blockMicroseconds;
  state.counters["allocations"] = static_cast<double>(allocations);
  if (allocations > 0) {
    state.SkipWithError("metering allocates");
  }
}
BENCHMARK(metersOf64Strips)->Name("Meters/64Strips")->Iterations(2000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vrel::audio::bench
