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
  const std::lock_guard lock(mutex_);
  return [this, number = ++lastRequest_, handler = std::move(completionHandler)](std::shared_ptr<AVAudioUnit> node,
                                                                                 std::optional<Error> error) {
    answer(number, [handler, node = std::move(node), error = std::move(error)] { handler(node, error); });
  };
}

void MainQueueUnits::answer(std::uint64_t number, std::function<void()> work) {
  const std::lock_guard lock(mutex_);
  heldBack_.emplace(number, std::move(work));
  for (auto next = heldBack_.begin(); next != heldBack_.end() && next->first == lastAnswer_ + 1;) {
    mainQueue_.async(std::move(next->second));
    next = heldBack_.erase(next);
    ++lastAnswer_;
  }
}

}  // namespace vrel::render
