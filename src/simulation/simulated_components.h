// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "platform/audio_component.h"

namespace vrel::simulation {

/// The plug-ins that a test adds. Searches compare the type only. They are known at once, unless the test says that
/// they are being looked for.
class SimulatedComponentManager : public AVAudioUnitComponentManager {
 public:
  bool isComplete() const override { return !isLooking; }
  void whenComplete(std::function<void()> handler) override { handlers_.push_back(std::move(handler)); }
  std::vector<AVAudioUnitComponent> componentsMatchingDescription(
      const AudioComponentDescription& description) override {
    std::vector<AVAudioUnitComponent> matching;
    if (isLooking) {
      return matching;
    }
    for (const auto& component : list) {
      if (component.audioComponentDescription.componentType == description.componentType) {
        matching.push_back(component);
      }
    }
    return matching;
  }

  /// All are found.
  void complete() {
    isLooking = false;
    for (const auto& handler : std::exchange(handlers_, {})) {
      handler();
    }
  }

  std::vector<AVAudioUnitComponent> list;
  bool isLooking = false;

 private:
  std::vector<std::function<void()>> handlers_;
};

}  // namespace vrel::simulation
