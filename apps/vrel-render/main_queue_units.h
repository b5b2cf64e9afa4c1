// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "platform/audio_unit.h"

namespace vrel {
class MainQueue;
}  // namespace vrel

namespace vrel::render {

/// Makes plug-ins through another factory and brings each answer to the main queue, in the order of the
/// requests: plug-ins made side by side are ready in any order, and what is wired first is summed first.
///
/// While the main thread builds a song no answer gets in between, whenever a plug-in was ready; so which
/// node a channel finds in the pool, and with it every sample, is the same in each run.
class MainQueueUnits final : public AudioUnitFactory {
 public:
  /// Both are borrowed and outlive all answers.
  MainQueueUnits(AudioUnitFactory& units, MainQueue& mainQueue);

  void instantiate(const AudioComponentDescription& description, AudioComponentInstantiationOptions options,
                   UnitHandler completionHandler) override;
  void instantiateMIDIInstrument(const AudioComponentDescription& description,
                                 AudioComponentInstantiationOptions options, UnitHandler completionHandler) override;

 private:
  [[nodiscard]] UnitHandler onMainQueue(UnitHandler completionHandler);

  void answer(std::uint64_t number, std::function<void()> work);

  AudioUnitFactory& units_;
  MainQueue& mainQueue_;

  std::mutex mutex_;
  std::uint64_t lastRequest_ = 0;                            // under mutex_, as all below
  std::uint64_t lastAnswer_ = 0;                             // that went to the main queue
  std::map<std::uint64_t, std::function<void()>> heldBack_;  // answers that came before those of earlier requests
};

}  // namespace vrel::render
