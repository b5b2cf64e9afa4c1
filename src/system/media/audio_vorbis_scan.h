// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/audio_file.h"

namespace vrel::system {

/// An Ogg Vorbis file for one pass from its beginning to its end: by FFmpeg's decoder, which takes two thirds of the
/// time that libvorbis takes, and whose samples differ from it in their last bits only.
///
/// FFmpeg's times of Vorbis packets leave gaps where pages begin, so the frames are counted instead. Where the count
/// is not libvorbis's, in a file that is damaged or was cut at its beginning, the pass fails: the first and the last
/// samples that are not silent are compared.
class AudioVorbisScan final : public AVAudioFile {
 public:
  /// `exact` is the same file. Fails for more than two channels, whose order differs.
  [[nodiscard]] static Result<std::shared_ptr<AVAudioFile>> open(const std::string& path,
                                                                 std::shared_ptr<AVAudioFile> exact);
  ~AudioVorbisScan() override;
  AudioVorbisScan(const AudioVorbisScan&) = delete;
  AudioVorbisScan& operator=(const AudioVorbisScan&) = delete;

  [[nodiscard]] AVAudioFormat processingFormat() const override { return exact_->processingFormat(); }
  [[nodiscard]] std::int64_t length() const override { return exact_->length(); }
  [[nodiscard]] std::int64_t framePosition() const override { return position_; }
  /// Only to where it is.
  void setFramePosition(std::int64_t frame) override { isOnePass_ = isOnePass_ && frame == position_; }
  [[nodiscard]] Outcome readIntoBuffer(AVAudioPCMBuffer& buffer, std::uint32_t frameCount) override;

 private:
  class Decoder;

  /// Samples to compare; none while all was silent.
  struct Probe {
    std::int64_t position = 0;
    std::vector<std::vector<float>> channels;
  };

  AudioVorbisScan(std::string path, std::unique_ptr<Decoder> decoder, std::shared_ptr<AVAudioFile> exact);
  void takeProbe(std::uint32_t frames);
  [[nodiscard]] bool isExact(const Probe& probe) const;

  const std::string path_;
  const std::unique_ptr<Decoder> decoder_;
  const std::shared_ptr<AVAudioFile> exact_;
  std::int64_t position_ = 0;
  bool isOnePass_ = true;
  Probe first_;
  Probe last_;
};

}  // namespace vrel::system
