// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/main_queue_units.h"

#include <optional>
#include <utility>

#include "platform/dispatch.h"

namespace vrel::render {

MainQueueUnits::MainQueueUnits(AudioUnitFactory& units, MainQueue& mainQueue) : units_(units), mainQueue_(mainQueue) {}

void MainQueueUnits::instantiate(const AudioComponentDescription& description,
                                 AudioComponentInstantiationOptions options, UnitHandler completionHandler) {
  units_.instantiate(description, options, onMainQueue(std::move(completionHandler)));
}

void MainQueueUnits::instantiateMIDIInstrument(const AudioComponentDescription& description,
                                               AudioComponentInstantiationOptions options,
                                               UnitHandler completionHandler) {
  units_.instantiateMIDIInstrument(description, options, onMainQueue(std::move(completionHandler)));
}

AudioUnitFactory::UnitHandler MainQueueUnits::onMainQueue(UnitHandler completionHandler) {
  return [this, handler = std::move(completionHandler)](std::shared_ptr<AVAudioUnit> node, std::optional<Error> error) {
    mainQueue_.async([handler, node = std::move(node), error = std::move(error)] { handler(node, error); });
  };
}

}  // namespace vrel::render
