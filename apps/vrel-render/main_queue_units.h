// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>

#include "platform/audio_unit.h"

namespace vrel {
class MainQueue;
}  // namespace vrel

namespace vrel::render {

/// Makes plug-ins through another factory and brings each answer to the main queue.
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

  AudioUnitFactory& units_;
  MainQueue& mainQueue_;
};

}  // namespace vrel::render
