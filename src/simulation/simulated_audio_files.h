// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/audio_file.h"

namespace vrel::simulation {

/// The content of a simulated file: one list of samples per channel, all of the same length.
struct SimulatedSound {
  double sampleRate = 48000;
  std::vector<std::vector<float>> channels;
  std::optional<Error> readFailure;

  /// Frames that the file claims beyond its samples; they read as the end of the file.
  std::int64_t claimedFrames = 0;

  [[nodiscard]] std::int64_t length() const {
    return (channels.empty() ? 0 : static_cast<std::int64_t>(channels.front().size())) + claimedFrames;
  }
};

class SimulatedAudioFile : public AVAudioFile {
 public:
  SimulatedAudioFile(std::string filePath, SimulatedSound sound)
      : path(std::move(filePath)), sound_(std::move(sound)) {}

  [[nodiscard]] AVAudioFormat processingFormat() const override {
    return {sound_.sampleRate, static_cast<std::uint32_t>(sound_.channels.size())};
  }
  [[nodiscard]] std::int64_t length() const override { return sound_.length(); }
  [[nodiscard]] std::int64_t framePosition() const override { return position_; }
  void setFramePosition(std::int64_t frame) override { position_ = frame; }
  Outcome readIntoBuffer(AVAudioPCMBuffer& buffer, std::uint32_t frameCount) override {
    if (sound_.readFailure) {
      return sound_.readFailure;
    }
    const std::int64_t left = std::max<std::int64_t>(0, length() - sound_.claimedFrames - position_);
    const auto count = static_cast<std::uint32_t>(std::min<std::int64_t>(left, frameCount));
    for (std::size_t channel = 0; channel < sound_.channels.size() && count > 0; ++channel) {
      std::copy_n(sound_.channels[channel].begin() + position_, count, buffer.floatChannelData()[channel]);
    }
    buffer.frameLength = count;
    position_ += count;
    return std::nullopt;
  }

  const std::string path;

 private:
  SimulatedSound sound_;
  std::int64_t position_ = 0;
};

/// Files that a test adds by path. Failures on demand.
class SimulatedAudioFiles : public AudioFileFactory {
 public:
  Result<std::shared_ptr<AVAudioFile>> openForReading(const std::string& path) override {
    ++openCount;
    const auto sound = sounds.find(path);
    if (sound == sounds.end() || openCount == failingOpen) {
      return Error{"no such file: " + path};
    }
    return std::shared_ptr<AVAudioFile>(std::make_shared<SimulatedAudioFile>(path, sound->second));
  }
  std::optional<std::string> contentIdentity(const std::string& path) override {
    const auto identity = identities.find(path);
    return identity == identities.end() ? std::nullopt : std::optional(identity->second);
  }
  std::shared_ptr<AVAudioPCMBuffer> makePCMBuffer(AVAudioFormat format, std::uint32_t frameCapacity) override {
    return isOutOfMemory ? nullptr : std::make_shared<AVAudioPCMBuffer>(format, frameCapacity);
  }

  std::map<std::string, SimulatedSound> sounds;
  std::map<std::string, std::string> identities;  // of files that have one
  bool isOutOfMemory = false;
  int openCount = 0;
  int failingOpen = 0;  // the open call with this number fails; 0 for none
};

}  // namespace vrel::simulation
