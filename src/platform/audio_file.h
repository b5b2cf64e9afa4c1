// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "foundation/result.h"
#include "platform/audio_buffer.h"

namespace vrel {

/// An audio file open for reading, whatever its format: floats, in frames from 0 to `length`.
///
/// One user at a time, on any thread; operations may wait for the disk. Renaming or deleting the file after it
/// was opened has no effect.
class AVAudioFile {
 public:
  virtual ~AVAudioFile() = default;

  [[nodiscard]] virtual AVAudioFormat processingFormat() const = 0;

  /// Frames in the whole file.
  [[nodiscard]] virtual std::int64_t length() const = 0;

  /// The frame that the next read begins with, sample-accurate.
  [[nodiscard]] virtual std::int64_t framePosition() const = 0;
  virtual void setFramePosition(std::int64_t frame) = 0;

  /// Fills `buffer`, which has the processing format, with the next frames, at most `frameCount` and its
  /// capacity, sets its `frameLength`, and advances. Fewer frames, or none, at the end of the file; on failure
  /// those that were read before it.
  [[nodiscard]] virtual Outcome readIntoBuffer(AVAudioPCMBuffer& buffer, std::uint32_t frameCount) = 0;
};

/// Opens audio files. Any thread.
class AudioFileFactory {
 public:
  virtual ~AudioFileFactory() = default;

  /// `AVAudioFile(forReading:)`.
  [[nodiscard]] virtual Result<std::shared_ptr<AVAudioFile>> openForReading(const std::string& path) = 0;

  /// The same file for one pass from its beginning to its end, where there is a quicker way than to play it; null
  /// elsewhere. Its samples may differ in their last bits, and the pass may fail where the file can be read.
  [[nodiscard]] virtual std::shared_ptr<AVAudioFile> openForScanning(const std::string& /*path*/) { return nullptr; }

  /// Changes whenever the content of the file does; none where that is unknown. Does not wait for the content.
  [[nodiscard]] virtual std::optional<std::string> contentIdentity(const std::string& /*path*/) { return std::nullopt; }

  /// `AVAudioPCMBuffer(pcmFormat:frameCapacity:)`: null when there is not enough memory.
  [[nodiscard]] virtual std::shared_ptr<AVAudioPCMBuffer> makePCMBuffer(AVAudioFormat format,
                                                                        std::uint32_t frameCapacity) = 0;
};

}  // namespace vrel
