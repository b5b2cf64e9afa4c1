// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/main_queue_units.h"

#include <optional>
#include <utility>

#include "platform/dispatch.h"

namespace vrel::render {

MainQueueUnits::MainQueueUnits(AudioUnitFactory& units, MainQueue& mainQueue)
    : units_(units), order_(std::make_shared<Order>(mainQueue)) {}

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
  std::uint64_t number = 0;
  {
    const MutexLock lock(order_->mutex);
    number = ++order_->lastRequest;
  }
  return [order = order_, number, handler = std::move(completionHandler)](std::shared_ptr<AVAudioUnit> node,
                                                                          std::optional<Error> error) {
    order->answer(number, [handler, node = std::move(node), error = std::move(error)] { handler(node, error); });
  };
}

void MainQueueUnits::afterAnswers(std::function<void()> work) {
  const MutexLock lock(order_->mutex);
  if (order_->lastAnswer == order_->lastRequest) {
    order_->mainQueue.async(std::move(work));
  } else {
    order_->followers.emplace(order_->lastRequest, std::move(work));
  }
}

void MainQueueUnits::Order::answer(std::uint64_t number, std::function<void()> work) {
  const MutexLock lock(mutex);
  if (skipped.erase(number) > 0) {
    mainQueue.async(std::move(work));
    return;
  }
  heldBack.emplace(number, std::move(work));
  for (auto next = heldBack.begin(); next != heldBack.end() && next->first == lastAnswer + 1;) {
    mainQueue.async(std::move(next->second));
    next = heldBack.erase(next);
    ++lastAnswer;
  }
  postFollowers();
}

void MainQueueUnits::skipUnanswered() {
  const MutexLock lock(order_->mutex);
  while (order_->lastAnswer < order_->lastRequest) {
    order_->skip(++order_->lastAnswer);
  }
  order_->postFollowers();
}

void MainQueueUnits::Order::skip(std::uint64_t number) {
  if (auto held = heldBack.extract(number)) {
    mainQueue.async(std::move(held.mapped()));
  } else {
    skipped.insert(number);
  }
}

void MainQueueUnits::Order::postFollowers() {
  while (!followers.empty() && followers.begin()->first <= lastAnswer) {
    mainQueue.async(std::move(followers.begin()->second));
    followers.erase(followers.begin());
  }
}

}  // namespace vrel::render
