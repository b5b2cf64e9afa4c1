// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/plugin_path.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <system_error>

namespace vrel {
namespace {

constexpr std::string_view internalPrefix = "internal:";
constexpr std::string_view codesPrefix = "aucd:";
constexpr std::string_view namesPrefix = "au:";

/// The parts of `text` between colons, the empty ones dropped.
std::vector<std::string_view> splitAtColons(std::string_view text) {
  std::vector<std::string_view> parts;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(':'), text.size());
    if (end > 0) {
      parts.push_back(text.substr(0, end));
    }
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return parts;
}

/// A whole decimal number of 32 unsigned bits. A sign is part of the syntax, so "-0" is a number too.
std::optional<std::uint32_t> code(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) {
    text.remove_prefix(1);
  }
  std::uint32_t value = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (failure != std::errc() || end != text.data() + text.size() || (negative && value != 0)) {
    return std::nullopt;
  }
  return value;
}

std::optional<AudioComponentDescription> description(const std::vector<std::string_view>& parts) {
  if (parts.size() != 3) {
    return std::nullopt;
  }
  const std::array codes = {code(parts[0]), code(parts[1]), code(parts[2])};
  if (!codes[0] || !codes[1] || !codes[2]) {
    return std::nullopt;
  }
  return AudioComponentDescription{*codes[0], *codes[1], *codes[2]};
}

template <typename Predicate>
std::optional<AVAudioUnitComponent> first(const std::vector<AVAudioUnitComponent>& components, Predicate matches) {
  const auto found = std::find_if(components.begin(), components.end(), matches);
  return found == components.end() ? std::nullopt : std::optional(*found);
}

}  // namespace

PluginPathKind pluginPathKind(std::string_view path) {
  using enum PluginPathKind;
  if (path.empty()) {
    return empty;
  }
  if (path.starts_with(internalPrefix)) {
    return path == pathPlayback ? playback : path == pathVisual ? visual : reserved;
  }
  if (path.starts_with(codesPrefix)) {
    return component;
  }
  return path.starts_with(namesPrefix) ? name : unknown;
}

std::string pluginKey(const AVAudioUnitComponent& component) {
  const AudioComponentDescription& codes = component.audioComponentDescription;
  return std::string(codesPrefix) + std::to_string(codes.componentType) + ":" + std::to_string(codes.componentSubType) +
         ":" + std::to_string(codes.componentManufacturer);
}

std::string nameInPath(std::string_view path) {
  if (pluginPathKind(path) != PluginPathKind::name) {
    return {};
  }
  const auto parts = splitAtColons(path.substr(namesPrefix.size()));
  return parts.size() < 2 ? std::string() : std::string(parts[1]);
}

std::optional<AVAudioUnitComponent> resolvePluginPath(std::string_view path,
                                                      const std::vector<AVAudioUnitComponent>& components) {
  const auto kind = pluginPathKind(path);
  if (kind == PluginPathKind::component) {
    const auto wanted = description(splitAtColons(path.substr(codesPrefix.size())));
    if (!wanted) {
      return std::nullopt;
    }
    return first(components, [&](const auto& component) { return component.audioComponentDescription == *wanted; });
  }
  if (kind == PluginPathKind::name) {
    const auto parts = splitAtColons(path.substr(namesPrefix.size()));
    if (parts.size() < 2) {
      return std::nullopt;
    }
    return first(components, [&](const auto& component) {
      return component.manufacturerName == parts[0] && component.name == parts[1];
    });
  }
  return std::nullopt;
}

}  // namespace vrel
