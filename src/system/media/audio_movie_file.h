// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/audio_file.h"

namespace vrel::system {

/// The main audio stream of a file, decoded with FFmpeg.
///
/// Frame 0 is the first that the decoder returns, so encoder delay is not counted. Positions are exact where the
/// container's timestamps are in samples or all packets have one length; elsewhere they are exact when read from the
/// beginning, and after a seek to half a tick of the container (half a millisecond at most).
class AudioMovieFile final : public AVAudioFile {
 public:
  /// Reads all packets of the stream once, undecoded, to count the frames.
  [[nodiscard]] static Result<std::shared_ptr<AVAudioFile>> open(const std::string& path);
  ~AudioMovieFile() override;
  AudioMovieFile(const AudioMovieFile&) = delete;
  AudioMovieFile& operator=(const AudioMovieFile&) = delete;

  [[nodiscard]] AVAudioFormat processingFormat() const override { return format_; }
  [[nodiscard]] std::int64_t length() const override { return length_; }
  [[nodiscard]] std::int64_t framePosition() const override { return position_; }
  void setFramePosition(std::int64_t frame) override;
  [[nodiscard]] Outcome readIntoBuffer(AVAudioPCMBuffer& buffer, std::uint32_t frameCount) override;

 private:
  class Decoder;
  AudioMovieFile(std::string path, std::unique_ptr<Decoder> decoder, AVAudioFormat format, std::int64_t length);

  const std::string path_;
  const std::unique_ptr<Decoder> decoder_;
  const AVAudioFormat format_;
  const std::int64_t length_;
  std::int64_t position_ = 0;
  bool isPlaced_ = false;
};

}  // namespace vrel::system
