// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/audio_buffer.h"

namespace vrel {

/// One column of a waveform: the lowest and the highest sample of all channels in its frames, -1 to 1.
struct WaveformColumn {
  float low = 0;
  float high = 0;

  bool operator==(const WaveformColumn&) const = default;
};

/// What is drawn of a sound file: 180 bars over all of it, and a peak for every 256 frames to zoom in. The bars have
/// nothing to do with the meter of a playback; see playback_envelope.h.
struct WaveformPeaks {
  static constexpr std::size_t mostBars = 180;
  static constexpr std::uint32_t blockFrames = 256;

  std::int64_t frames = 0;           // of the file
  double sampleRate = 0;             // frames per second
  std::vector<float> bars;           // 0 to 1, those that are known; none where the file cannot be read
  std::vector<std::uint8_t> blocks;  // those that are known; 255 is full scale

  [[nodiscard]] double duration() const { return sampleRate > 0 ? static_cast<double>(frames) / sampleRate : 0; }

  bool operator==(const WaveformPeaks&) const = default;
};

/// How many frames are in one bar, and how many bars a file of this length has.
[[nodiscard]] std::int64_t framesPerBar(std::int64_t frames);
[[nodiscard]] std::size_t barCount(std::int64_t frames);

/// Collects the peaks of a file that is read from its start to its end. One thread.
class PeakScan {
 public:
  PeakScan(std::int64_t frames, double sampleRate);

  /// The next frames of the file. Without float data they count as a placeholder's height.
  void add(const AVAudioPCMBuffer& buffer);

  /// The file ends here, whatever its length says: the bars behind it are flat.
  void end();

  [[nodiscard]] const WaveformPeaks& peaks() const { return peaks_; }

 private:
  void addStretch(const AVAudioPCMBuffer& buffer, std::uint32_t from, std::uint32_t count);

  WaveformPeaks peaks_;
  std::int64_t position_ = 0;
};

/// The bars as columns, around zero; those that are not known yet are flat.
[[nodiscard]] std::vector<WaveformColumn> barColumns(const WaveformPeaks& peaks);

/// `count` columns of the frames from `from` on, out of the blocks; as fine as those.
[[nodiscard]] std::vector<WaveformColumn> blockColumns(const WaveformPeaks& peaks, std::int64_t from,
                                                       std::int64_t frames, std::size_t count);

/// The same out of the frames themselves, which begin with the first of the buffer.
[[nodiscard]] std::vector<WaveformColumn> frameColumns(const AVAudioPCMBuffer& buffer, std::size_t count);

/// Where the sum of all channels passes through zero, nearest to `near`; the earlier one when two are as near. None
/// where it never does.
[[nodiscard]] std::optional<std::uint32_t> nearestZeroCrossing(const AVAudioPCMBuffer& buffer, std::uint32_t near);

/// As a file of the cache holds it, with the identity of the sound file that it belongs to.
[[nodiscard]] std::string storedPeaks(const WaveformPeaks& peaks, const std::string& identity);

/// None for a file of the cache that is damaged, or of another sound file.
[[nodiscard]] std::optional<WaveformPeaks> peaksFromStored(const std::string& bytes, const std::string& identity);

}  // namespace vrel
