// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel {

class AudioChannel;
struct ChannelConfig;

// The values that a strip and its record share under the same names, each listed once. What needs more than a copy is
// not among them: the name that a strip is made with, the plug-in path, which only a load sets, and the states of
// plug-ins.

/// Levels, colour, split, transpose and sends.
void applyStripValues(AudioChannel& channel, const ChannelConfig& record);
void storeStripValues(const AudioChannel& channel, ChannelConfig& record);

/// File, loop, range and stop mode of a playback. A fresh record clears them.
void applyPlaybackValues(AudioChannel& channel, const ChannelConfig& record);
void storePlaybackValues(const AudioChannel& channel, ChannelConfig& record);

/// Whether two records have the same plug-in path, playback and clips.
[[nodiscard]] bool playSameSource(const ChannelConfig& a, const ChannelConfig& b);
/// Copies those, and the state of the plug-in.
void copySource(const ChannelConfig& from, ChannelConfig& to);

}  // namespace vrel
