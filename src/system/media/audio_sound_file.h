// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/audio_file.h"

namespace vrel::system {

/// An audio file, read with libsndfile. Of Ogg files only Opus.
class AudioSoundFile final : public AVAudioFile {
 public:
  [[nodiscard]] static Result<std::shared_ptr<AVAudioFile>> open(const std::string& path);
  ~AudioSoundFile() override;
  AudioSoundFile(const AudioSoundFile&) = delete;
  AudioSoundFile& operator=(const AudioSoundFile&) = delete;

  [[nodiscard]] AVAudioFormat processingFormat() const override { return format_; }
  [[nodiscard]] std::int64_t length() const override { return length_; }
  [[nodiscard]] std::int64_t framePosition() const override { return position_; }
  void setFramePosition(std::int64_t frame) override;
  [[nodiscard]] Outcome readIntoBuffer(AVAudioPCMBuffer& buffer, std::uint32_t frameCount) override;

 private:
  struct Handle;
  [[nodiscard]] bool place();
  AudioSoundFile(std::string path, std::unique_ptr<Handle> handle, AVAudioFormat format, std::int64_t length);

  const std::string path_;
  const std::unique_ptr<Handle> handle_;
  const AVAudioFormat format_;
  const std::int64_t length_;
  std::int64_t position_ = 0;
  std::vector<float> interleaved_;
};

}  // namespace vrel::system
