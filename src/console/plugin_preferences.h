// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/audio_component.h"

// The favourites and the plug-ins that were used last, which the lists to choose from begin with. They are the user's,
// not the setlist's: kept in the user defaults, for instruments and effects alike, by their keys. Main thread.

namespace vrel {

class AppState;
class PluginList;

/// Those of the list that match: the favourites by name, then the last five that were used and are no favourites.
[[nodiscard]] std::vector<AVAudioUnitComponent> preferredPlugins(const AppState& state, const PluginList& list,
                                                                 std::string_view searchText);

[[nodiscard]] bool isFavouritePlugin(const AppState& state, const std::string& key);
void toggleFavouritePlugin(AppState& state, const std::string& key);

/// A plug-in was put on a strip or into a rack.
void notePluginUse(AppState& state, const std::string& key);

}  // namespace vrel
