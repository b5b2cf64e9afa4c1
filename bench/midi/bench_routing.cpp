// SPDX-License-Identifier: GPL-3.0-or-later
//
// Time to route one message to the strips, and to send the same events directly, for comparison.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "engine/audio_engine.h"
#include "simulated_platform.h"

namespace vrel {
namespace {

// Discards events, so that only the router is measured.
class SinkInstrument : public simulation::ScriptedInstrument {
 public:
  using ScriptedInstrument::ScriptedInstrument;
  using ScriptedInstrument::sendMIDIEvent;
  void sendMIDIEvent(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) override {
    benchmark::DoNotOptimize(sum_ += status + data1 + data2);
  }

 private:
  int sum_ = 0;
};

struct Stage : bench::SimulatedPlatform {
  explicit Stage(int stripCount) {
    mainQueue.runAll();
    for (int strip = 0; strip < stripCount; ++strip) {
      const auto channel = engine->addChannel("Strip");
      channel->transpose.set(static_cast<std::int8_t>(strip % 12));
      instruments.push_back(std::make_shared<SinkInstrument>("Sink"));
      engine->instruments().installInstrumentNode(*channel, instruments.back(), "aucd:1635085685:1:2", "Sink",
                                                  std::nullopt);
    }
  }

  std::shared_ptr<AudioEngine> engine = AudioEngine::make(forEngine());
  std::vector<std::shared_ptr<SinkInstrument>> instruments;
};

void routeNote(benchmark::State& state) {
  Stage stage(static_cast<int>(state.range(0)));
  std::uint8_t note = 0;
  for (auto _ : state) {
    stage.engine->routeMIDI(0x90, note, 100);
    note = (note + 1) & 0x7F;
  }
}

void sendBare(benchmark::State& state) {
  Stage stage(static_cast<int>(state.range(0)));
  std::uint8_t note = 0;
  for (auto _ : state) {
    for (const auto& instrument : stage.instruments) {
      AVAudioUnitMIDIInstrument& bare = *instrument;
      bare.sendMIDIEvent(0x90, note, 100);
    }
    note = (note + 1) & 0x7F;
  }
}

BENCHMARK(routeNote)->Arg(1)->Arg(16)->Arg(64);
BENCHMARK(sendBare)->Arg(1)->Arg(16)->Arg(64);

}  // namespace
}  // namespace vrel
