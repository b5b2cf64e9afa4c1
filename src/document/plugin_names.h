// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "document/setlist.h"
#include "platform/audio_component.h"

namespace vrel {

class AppState;

/// What plug-ins can be known by: those that are installed, and the racks of the setlist, which hold names beside their
/// paths. Borrows all of it.
struct KnownPlugins {
  const std::vector<AVAudioUnitComponent>& instruments;
  const std::vector<AVAudioUnitComponent>& effects;
  const std::vector<SongConfig>& songs;
};

[[nodiscard]] KnownPlugins knownPlugins(const AppState& state);

/// The name of the plug-in that a path means, installed or not; empty where nothing knows it. Never a code.
[[nodiscard]] std::string knownPluginName(std::string_view path, const KnownPlugins& known);

/// That a strip cannot have a plug-in, since it is not installed.
[[nodiscard]] std::string notInstalledText(const std::string& plugin, const std::string& strip);

}  // namespace vrel
