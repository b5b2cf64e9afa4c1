// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "system/audio/output_device.h"

namespace vrel::audio {

/// A device whose caller takes the blocks, as fast as it likes. One thread, the caller's: it plays
/// the audio thread during a block, and delivers the taps after it, so that two runs are equal.
class OfflineDevice : public OutputDevice {
 public:
  struct Block {
    std::span<const float> left;
    std::span<const float> right;
  };

  /// Frames per second above 0, and frames per block from 1.
  OfflineDevice(double sampleRate, std::uint32_t blockFrames);

  [[nodiscard]] double sampleRate() const override { return sampleRate_; }
  [[nodiscard]] std::uint32_t blockFrames() const override { return blockFrames_; }
  [[nodiscard]] bool isRealTime() const override { return false; }
  [[nodiscard]] bool isRunning() const override { return renderer_ != nullptr; }
  [[nodiscard]] Outcome start(BlockRenderer& renderer) override;
  void stop() override { renderer_ = nullptr; }

  /// Renders one block, of the usual size or of `frameCount` frames. The samples stay until the next
  /// call. Silence while nothing runs.
  Block renderBlock() { return renderBlock(blockFrames_); }
  Block renderBlock(std::uint32_t frameCount);

 private:
  double sampleRate_;
  std::uint32_t blockFrames_;
  BlockRenderer* renderer_ = nullptr;
  std::vector<float> left_;
  std::vector<float> right_;
};

}  // namespace vrel::audio
