// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "system/devices/audio_backend.h"

namespace vrel::system::test {

/// A loudspeaker that a test plugs in and out: it asks for blocks on a thread of its own and keeps what it is given.
class ScriptedSpeaker {
 public:
  explicit ScriptedSpeaker(double framesPerSecond = 48000) : sampleRate(framesPerSecond) {}

  const double sampleRate;
  std::atomic<bool> isThere{true};
  std::atomic<bool> isFrozen{false};  // there, but asks for nothing
  std::atomic<bool> isHung{false};    // the same, and whoever closes what plays on it waits
  std::atomic<int> streams{0};
  std::atomic<std::thread::id> closedOn{};  // the thread that closed one last
  std::atomic<int> breaks{0};

  /// Ends what plays on it; it stays there.
  void breakStreams() { ++breaks; }

  void keep(const std::vector<float>& left, const std::vector<float>& right) {
    const std::lock_guard lock(mutex_);
    left_.insert(left_.end(), left.begin(), left.end());
    right_.insert(right_.end(), right.begin(), right.end());
  }
  [[nodiscard]] std::vector<float> left() const {
    const std::lock_guard lock(mutex_);
    return left_;
  }
  [[nodiscard]] std::vector<float> right() const {
    const std::lock_guard lock(mutex_);
    return right_;
  }
  void forget() {
    const std::lock_guard lock(mutex_);
    left_.clear();
    right_.clear();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<float> left_;
  std::vector<float> right_;
};

/// What a test lays out, by name; the first that is there is the default, unless another one is named.
struct ScriptedOutputs {
  std::map<std::string, std::shared_ptr<ScriptedSpeaker>> speakers;

  void setDefault(const std::string& name) {
    const std::lock_guard lock(mutex);
    defaultName = name;
  }
  [[nodiscard]] std::string currentDefault() {
    const std::lock_guard lock(mutex);
    return defaultName;
  }

  std::mutex mutex;
  std::string defaultName;
  std::atomic<int> lists{0};  // asked for
};

class ScriptedStream final : public OutputStream {
 public:
  static constexpr std::uint32_t frames = 128;

  ScriptedStream(ScriptedOutputs& outputs, std::shared_ptr<ScriptedSpeaker> speaker)
      : outputs_(outputs), speaker_(std::move(speaker)), breaksBefore_(speaker_->breaks) {
    ++speaker_->streams;
  }
  ~ScriptedStream() override {
    ScriptedStream::stop();
    --speaker_->streams;
  }
  ScriptedStream(const ScriptedStream&) = delete;
  ScriptedStream& operator=(const ScriptedStream&) = delete;

  [[nodiscard]] double sampleRate() const override { return speaker_->sampleRate; }
  [[nodiscard]] std::uint32_t blockFrames() const override { return frames; }
  [[nodiscard]] bool changeBlockFrames(std::uint32_t /*frames*/) override { return true; }
  [[nodiscard]] Outcome start(audio::BlockRenderer& renderer) override {
    isEnding_ = false;
    thread_ = std::thread([this, &renderer] { play(renderer); });
    return {};
  }
  void stop() override {
    isEnding_ = true;
    speaker_->closedOn = std::this_thread::get_id();
    while (speaker_->isHung) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (thread_.joinable()) {
      thread_.join();
    }
  }
  [[nodiscard]] std::optional<std::string> lossReason() const override {
    return isLost_ || !isWhole() ? std::optional<std::string>("it was unplugged") : std::nullopt;
  }
  [[nodiscard]] std::uint64_t underruns() const override { return 0; }
  [[nodiscard]] std::optional<std::string> systemDefault() override { return outputs_.currentDefault(); }

 private:
  void play(audio::BlockRenderer& renderer) {
    std::vector<float> left(frames);
    std::vector<float> right(frames);
    while (!isEnding_) {
      isLost_ = isLost_ || !isWhole();
      if (!isLost_ && !speaker_->isFrozen && !speaker_->isHung) {
        renderer.render(left.data(), right.data(), frames);
        speaker_->keep(left, right);
      }
      std::this_thread::sleep_for(std::chrono::microseconds(2667));
    }
  }

  [[nodiscard]] bool isWhole() const { return speaker_->isThere && speaker_->breaks == breaksBefore_; }

  ScriptedOutputs& outputs_;
  const std::shared_ptr<ScriptedSpeaker> speaker_;
  const int breaksBefore_;
  std::atomic<bool> isLost_{false};
  std::atomic<bool> isEnding_{false};
  std::thread thread_;
};

class ScriptedBackend final : public AudioBackend {
 public:
  explicit ScriptedBackend(ScriptedOutputs& outputs, std::string prefix = "stage")
      : outputs_(outputs), prefix_(std::move(prefix)) {}

  [[nodiscard]] std::string uidPrefix() const override { return prefix_; }
  [[nodiscard]] std::vector<AudioDeviceDescription> devices() override {
    std::vector<AudioDeviceDescription> devices;
    ++outputs_.lists;
    for (const auto& [name, speaker] : outputs_.speakers) {
      if (speaker->isThere) {
        devices.push_back({.name = name,
                           .title = "Stage: " + name,
                           .outputChannels = 2,
                           .isDefaultOutput = name == outputs_.currentDefault()});
      }
    }
    return devices;
  }
  [[nodiscard]] Result<std::unique_ptr<OutputStream>> open(const std::string& deviceName,
                                                           std::optional<std::uint32_t> /*frames*/) override {
    return std::unique_ptr<OutputStream>(std::make_unique<ScriptedStream>(outputs_, outputs_.speakers.at(deviceName)));
  }

 private:
  ScriptedOutputs& outputs_;
  const std::string prefix_;
};

}  // namespace vrel::system::test
