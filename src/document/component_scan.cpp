// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/component_scan.h"

#include <algorithm>
#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "document/collation.h"
#include "document/plugin_path.h"

namespace vrel {
namespace {

// A language may hold names for equal that are not. Comparing the names themselves next keeps one
// manufacturer's plug-ins together and makes the order total.
struct SortKey {
  std::wstring manufacturerKey;
  std::string manufacturerName;
  std::wstring nameKey;
  std::string name;

  auto operator<=>(const SortKey&) const = default;
};

std::vector<AVAudioUnitComponent> scan(AVAudioUnitComponentManager& manager, const std::locale& locale,
                                       std::initializer_list<std::uint32_t> componentTypes) {
  std::map<std::string, AVAudioUnitComponent> byKey;
  for (const std::uint32_t type : componentTypes) {
    AudioComponentDescription wanted;
    wanted.componentType = type;
    for (auto& component : manager.componentsMatchingDescription(wanted)) {
      byKey.insert_or_assign(pluginKey(component), std::move(component));
    }
  }
  std::vector<std::pair<SortKey, AVAudioUnitComponent>> sorted;
  sorted.reserve(byKey.size());
  for (auto& [key, component] : byKey) {
    SortKey sortKey{collationKey(component.manufacturerName, locale), component.manufacturerName,
                    collationKey(component.name, locale), component.name};
    sorted.emplace_back(std::move(sortKey), std::move(component));
  }
  std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<AVAudioUnitComponent> components;
  components.reserve(sorted.size());
  for (auto& entry : sorted) {
    components.push_back(std::move(entry.second));
  }
  return components;
}

}  // namespace

std::vector<AVAudioUnitComponent> scanInstrumentComponents(AVAudioUnitComponentManager& manager,
                                                           const std::locale& locale) {
  return scan(manager, locale, {componentTypeMusicDevice, componentTypeGenerator});
}

std::vector<AVAudioUnitComponent> scanAudioEffectComponents(AVAudioUnitComponentManager& manager,
                                                            const std::locale& locale) {
  return scan(manager, locale, {componentTypeEffect, componentTypeMusicEffect});
}

}  // namespace vrel
