// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/audio_component.h"

// What a channel or an effect slot plays is told by a text, its plug-in path:
//
//   empty                           nothing; the channel or slot is free
//   internal:playback               an audio file
//   internal:visual                 video clips
//   aucd:TYPE:SUBTYPE:MANUFACTURER  a plug-in by its three codes in decimal; the form that is written
//   au:MANUFACTURER:NAME            a plug-in by its names; written by early builds, still read

namespace vrel {

inline constexpr std::string_view pathPlayback = "internal:playback";
inline constexpr std::string_view pathVisual = "internal:visual";

/// Whether `path` stands for something the program plays itself, so that no plug-in is behind it.
[[nodiscard]] bool isInternalPath(std::string_view path);

/// The path, or key, of a plug-in: its "aucd:" form.
[[nodiscard]] std::string pluginKey(const AVAudioUnitComponent& component);

/// The first of `components` that `path` names; none for a path that is malformed, internal or
/// unknown. Works on what it is given alone, so it may run on any thread.
[[nodiscard]] std::optional<AVAudioUnitComponent> resolvePluginPath(
    std::string_view path, const std::vector<AVAudioUnitComponent>& components);

}  // namespace vrel
