// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/audio_component.h"

// The plug-in path of a channel or an effect slot is the text that says what it plays.

namespace vrel {

inline constexpr std::string_view pathPlayback = "internal:playback";
inline constexpr std::string_view pathVisual = "internal:visual";

/// The forms of a plug-in path. The plug-in may still not be installed, or the rest be malformed.
enum class PluginPathKind {
  empty,      // nothing; the channel or slot is free
  playback,   // internal:playback: an audio file
  visual,     // internal:visual: video clips
  reserved,   // internal: with any other word; nothing is played
  component,  // aucd:TYPE:SUBTYPE:MANUFACTURER: a plug-in by its three codes in decimal; the form that is written
  name,       // au:MANUFACTURER:NAME: a plug-in by its names; written by early builds, still read
  unknown,    // any other text
};

[[nodiscard]] PluginPathKind pluginPathKind(std::string_view path);

/// Whether no plug-in is behind such a path, since the program plays it itself or reserves it for that.
[[nodiscard]] constexpr bool isInternal(PluginPathKind kind) {
  return kind == PluginPathKind::playback || kind == PluginPathKind::visual || kind == PluginPathKind::reserved;
}

/// The path, or key, of a plug-in: its "aucd:" form.
[[nodiscard]] std::string pluginKey(const AVAudioUnitComponent& component);

/// The plug-in's own name in an "au:" path; empty for any other form.
[[nodiscard]] std::string nameInPath(std::string_view path);

/// The first of `components` that `path` names; none for a path that is malformed, internal or
/// unknown. Works on what it is given alone, so it may run on any thread.
[[nodiscard]] std::optional<AVAudioUnitComponent> resolvePluginPath(
    std::string_view path, const std::vector<AVAudioUnitComponent>& components);

}  // namespace vrel
