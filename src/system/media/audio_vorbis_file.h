// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/audio_file.h"

namespace vrel::system {

/// An Ogg Vorbis file, read with libvorbisfile, the only library here that seeks in such a stream both exactly and
/// fast. A stream whose sample rate or channel count changes is not opened. Damaged parts are skipped, so that the file
/// ends early.
class AudioVorbisFile final : public AVAudioFile {
 public:
  [[nodiscard]] static Result<std::shared_ptr<AVAudioFile>> open(const std::string& path);
  ~AudioVorbisFile() override;
  AudioVorbisFile(const AudioVorbisFile&) = delete;
  AudioVorbisFile& operator=(const AudioVorbisFile&) = delete;

  [[nodiscard]] AVAudioFormat processingFormat() const override { return format_; }
  [[nodiscard]] std::int64_t length() const override { return length_; }
  [[nodiscard]] std::int64_t framePosition() const override { return position_; }
  void setFramePosition(std::int64_t frame) override;
  [[nodiscard]] Outcome readIntoBuffer(AVAudioPCMBuffer& buffer, std::uint32_t frameCount) override;

 private:
  class Stream;
  AudioVorbisFile(std::string path, std::unique_ptr<Stream> stream, AVAudioFormat format, std::int64_t length);

  const std::string path_;
  const std::unique_ptr<Stream> stream_;
  const AVAudioFormat format_;
  const std::int64_t length_;
  std::int64_t position_ = 0;
  bool isPlaced_ = false;
};

}  // namespace vrel::system
