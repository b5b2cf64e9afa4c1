// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "system/audio/output_device.h"
#include "system/audio/timed_events.h"

namespace vrel::audio::test {

/// A device in real time whose blocks a test takes when it likes, between any two steps of a change.
class LiveDevice final : public OutputDevice {
 public:
  static constexpr std::uint32_t frames = 128;

  [[nodiscard]] double sampleRate() const override { return 48000; }
  [[nodiscard]] std::uint32_t blockFrames() const override { return frames; }
  [[nodiscard]] bool isRealTime() const override { return true; }
  [[nodiscard]] bool isRunning() const override { return renderer_ != nullptr; }
  [[nodiscard]] Outcome prepare() override { return failure; }
  [[nodiscard]] std::shared_ptr<TimedEvents> timedEvents() const override { return timed; }
  [[nodiscard]] Outcome start(BlockRenderer& renderer) override {
    renderer_ = &renderer;
    return {};
  }
  void stop() override { renderer_ = nullptr; }

  /// Plays so many blocks, into `left` and `right`.
  void play(std::size_t blocks) {
    for (std::size_t block = 0; block < blocks; ++block) {
      playWith({}, frames);
    }
  }

  /// Plays one block with these events, and marks those that the instruments have got.
  void playWith(std::span<DeviceEvent> events, std::uint32_t frameCount = frames) {
    left.resize(left.size() + frameCount);
    right.resize(right.size() + frameCount);
    renderer_->renderWithEvents(left.data() + left.size() - frameCount, right.data() + right.size() - frameCount,
                                frameCount, events);
  }

  Outcome failure;  // of `prepare`
  std::shared_ptr<TimedEvents> timed = std::make_shared<TimedEvents>();
  std::vector<float> left;  // all that was played
  std::vector<float> right;

 private:
  BlockRenderer* renderer_ = nullptr;
};

}  // namespace vrel::audio::test
