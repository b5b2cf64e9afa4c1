// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "foundation/result.h"

namespace vrel {

/// Plays one audio file to the output device, beside the engine: through no strip, and whatever the graph does.
/// Silent from its destruction on. Main thread; no operation waits for the disk.
class AVAudioPlayer {
 public:
  virtual ~AVAudioPlayer() = default;

  /// Where the next `play` begins, seconds from the start of the file.
  virtual void setCurrentTime(double seconds) = 0;
  virtual void prepareToPlay() = 0;
  virtual void play() = 0;
  virtual void stop() = 0;
};

/// Makes such players. Main thread.
class AudioPlayerFactory {
 public:
  virtual ~AudioPlayerFactory() = default;

  /// `AVAudioPlayer(contentsOf:)`: opens the file, and fails when it cannot be read.
  [[nodiscard]] virtual Result<std::unique_ptr<AVAudioPlayer>> makePlayer(const std::string& path) = 0;
};

}  // namespace vrel
