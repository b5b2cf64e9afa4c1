// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What presets a plug-in has. The list is read from what the scan has read: the files of the presets are opened only
// for those whose name is not beside them. World thread.

#include <filesystem>
#include <string>
#include <vector>

#include "foundation/result.h"
#include "platform/plugin_presets.h"
#include "system/plugins/preset_library.h"

namespace vrel::lv2 {

class Lv2World;
struct PluginDescription;

/// Marks the presets that this program has saved, in their bundle's data.
inline constexpr const char* userPresetProperty = "urn:vrel:isUserPreset";

/// ".lv2" in the user's home, where all programs look for bundles; empty without a home.
[[nodiscard]] std::filesystem::path userBundleFolder();

/// Those of the user, those without a bank, and those of each bank, by name.
[[nodiscard]] std::vector<AUAudioUnitPreset> listPresets(Lv2World& world, const PluginDescription& description);

/// Fails when the preset's file is gone or cannot be read to its end.
[[nodiscard]] Result<PresetPlace> locatePreset(Lv2World& world, const std::string& identifier);

}  // namespace vrel::lv2
