// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>

#include "foundation/mutex.h"
#include "platform/audio_unit.h"

namespace vrel {
class MainQueue;
}  // namespace vrel

namespace vrel::render {

/// Makes plug-ins through another factory and brings each answer to the main queue, in the order of the
/// requests: plug-ins made side by side are ready in any order, and what is wired first is summed first.
///
/// What is told of a plug-in that was made goes by here, too, so that nobody hears of it before its answer.
///
/// While the main thread builds a song no answer gets in between, whenever a plug-in was ready; so which
/// node a channel finds in the pool, and with it every sample, is the same in each run.
class MainQueueUnits final : public AudioUnitFactory {
 public:
  /// Both are borrowed; the queue outlives all answers.
  MainQueueUnits(AudioUnitFactory& units, MainQueue& mainQueue);

  void instantiate(const AudioComponentDescription& description, AudioComponentInstantiationOptions options,
                   UnitHandler completionHandler) override;
  void instantiateMIDIInstrument(const AudioComponentDescription& description,
                                 AudioComponentInstantiationOptions options, UnitHandler completionHandler) override;

  /// Whoever has not answered yet holds up nobody any more: what waits behind goes to the main queue now, and the late
  /// answers when they come. Any thread.
  void passOverUnanswered();

  /// Runs `work` on the main queue, behind the answers to all requests made so far. Any thread.
  void behindAnswers(std::function<void()> work);

 private:
  [[nodiscard]] UnitHandler onMainQueue(UnitHandler completionHandler);

  /// Brings answers to the main queue in the order of their requests. Shared with the handlers: one may still
  /// be at its end on another thread when its answer has run, and all of this has gone.
  struct Order {
    explicit Order(MainQueue& queue) : mainQueue(queue) {}
    void answer(std::uint64_t number, std::function<void()> work);
    void passOver(std::uint64_t number) VREL_REQUIRES(mutex);
    void bringFollowers() VREL_REQUIRES(mutex);

    MainQueue& mainQueue;
    Mutex mutex;
    std::uint64_t lastRequest VREL_GUARDED_BY(mutex) = 0;
    std::uint64_t lastAnswer VREL_GUARDED_BY(mutex) = 0;        // that went to the main queue, or was passed over
    std::set<std::uint64_t> passedOver VREL_GUARDED_BY(mutex);  // requests that are still to be answered
    std::map<std::uint64_t, std::function<void()>> heldBack
        VREL_GUARDED_BY(mutex);  // answers that came before those of earlier requests
    std::multimap<std::uint64_t, std::function<void()>> followers
        VREL_GUARDED_BY(mutex);  // work by the request whose answer it awaits
  };

  AudioUnitFactory& units_;
  const std::shared_ptr<Order> order_;
};

}  // namespace vrel::render
