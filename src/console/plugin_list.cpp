// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/plugin_list.h"

#include <algorithm>
#include <set>
#include <tuple>
#include <utility>

#include "document/plugin_path.h"

namespace vrel {

PluginList::PluginList(const std::vector<AVAudioUnitComponent>& plugins, const std::locale& locale) : locale_(locale) {
  struct Sorted {
    std::wstring manufacturerKey;
    std::wstring nameKey;
    Entry entry;
  };
  std::vector<Sorted> sorted;
  sorted.reserve(plugins.size());
  for (const auto& plugin : plugins) {
    sorted.push_back(
        {collationKey(plugin.manufacturerName, locale),
         collationKey(plugin.name, locale),
         {plugin, pluginKey(plugin), caseFolded(plugin.name, locale), caseFolded(plugin.manufacturerName, locale)}});
  }
  // The manufacturer as it is written comes before the plug-in, so that a group is in one piece.
  std::stable_sort(sorted.begin(), sorted.end(), [](const Sorted& a, const Sorted& b) {
    return std::tie(a.manufacturerKey, a.entry.plugin.manufacturerName, a.nameKey) <
           std::tie(b.manufacturerKey, b.entry.plugin.manufacturerName, b.nameKey);
  });
  entries_.reserve(sorted.size());
  for (auto& each : sorted) {
    entries_.push_back(std::move(each.entry));
  }
}

std::vector<PluginGroup> PluginList::matching(std::string_view searchText) const {
  const auto folded = caseFolded(searchText, locale_);
  std::vector<PluginGroup> groups;
  for (const Entry& entry : entries_) {
    if (!entry.contains(folded)) {
      continue;
    }
    if (groups.empty() || groups.back().manufacturerName != entry.plugin.manufacturerName) {
      groups.push_back({entry.plugin.manufacturerName, {}});
    }
    groups.back().plugins.push_back(entry.plugin);
  }
  return groups;
}

std::vector<AVAudioUnitComponent> PluginList::matching(std::string_view searchText,
                                                       const std::vector<std::string>& keys) const {
  const auto folded = caseFolded(searchText, locale_);
  std::vector<AVAudioUnitComponent> found;
  for (const auto& key : keys) {
    const auto entry =
        std::find_if(entries_.begin(), entries_.end(), [&](const Entry& each) { return each.key == key; });
    if (entry != entries_.end() && entry->contains(folded)) {
      found.push_back(entry->plugin);
    }
  }
  return found;
}

std::vector<AVAudioUnitComponent> PluginList::matchingInOrder(std::string_view searchText,
                                                              const std::vector<std::string>& keys) const {
  const auto folded = caseFolded(searchText, locale_);
  const std::set<std::string> wanted(keys.begin(), keys.end());
  std::vector<AVAudioUnitComponent> found;
  for (const Entry& entry : entries_) {
    if (wanted.contains(entry.key) && entry.contains(folded)) {
      found.push_back(entry.plugin);
    }
  }
  return found;
}

}  // namespace vrel
