// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/plugin_preferences.h"

#include <algorithm>
#include <cstddef>

#include "console/plugin_list.h"
#include "document/app_state.h"

namespace vrel {
namespace {

constexpr std::size_t mostRecentShown = 5;
constexpr std::size_t mostRecentKept = 40;  // instruments and effects together
constexpr std::size_t mostFavourites = 500;

}  // namespace

bool isFavouritePlugin(const AppState& state, const std::string& key) {
  const auto& favourites = state.favouritePlugins.get();
  return std::find(favourites.begin(), favourites.end(), key) != favourites.end();
}

std::vector<AVAudioUnitComponent> preferredPlugins(const AppState& state, const PluginList& list,
                                                   std::string_view searchText) {
  auto preferred = list.matchingInOrder(searchText, state.favouritePlugins.get());
  auto recentKeys = state.recentPlugins.get();
  std::erase_if(recentKeys, [&](const auto& key) { return isFavouritePlugin(state, key); });
  auto recent = list.matching(searchText, recentKeys);
  recent.resize(std::min(recent.size(), mostRecentShown));
  preferred.insert(preferred.end(), recent.begin(), recent.end());
  return preferred;
}

void toggleFavouritePlugin(AppState& state, const std::string& key) {
  auto favourites = state.favouritePlugins.get();
  if (std::erase(favourites, key) == 0 && favourites.size() < mostFavourites) {
    favourites.push_back(key);
  }
  state.favouritePlugins.set(favourites);
}

void notePluginUse(AppState& state, const std::string& key) {
  auto recent = state.recentPlugins.get();
  std::erase(recent, key);
  recent.insert(recent.begin(), key);
  recent.resize(std::min(recent.size(), mostRecentKept));
  state.recentPlugins.set(recent);
}

}  // namespace vrel
