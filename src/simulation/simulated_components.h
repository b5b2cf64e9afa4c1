// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "platform/audio_component.h"

namespace vrel::simulation {

/// The plug-ins that a test adds. Searches compare the type only.
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
