// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/lv2_unit_factory.h"

#include <optional>
#include <utility>

#include "system/plugins/lv2/hosted_plugin.h"
#include "system/plugins/lv2/lv2_processor.h"
#include "system/plugins/lv2/lv2_unit.h"

namespace vrel::lv2 {
namespace {

Result<std::shared_ptr<AVAudioUnit>> makeUnit(const std::shared_ptr<Lv2World>& world, const HostSettings& settings,
                                              const AudioComponentDescription& codes) {
  std::shared_ptr<const PluginDescription> description = world->find(codes);
  if (description == nullptr) {
    return Error{"component not installed"};
  }
  Result<HostedPluginPointer> plugin = HostedPlugin::make(world, description, settings, settings.sampleRate);
  if (!plugin) {
    return plugin.error();
  }
  auto processor = std::make_shared<Lv2Processor>(world, settings, std::move(plugin).value());
  if (codes.componentType == componentTypeMusicDevice) {
    return std::shared_ptr<AVAudioUnit>(std::make_shared<Lv2Instrument>(std::move(processor)));
  }
  return std::shared_ptr<AVAudioUnit>(std::make_shared<Lv2Unit>(std::move(processor)));
}

}  // namespace

Lv2UnitFactory::Lv2UnitFactory(std::shared_ptr<Lv2World> world, HostSettings settings)
    : world_(std::move(world)), settings_(std::move(settings)), sampleRate_(settings_.sampleRate) {}

void Lv2UnitFactory::instantiate(const AudioComponentDescription& description,
                                 AudioComponentInstantiationOptions /*options*/, UnitHandler completionHandler) {
  HostSettings settings = settings_;
  settings.sampleRate = sampleRate_;
  // A strong hold here would let the world end on its own thread; this work never outlives it anyway.
  world_->thread().post([weakWorld = std::weak_ptr(world_), settings = std::move(settings), description,
                         handler = std::move(completionHandler)] {
    const auto world = weakWorld.lock();
    if (world == nullptr) {
      handler(nullptr, Error{"the plug-in host is closing"});
      return;
    }
    Result<std::shared_ptr<AVAudioUnit>> unit = makeUnit(world, settings, description);
    if (unit) {
      handler(std::move(unit).value(), std::nullopt);
    } else {
      handler(nullptr, unit.error());
    }
  });
}

void Lv2UnitFactory::instantiateMIDIInstrument(const AudioComponentDescription& description,
                                               AudioComponentInstantiationOptions options,
                                               UnitHandler completionHandler) {
  instantiate(description, options, std::move(completionHandler));
}

}  // namespace vrel::lv2
