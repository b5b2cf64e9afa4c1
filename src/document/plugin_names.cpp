// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/plugin_names.h"

#include <optional>

#include "document/app_state.h"
#include "document/plugin_path.h"

namespace vrel {
namespace {

/// The name that a rack of the setlist holds beside this path.
std::string nameInRacks(std::string_view path, const std::vector<SongConfig>& songs) {
  const auto nameIn = [path](const std::vector<AudioPluginSlot>& slots) {
    for (const auto& slot : slots) {
      if (slot.pluginPath == path && !slot.pluginName.empty()) {
        return slot.pluginName;
      }
    }
    return std::string();
  };
  for (const auto& song : songs) {
    std::string name = nameIn(song.masterEffectSlots);
    for (auto strip = song.channels.begin(); name.empty() && strip != song.channels.end(); ++strip) {
      name = nameIn(strip->effectSlots);
    }
    if (!name.empty()) {
      return name;
    }
  }
  return {};
}

}  // namespace

KnownPlugins knownPlugins(const AppState& state) {
  return {state.scannedPlugins.get(), state.scannedAudioEffectPlugins.get(), state.songs.get()};
}

std::string knownPluginName(std::string_view path, const KnownPlugins& known) {
  for (const auto* const installed : {&known.instruments, &known.effects}) {
    if (const auto component = resolvePluginPath(path, *installed)) {
      return component->name;
    }
  }
  if (pluginPathKind(path) == PluginPathKind::name) {
    return nameInPath(path);
  }
  return path.empty() ? std::string() : nameInRacks(path, known.songs);
}

std::string notInstalledText(const std::string& plugin, const std::string& strip) {
  return plugin + " is not installed (" + strip + ")";
}

}  // namespace vrel
