// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/component_scan.h"

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "document/plugin_path.h"

namespace vrel {
namespace {

constexpr wchar_t replacementCharacter = 0xFFFD;

/// The scalar value at the front of `text`, which is taken off; a replacement for a byte that is none.
wchar_t takeCharacter(std::string_view& text) {
  const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned lead = byteAt(0);
  const std::size_t length = lead < 0x80   ? 1
                             : lead < 0xC0 ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF8 ? 4
                                           : 0;
  std::uint32_t value = length < 2 ? lead : lead & (0x7FU >> length);
  bool valid = length > 0 && length <= text.size();
  for (std::size_t index = 1; valid && index < length; ++index) {
    valid = (byteAt(index) & 0xC0U) == 0x80;
    value = (value << 6U) | (byteAt(index) & 0x3FU);
  }
  valid = valid && value <= 0x10FFFF && !(value >= 0xD800 && value <= 0xDFFF);
  text.remove_prefix(valid ? length : 1);
  return valid ? static_cast<wchar_t>(value) : replacementCharacter;
}

/// A text that compares as `name` does in the language of `locale`, with no regard to case.
std::wstring collationKey(std::string_view name, const std::locale& locale) {
  std::wstring characters;
  while (!name.empty()) {
    characters.push_back(takeCharacter(name));
  }
  wchar_t* const begin = characters.data();
  std::use_facet<std::ctype<wchar_t>>(locale).tolower(begin, begin + characters.size());
  return std::use_facet<std::collate<wchar_t>>(locale).transform(begin, begin + characters.size());
}

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

std::locale userLocale() {
  try {
    return std::locale("");
  } catch (const std::runtime_error&) {
    return std::locale::classic();
  }
}

std::vector<AVAudioUnitComponent> scanInstrumentComponents(AVAudioUnitComponentManager& manager,
                                                           const std::locale& locale) {
  return scan(manager, locale, {componentTypeMusicDevice, componentTypeGenerator});
}

std::vector<AVAudioUnitComponent> scanAudioEffectComponents(AVAudioUnitComponentManager& manager,
                                                            const std::locale& locale) {
  return scan(manager, locale, {componentTypeEffect, componentTypeMusicEffect});
}

}  // namespace vrel
