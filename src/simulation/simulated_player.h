// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/audio_buffer.h"
#include "simulation/simulated_node.h"

namespace vrel::simulation {

/// A player that plays nothing. It records calls, as lines like "segment 100 + 50"; scheduled segments wait
/// until a test consumes them.
class SimulatedPlayer : public SimulatedNodeOf<AVAudioPlayerNode> {
 public:
  struct Scheduled {
    std::shared_ptr<AVAudioFile> file;
    std::shared_ptr<AVAudioPCMBuffer> buffer;
    CompletionHandler completionHandler;
  };

  using SimulatedNodeOf::SimulatedNodeOf;

  void stop() override {
    ++stopCount;
    calls.emplace_back("stop");
    plays = false;
    const auto stopped = std::exchange(scheduled, {});
    for (const auto& each : stopped) {
      each.completionHandler();
    }
  }
  void play() override {
    calls.emplace_back("play");
    plays = true;
  }
  [[nodiscard]] bool isPlaying() const override { return plays; }
  void setRepeating(bool isRepeating) override { repeats = isRepeating; }
  [[nodiscard]] bool hasContinued() const override { return continued; }
  void prepareWithFrameCount(std::uint32_t frameCount) override {
    calls.push_back("prepare " + std::to_string(frameCount));
  }
  void scheduleSegment(const std::shared_ptr<AVAudioFile>& file, std::int64_t startingFrame, std::uint32_t frameCount,
                       CompletionHandler completionHandler) override {
    calls.push_back("segment " + std::to_string(startingFrame) + " + " + std::to_string(frameCount));
    scheduled.push_back({file, nullptr, std::move(completionHandler)});
  }
  void scheduleBuffer(const std::shared_ptr<AVAudioPCMBuffer>& buffer, AVAudioPlayerNodeBufferOptions options,
                      CompletionHandler completionHandler) override {
    calls.emplace_back(options == AVAudioPlayerNodeBufferOptions::loops ? "buffer, loops" : "buffer");
    scheduled.push_back({nullptr, buffer, std::move(completionHandler)});
  }
  void setVolume(float linearGain) override { volume_ = linearGain; }
  [[nodiscard]] float volume() const override { return volume_; }

  /// Acts as the platform's thread: consumes the oldest segment. False when none is scheduled.
  bool consumeOne() {
    if (scheduled.empty()) {
      return false;
    }
    const auto handler = std::move(scheduled.front().completionHandler);
    scheduled.erase(scheduled.begin());
    handler();
    return true;
  }

  std::vector<std::string> calls;
  std::vector<Scheduled> scheduled;
  bool plays = false;
  bool repeats = false;
  bool continued = false;  // as a platform that played on before its completion handler
  int stopCount = 0;

 private:
  float volume_ = 1.0F;
};

}  // namespace vrel::simulation
