// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <string>
#include <vector>

#include "support/devices/jack_server.h"
#include "system/devices/audio_backend.h"
#include "system/devices/system_audio_hardware.h"
#include "system/devices/system_audio_output.h"
#include "system/dispatch/offline_main_loop.h"

namespace vrel::system::test {

/// Left: a sine. Right: the number of the frame, from 1, which shows where in the sine a recording begins.
class SineRenderer final : public audio::BlockRenderer {
 public:
  void render(float* left, float* right, std::uint32_t frameCount) noexcept override {
    for (std::uint32_t index = 0; index < frameCount; ++index) {
      ++frame_;
      left[index] = sample(frame_);
      right[index] = static_cast<float>(frame_);
    }
    lastFrameCount = frameCount;
    ++blocks;
  }
  void pump() override {}

  [[nodiscard]] static float sample(std::uint32_t frame) {
    return static_cast<float>(std::sin(2 * std::numbers::pi * 440 / 48000 * frame));
  }

  std::atomic<std::uint32_t> lastFrameCount{0};
  std::atomic<std::uint32_t> blocks{0};

 private:
  std::uint32_t frame_ = 0;
};

/// The program's output on a server that the test starts when it likes.
struct OutputStage {
  [[nodiscard]] bool eventuallyOnMain(const std::function<bool()>& holds) {
    return eventually([&] {
      loop.runPending();
      return holds();
    });
  }

  JackServer server;
  OfflineClock clock;
  OfflineMainLoop loop{clock};
  SystemAudioHardware hardware{makeAudioBackends(server.name())};
  std::vector<std::string> lost;
  SineRenderer renderer;
};

}  // namespace vrel::system::test
