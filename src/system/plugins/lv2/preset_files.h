// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The presets that a user saves: each a bundle of its own in ".lv2" in the user's home, where other programs find it,
// too. It is made beside its place, read back, and only then put there. World thread.

#include <string>

#include "foundation/result.h"
#include "platform/plugin_presets.h"
#include "system/plugins/lv2/state_snapshot.h"

namespace vrel::lv2 {

class Lv2World;

/// Longer names are refused, bytes.
inline constexpr std::size_t longestPresetName = 200;

/// Replaces the user's preset of this name, or fails where it may not. A control character in the name becomes a space.
/// On failure nothing has changed.
[[nodiscard]] Result<AUAudioUnitPreset> savePreset(Lv2World& world, const PluginDescription& description,
                                                   const StateSnapshot& snapshot, const std::string& name,
                                                   bool mayReplace);

/// Fails for a preset that is not the user's, and where other files are in its folder.
[[nodiscard]] Outcome deletePreset(Lv2World& world, const PluginDescription& description,
                                   const std::string& identifier);

}  // namespace vrel::lv2
