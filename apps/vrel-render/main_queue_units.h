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

/// Instantiates plug-ins through another factory and posts each answer to the main queue, in the order of the
/// requests: concurrent loads finish in any order, and what is connected first is summed first.
///
/// Reports about a plug-in pass through here, too, so that none comes before the plug-in's own answer.
///
/// No answer arrives while the main thread builds a song, however early a plug-in was ready; so which node
/// a channel finds in the pool, and with it every sample, is the same in each run.
class MainQueueUnits final : public AudioUnitFactory {
 public:
  /// Both are borrowed; the queue outlives all answers.
  MainQueueUnits(AudioUnitFactory& units, MainQueue& mainQueue);

  void instantiate(const AudioComponentDescription& description, AudioComponentInstantiationOptions options,
                   UnitHandler completionHandler) override;
  void instantiateMIDIInstrument(const AudioComponentDescription& description,
                                 AudioComponentInstantiationOptions options, UnitHandler completionHandler) override;

  /// Stops waiting for the requests without an answer: the answers held back by them are posted now, the late ones
  /// when they come. Any thread.
  void skipUnanswered();

  /// Runs `work` on the main queue, after the answers to all requests made so far. Any thread.
  void afterAnswers(std::function<void()> work);

 private:
  [[nodiscard]] UnitHandler onMainQueue(UnitHandler completionHandler);

  /// Posts answers to the main queue in the order of their requests. Shared with the handlers: one may still be
  /// returning on another thread when its answer has run and the factory is destroyed.
  struct Order {
    explicit Order(MainQueue& queue) : mainQueue(queue) {}
    void answer(std::uint64_t number, std::function<void()> work);
    void skip(std::uint64_t number) VREL_REQUIRES(mutex);
    void postFollowers() VREL_REQUIRES(mutex);

    MainQueue& mainQueue;
    Mutex mutex;
    std::uint64_t lastRequest VREL_GUARDED_BY(mutex) = 0;
    std::uint64_t lastAnswer VREL_GUARDED_BY(mutex) = 0;     // that was posted, or skipped
    std::set<std::uint64_t> skipped VREL_GUARDED_BY(mutex);  // requests that are still to be answered
    std::map<std::uint64_t, std::function<void()>> heldBack
        VREL_GUARDED_BY(mutex);  // answers that came before those of earlier requests
    std::multimap<std::uint64_t, std::function<void()>> followers
        VREL_GUARDED_BY(mutex);  // work by the request whose answer it awaits
  };

  AudioUnitFactory& units_;
  const std::shared_ptr<Order> order_;
};

}  // namespace vrel::render
