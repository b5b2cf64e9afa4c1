// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace vrel {

class AudioChannel;

/// Takes the notes of visual channels.
class VisualNoteTarget {
 public:
  virtual ~VisualNoteTarget() = default;
  virtual void noteOn(std::uint8_t note, AudioChannel& channel) = 0;
  virtual void noteOff(std::uint8_t note, AudioChannel& channel) = 0;
};

/// Starts the audio file of a playback channel.
class PlaybackTarget {
 public:
  virtual ~PlaybackTarget() = default;
  virtual void triggerPlayback(AudioChannel& channel) = 0;
};

}  // namespace vrel
