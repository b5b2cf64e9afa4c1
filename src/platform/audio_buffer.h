// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vrel {

/// The format of a stream: non-interleaved 32-bit float samples.
struct AVAudioFormat {
  double sampleRate = 0;  // frames per second
  std::uint32_t channelCount = 0;

  bool operator==(const AVAudioFormat&) const = default;
};

/// Samples in memory, one plain array per channel, of a fixed size. The memory is owned, or borrowed from the
/// creator.
class AVAudioPCMBuffer {
 public:
  AVAudioPCMBuffer(AVAudioFormat format, std::uint32_t frameCapacity)
      : format_(format),
        frameCapacity_(frameCapacity),
        samples_(static_cast<std::size_t>(format.channelCount) * frameCapacity),
        channels_(format.channelCount) {
    for (std::uint32_t channel = 0; channel < format.channelCount; ++channel) {
      channels_[channel] = samples_.data() + static_cast<std::size_t>(channel) * frameCapacity;
    }
  }
  /// Over memory that outlives it: for each channel of the format, `frameCapacity` floats.
  AVAudioPCMBuffer(AVAudioFormat format, std::uint32_t frameCapacity, std::span<float* const> borrowed)
      : format_(format), frameCapacity_(frameCapacity), channels_(borrowed.begin(), borrowed.end()) {}
  AVAudioPCMBuffer(const AVAudioPCMBuffer&) = delete;
  AVAudioPCMBuffer& operator=(const AVAudioPCMBuffer&) = delete;

  /// One pointer per channel, each to `frameCapacity` floats; null without channels.
  [[nodiscard]] float* const* floatChannelData() const { return channels_.empty() ? nullptr : channels_.data(); }
  [[nodiscard]] const AVAudioFormat& format() const { return format_; }
  [[nodiscard]] std::uint32_t frameCapacity() const { return frameCapacity_; }

  /// The valid frames, at most `frameCapacity`.
  std::uint32_t frameLength = 0;

 private:
  AVAudioFormat format_;
  std::uint32_t frameCapacity_;
  std::vector<float> samples_;
  std::vector<float*> channels_;
};

}  // namespace vrel
