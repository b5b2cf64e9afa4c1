// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/plugin_casts.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "audio/bench_graph.h"
#include "document/component_scan.h"
#include "system/dispatch/serial_queue.h"
#include "system/plugins/lv2/component_codes.h"
#include "system/plugins/lv2/lv2_unit_factory.h"
#include "system/plugins/sandbox/sandboxing_unit_factory.h"

namespace vrel::bench {
namespace {

/// Keeps the state that it was given.
class KeptState final : public AUAudioUnit {
 public:
  explicit KeptState(std::size_t size) : state_{{"data", {PropertyListData(size, std::uint8_t{0x5A})}}} {}
  std::optional<PropertyListDictionary> fullStateForDocument() override { return state_; }
  std::optional<PropertyListDictionary> fullState() override { return state_; }
  void setFullStateForDocument(const PropertyListDictionary& state) override { state_ = state; }

 private:
  PropertyListDictionary state_;
};

/// Plays its chord from the first block on.
class ChordInstrument final : public audio::GraphNodeOf<AVAudioUnitMIDIInstrument> {
 public:
  AUAudioUnit& auAudioUnit() override { return state_; }
  void reset() override {}
  [[nodiscard]] std::shared_ptr<audio::NodeProcessor> processor() const override { return processor_; }
  void setVolume(float linearGain) override { volume_ = linearGain; }
  [[nodiscard]] float volume() const override { return volume_; }
  void sendMIDIEvent(std::uint8_t /*status*/, std::uint8_t /*data1*/, std::uint8_t /*data2*/) override {}
  void sendMIDIEvent(std::uint8_t /*status*/, std::uint8_t /*data1*/) override {}

 private:
  KeptState state_{stateBytes};
  float volume_ = 1;
  std::shared_ptr<audio::NodeProcessor> processor_ = std::make_shared<audio::bench::ChordProcessor>();
};

class ToneEffect final : public audio::GraphNodeOf<AVAudioUnit> {
 public:
  AUAudioUnit& auAudioUnit() override { return state_; }
  void reset() override {}
  [[nodiscard]] std::shared_ptr<audio::NodeProcessor> processor() const override { return processor_; }

 private:
  KeptState state_{64};
  std::shared_ptr<audio::NodeProcessor> processor_ = std::make_shared<audio::bench::ToneProcessor>();
};

/// Instantiates on a thread of its own.
class ChordUnits final : public AudioUnitFactory {
 public:
  void instantiate(const AudioComponentDescription& /*description*/, AudioComponentInstantiationOptions /*options*/,
                   UnitHandler completionHandler) override {
    thread_.async([completionHandler = std::move(completionHandler)] {
      completionHandler(std::make_shared<ToneEffect>(), std::nullopt);
    });
  }
  void instantiateMIDIInstrument(const AudioComponentDescription& /*description*/,
                                 AudioComponentInstantiationOptions /*options*/,
                                 UnitHandler completionHandler) override {
    thread_.async([completionHandler = std::move(completionHandler)] {
      completionHandler(std::make_shared<ChordInstrument>(), std::nullopt);
    });
  }

 private:
  system::SerialQueue thread_;
};

AVAudioUnitComponent componentOf(const std::vector<AVAudioUnitComponent>& all, const std::string& uri) {
  const auto found = std::find_if(all.begin(), all.end(), [&](const AVAudioUnitComponent& component) {
    const auto& codes = component.audioComponentDescription;
    return codes == lv2::componentCodes(codes.componentType, uri);
  });
  if (found == all.end()) {
    throw std::runtime_error(uri + " is not found");
  }
  return *found;
}

std::unique_ptr<AudioUnitFactory> sandboxAround(const Cast& cast, system::MainLoop& loop) {
  auto supervisor = sandbox::Supervisor::start(
      {.helperPath = VREL_PLUGIN_HOST_PROGRAM, .log = {}, .mostParked = sandbox::mostParkedGuests});
  if (!supervisor) {
    throw std::runtime_error(supervisor.error().description);
  }
  const auto find = [world =
                         cast.world](const AudioComponentDescription& codes) -> std::optional<sandbox::PluginPlace> {
    const auto plugin = world->find(codes);
    return plugin ? std::optional(sandbox::PluginPlace{plugin->name, plugin->bundlePath, plugin->uri}) : std::nullopt;
  };
  sandbox::SandboxSettings settings;
  settings.log = [](const std::string&) {};
  return std::make_unique<sandbox::SandboxingUnitFactory>(std::move(supervisor).value(), find, loop, settings);
}

}  // namespace

CastMaker bareCast(std::size_t strips) {
  return [strips](system::MainLoop& /*loop*/) {
    Cast cast;
    cast.units = std::make_unique<ChordUnits>();
    for (std::size_t strip = 0; strip < strips; ++strip) {
      cast.instruments.push_back(
          {"Chord", "Bench", {componentTypeMusicDevice, static_cast<std::uint32_t>(strip + 1), 1}});
    }
    cast.effect = {"Tone", "Bench", {componentTypeEffect, 1, 1}};
    return cast;
  };
}

CastMaker lv2Cast(std::size_t strips, bool isSandboxed) {
  return [strips, isSandboxed](system::MainLoop& loop) {
    setenv("LV2_PATH", VREL_BALLAST_PATH ":" VREL_ZOO_PATH, 1);
    Cast cast;
    cast.world = lv2::Lv2World::open();
    lv2::HostSettings settings;
    settings.log = [](const std::string&) {};
    const auto instruments = scanInstrumentComponents(*cast.world);
    for (std::size_t strip = 0; strip < strips; ++strip) {
      cast.instruments.push_back(componentOf(instruments, "urn:vrel:bench:ballast-" + std::to_string(strip)));
    }
    cast.effect = componentOf(scanAudioEffectComponents(*cast.world), "urn:vrel:zoo:gain");
    cast.units = isSandboxed ? sandboxAround(cast, loop) : std::make_unique<lv2::Lv2UnitFactory>(cast.world, settings);
    return cast;
  };
}

}  // namespace vrel::bench
