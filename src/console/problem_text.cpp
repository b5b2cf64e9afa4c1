// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/problem_text.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "foundation/fnv1a64.h"

namespace vrel {
namespace {

constexpr std::string_view codePrefix = "aucd:";
constexpr std::array<std::string_view, 3> uriPrefixes{"http://", "https://", "urn:"};
constexpr std::string_view unknownPlugin = "a plug-in";

bool beginsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

/// Up to what cannot be part of it; a colon or a full stop at the end belongs to the sentence.
std::string_view wordAt(std::string_view text) {
  std::string_view word = text.substr(0, text.find_first_of(" \t<>()[]\"',;"));
  while (!word.empty() && (word.back() == ':' || word.back() == '.')) {
    word.remove_suffix(1);
  }
  return word;
}

std::string nameOfCode(std::string_view code, const KnownPlugins& known) {
  const auto name = knownPluginName(code, known);
  return name.empty() ? std::string(unknownPlugin) : name;
}

std::string nameOfUri(std::string_view uri, const KnownPlugins& known) {
  // The codes of a plug-in are the hash of its URI.
  constexpr unsigned half = 32;
  const std::uint64_t hash = fnv1a64(uri);
  for (const auto* const installed : {&known.instruments, &known.effects}) {
    const auto found =
        std::find_if(installed->begin(), installed->end(), [hash](const AVAudioUnitComponent& component) {
          const auto& codes = component.audioComponentDescription;
          return codes.componentSubType == static_cast<std::uint32_t>(hash >> half) &&
                 codes.componentManufacturer == static_cast<std::uint32_t>(hash);
        });
    if (found != installed->end()) {
      return found->name;
    }
  }
  const std::size_t last = uri.find_last_of("/#:");
  return std::string(last + 1 < uri.size() ? uri.substr(last + 1) : uri);
}

}  // namespace

std::string problemText(std::string_view line, const KnownPlugins& known) {
  std::string text;
  while (!line.empty()) {
    const bool isCode = beginsWith(line, codePrefix);
    const bool isUri = std::any_of(uriPrefixes.begin(), uriPrefixes.end(),
                                   [line](std::string_view prefix) { return beginsWith(line, prefix); });
    if (!isCode && !isUri) {
      text += line.front();
      line.remove_prefix(1);
      continue;
    }
    const std::string_view word = wordAt(line);
    text += isCode ? nameOfCode(word, known) : nameOfUri(word, known);
    line.remove_prefix(word.size());
  }
  return text;
}

}  // namespace vrel
