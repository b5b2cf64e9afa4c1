// SPDX-License-Identifier: GPL-3.0-or-later
// What it costs to have effects in guests: 16 strips, each an instrument in a guest and two effects, on the render
// graph. The reference has the same effects in this process. Both render the same blocks in turn. Rack 0 is of effects
// that do next to nothing.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "system/audio/mixer_node.h"
#include "system/audio/offline_device.h"
#include "system/audio/render_engine.h"
#include "system/dispatch/offline_main_loop.h"
#include "system/plugins/lv2/component_codes.h"
#include "system/plugins/lv2/lv2_unit_factory.h"
#include "system/plugins/lv2/lv2_world.h"
#include "system/plugins/sandbox/sandboxing_unit_factory.h"

namespace vrel::sandbox {
namespace {

constexpr int stripCount = 16;

struct Rack {
  const char* instrument;
  const char* effects[2];
};
constexpr Rack racks[] = {
    {"urn:vrel:zoo:sine", {"urn:vrel:zoo:gain", "urn:vrel:zoo:gain"}},
    {"http://drobilla.net/plugins/mda/EPiano",
     {"http://drobilla.net/plugins/mda/Leslie", "http://drobilla.net/plugins/mda/Ambience"}},
};

/// Where both take their plug-ins from.
class Plugins {
 public:
  Plugins()
      : world_(openWorld()),
        inProcess_(world_, lv2::HostSettings{}),
        guests_(supervisor(), find(), loop_, settings()) {}

  std::shared_ptr<AVAudioUnit> make(const char* uri, bool inGuest) {
    const auto found = world_->componentsMatchingDescription(lv2::componentCodes(0, uri));
    if (found.empty()) {
      return nullptr;
    }
    std::promise<std::shared_ptr<AVAudioUnit>> made;
    AudioUnitFactory& factory = inGuest ? static_cast<AudioUnitFactory&>(guests_) : inProcess_;
    factory.instantiate(found.front().audioComponentDescription, AudioComponentInstantiationOptions::outOfProcess,
                        [&made](std::shared_ptr<AVAudioUnit> unit, const std::optional<Error>& /*error*/) {
                          made.set_value(std::move(unit));
                        });
    return made.get_future().get();
  }

 private:
  static std::shared_ptr<lv2::Lv2World> openWorld() {
    setenv("LV2_PATH", VREL_ZOO_PATH ":" VREL_KNOWN_BUNDLES, 1);
    return lv2::Lv2World::open();
  }
  static std::shared_ptr<Supervisor> supervisor() {
    return Supervisor::start({.helperPath = VREL_PLUGIN_HOST_PROGRAM, .log = {}}).value();
  }
  [[nodiscard]] SandboxingUnitFactory::Finder find() const {
    return [world = world_](const AudioComponentDescription& codes) -> std::optional<PluginPlace> {
      const auto plugin = world->find(codes);
      return plugin ? std::optional(PluginPlace{plugin->name, plugin->bundlePath, plugin->uri}) : std::nullopt;
    };
  }
  static SandboxSettings settings() {
    SandboxSettings settings;
    settings.timeout = std::nullopt;
    settings.isRealTime = false;  // they inherit the priority of the benchmark
    return settings;
  }

  system::OfflineClock clock_;
  system::OfflineMainLoop loop_{clock_};
  std::shared_ptr<lv2::Lv2World> world_;
  lv2::Lv2UnitFactory inProcess_;
  SandboxingUnitFactory guests_;
};

class Stage {
 public:
  Stage(Plugins& plugins, const Rack& rack, std::uint32_t frames, bool effectsInGuests)
      : device_(std::make_shared<audio::OfflineDevice>(48000, frames)),
        engine_(device_, std::make_shared<audio::RenderCounters>()) {
    for (int strip = 0; strip < stripCount; ++strip) {
      const auto instrument = std::dynamic_pointer_cast<AVAudioUnitMIDIInstrument>(plugins.make(rack.instrument, true));
      std::shared_ptr<AVAudioNode> last = instrument;
      engine_.attach(last);
      for (const char* const effect : rack.effects) {
        last = then(last, plugins.make(effect, effectsInGuests));
      }
      last = then(last, std::make_shared<audio::MixerNode>());
      engine_.connect(last, engine_.mainMixerNode(), std::nullopt);
      for (std::uint8_t note = 48; instrument != nullptr && note < 60; note = static_cast<std::uint8_t>(note + 4)) {
        instrument->sendMIDIEvent(0x90, note, 100);
      }
    }
    engine_.connect(engine_.mainMixerNode(), engine_.outputNode(), std::nullopt);
    (void)engine_.start();
  }

  double secondsOfBlock() {
    const auto start = std::chrono::steady_clock::now();
    (void)device_->renderBlock();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }

 private:
  std::shared_ptr<AVAudioNode> then(const std::shared_ptr<AVAudioNode>& source, std::shared_ptr<AVAudioNode> node) {
    engine_.attach(node);
    engine_.connect(source, node, std::nullopt);
    return node;
  }

  std::shared_ptr<audio::OfflineDevice> device_;
  audio::RenderEngine engine_;
};

double quantile(std::vector<double>& values, double share) {
  const auto index = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), values.begin() + index, values.end());
  return values[static_cast<std::size_t>(index)];
}

/// The medians of the times of single blocks, and the longest of a hundred.
void effectsInGuests(benchmark::State& state) {
  const Rack& rack = racks[state.range(0)];
  Plugins plugins;
  if (plugins.make(rack.instrument, true) == nullptr || plugins.make(rack.effects[0], false) == nullptr) {
    state.SkipWithError("its plug-ins are not installed");
    return;
  }
  const auto frames = static_cast<std::uint32_t>(state.range(1));
  Stage subject(plugins, rack, frames, true);
  Stage reference(plugins, rack, frames, false);
  std::vector<double> subjectSeconds;
  std::vector<double> referenceSeconds;
  for ([[maybe_unused]] const auto each : state) {
    referenceSeconds.push_back(reference.secondsOfBlock());
    subjectSeconds.push_back(subject.secondsOfBlock());
    state.SetIterationTime(subjectSeconds.back());
  }
  const double subjectMedian = quantile(subjectSeconds, 0.5);
  const double referenceMedian = quantile(referenceSeconds, 0.5);
  state.counters["p99"] = 1e6 * quantile(subjectSeconds, 0.99);
  state.counters["us/block"] = 1e6 * subjectMedian;
  state.counters["reference"] = 1e6 * referenceMedian;
  state.counters["ratio"] = subjectMedian / referenceMedian;
}
BENCHMARK(effectsInGuests)
    ->ArgsProduct({{0, 1}, {128, 256, 1024}})
    ->ArgNames({"rack", "frames"})
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vrel::sandbox
