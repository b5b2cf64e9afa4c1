// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/nearest_plugins.h"

#include <algorithm>
#include <cwctype>
#include <iterator>
#include <string_view>
#include <utility>

#include "document/collation.h"
#include "document/plugin_path.h"

namespace vrel {
namespace {

constexpr double leastLikeness = 0.4;
constexpr double makerWeight = 0.5;
constexpr double typeWeight = 0.05;       // decides between equals only
constexpr double stripNameWeight = 0.85;  // a strip is often named after its part, not its plug-in

/// The words of a name in small letters, with one space around each.
std::wstring wordsOf(std::string_view name) {
  std::wstring words = L" ";
  for (const wchar_t letter : caseFolded(name, userLocale())) {
    if (std::iswalnum(static_cast<std::wint_t>(letter)) != 0) {
      words += letter;
    } else if (words.back() != L' ') {
      words += L' ';
    }
  }
  return words.back() == L' ' ? words : words + L' ';
}

std::vector<std::wstring> pairsIn(const std::wstring& words) {
  std::vector<std::wstring> pairs;
  for (std::size_t at = 0; at + 1 < words.size(); ++at) {
    pairs.push_back(words.substr(at, 2));
  }
  std::sort(pairs.begin(), pairs.end());
  return pairs;
}

/// The share of letter pairs that two names have in common, 0 to 1.
double likeness(const std::wstring& one, const std::wstring& other) {
  const auto ofOne = pairsIn(one);
  const auto ofOther = pairsIn(other);
  if (ofOne.empty() || ofOther.empty()) {
    return 0;
  }
  std::vector<std::wstring> common;
  std::set_intersection(ofOne.begin(), ofOne.end(), ofOther.begin(), ofOther.end(), std::back_inserter(common));
  return 2 * static_cast<double>(common.size()) / static_cast<double>(ofOne.size() + ofOther.size());
}

/// The part of a path after this many colons, up to the next one.
std::string_view partOf(std::string_view path, int colons) {
  for (; colons > 0; --colons) {
    const auto at = path.find(':');
    path.remove_prefix(at == std::string_view::npos ? path.size() : at + 1);
  }
  return path.substr(0, path.find(':'));
}

struct Known {
  explicit Known(const WantedPlugin& wanted) : name(wordsOf(wanted.name)), stripName(wordsOf(wanted.stripName)) {
    const auto kind = pluginPathKind(wanted.path);
    if (kind == PluginPathKind::name) {
      maker = wordsOf(partOf(wanted.path, 1));
    } else if (kind == PluginPathKind::component) {
      type = partOf(wanted.path, 1);
      makerCode = partOf(wanted.path, 3);
    }
  }

  std::wstring name;
  std::wstring stripName;
  std::wstring maker{};
  std::string type{};  // this one and the next in digits, as in a path
  std::string makerCode{};
};

double scoreOf(const Known& known, const AVAudioUnitComponent& plugin) {
  const auto name = wordsOf(plugin.name);
  const auto key = pluginKey(plugin);
  const double alike = std::max(likeness(known.name, name), stripNameWeight * likeness(known.stripName, name));
  const bool isOfMaker = (known.maker.size() > 1 && known.maker == wordsOf(plugin.manufacturerName)) ||
                         (!known.makerCode.empty() && known.makerCode == partOf(key, 3));
  if (alike < leastLikeness && !isOfMaker) {
    return 0;
  }
  return alike + (isOfMaker ? makerWeight : 0) + (known.type == partOf(key, 1) ? typeWeight : 0);
}

}  // namespace

std::vector<AVAudioUnitComponent> nearestPlugins(const WantedPlugin& wanted,
                                                 const std::vector<AVAudioUnitComponent>& installed) {
  const Known known(wanted);
  std::vector<std::pair<double, const AVAudioUnitComponent*>> scored;
  for (const auto& plugin : installed) {
    if (const double score = scoreOf(known, plugin); score > 0) {
      scored.emplace_back(score, &plugin);
    }
  }
  std::stable_sort(scored.begin(), scored.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
  std::vector<AVAudioUnitComponent> nearest;
  for (std::size_t index = 0; index < std::min(scored.size(), mostNearestPlugins); ++index) {
    nearest.push_back(*scored[index].second);
  }
  return nearest;
}

}  // namespace vrel
