// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel {

class AudioChannel;
class AVAudioEngine;
struct Strips;

/// Turns faders, gains, mutes and solos into the levels of the nodes. Levels are linear factors, set
/// at once. Mute and solo act here and nowhere else: graph and MIDI do not know of them.
///
/// Main thread. Works while audio runs, and needs no graph mutation.
class MixLevels {
 public:
  MixLevels(const Strips& strips, AVAudioEngine& engine) : strips_(strips), engine_(engine) {}

  /// The level that the channel's node should have: 0 when muted, or not soloed while another strip
  /// is; otherwise fader factor times gain factor. Not limited above.
  [[nodiscard]] float channelOutputLevel(const AudioChannel& channel) const;

  /// The master's fader factor, or 0 when it is muted. The master has no gain and no solo.
  [[nodiscard]] float masterOutputLevel() const;

  /// Sets every strip's level on its meter node, or on its source when there is none, and the
  /// master's on the main mixer.
  void applyMixerLevels();

 private:
  const Strips& strips_;
  AVAudioEngine& engine_;
};

}  // namespace vrel
