// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "platform/audio_component.h"

namespace vrel::simulation {

/// A machine with the plug-ins that a test puts into its list. Searches go by the type alone.
class SimulatedComponentManager : public AVAudioUnitComponentManager {
 public:
  std::vector<AVAudioUnitComponent> componentsMatchingDescription(
      const AudioComponentDescription& description) override {
    std::vector<AVAudioUnitComponent> matching;
    for (const auto& component : list) {
      if (component.audioComponentDescription.componentType == description.componentType) {
        matching.push_back(component);
      }
    }
    return matching;
  }

  std::vector<AVAudioUnitComponent> list;
};

}  // namespace vrel::simulation
