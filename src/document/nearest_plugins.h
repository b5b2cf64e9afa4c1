// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/audio_component.h"

namespace vrel {

/// What is known of a plug-in that is not installed; all of it may be missing.
struct WantedPlugin {
  std::string path{};       // see plugin_path.h
  std::string name{};       // empty where nothing knows it
  std::string stripName{};  // of the strip that it played on, which people often name after it
};

inline constexpr std::size_t mostNearestPlugins = 5;

/// The installed ones that may take its place, the likeliest first: those with a similar name, and those of its
/// manufacturer. Pure; any thread.
[[nodiscard]] std::vector<AVAudioUnitComponent> nearestPlugins(const WantedPlugin& wanted,
                                                               const std::vector<AVAudioUnitComponent>& installed);

}  // namespace vrel
