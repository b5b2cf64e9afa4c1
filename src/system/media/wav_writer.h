// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "foundation/result.h"

namespace vrel::system {

/// Writes a stereo WAV file in 32-bit floats, block by block.
///
/// The file depends on the samples and the rate alone: it holds no time and no name.
/// After a failure the file is unusable; every later call returns the same error. One thread.
class WavWriter {
 public:
  /// Creates the file, in place of what was there. `sampleRate` in frames per second.
  [[nodiscard]] static Result<WavWriter> create(const std::string& path, int sampleRate);

  ~WavWriter();
  WavWriter(WavWriter&&) noexcept;
  WavWriter& operator=(WavWriter&&) noexcept;

  /// Appends a block; both channels have the same length. Samples must be finite; they may exceed 1.
  [[nodiscard]] Outcome write(std::span<const float> left, std::span<const float> right);

  /// Completes the file. Nothing may be written after it. A writer destroyed without it leaves an incomplete file.
  [[nodiscard]] Outcome close();

 private:
  struct File;
  explicit WavWriter(std::unique_ptr<File> file);

  std::unique_ptr<File> file_;
  std::vector<float> interleaved_;
};

}  // namespace vrel::system
