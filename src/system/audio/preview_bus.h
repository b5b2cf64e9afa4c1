// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "foundation/thread_roles.h"
#include "platform/audio_converter.h"
#include "platform/audio_player.h"
#include "platform/dispatch.h"
#include "system/audio/node_processor.h"
#include "system/audio/output_device.h"
#include "system/audio/player_feeder.h"
#include "system/audio/render_counters.h"

namespace vrel {
class AudioFileFactory;
}  // namespace vrel

namespace vrel::audio {

class PlayerNode;

/// Between an engine and its device: adds a file that is previewed to what the engine plays, behind the master, so that
/// neither strips nor a change of the graph touch it.
///
/// One file sounds at a time, that of the player that was started last. Disk and decoding are a queue's and the
/// feeder's; the audio thread only takes what is read.
///
/// Main thread, and `render` on the audio thread. Players end before the bus.
class PreviewBus final : public OutputDevice, public AudioPlayerFactory, private BlockRenderer {
 public:
  struct Collaborators {
    std::shared_ptr<OutputDevice> device;
    AudioFileFactory& files;
    DispatchQueueFactory& queues;
    std::shared_ptr<AudioConverterFactory> converters;  // null: every file sounds at the device's rate
    std::shared_ptr<RenderCounters> counters;
  };

  explicit PreviewBus(const Collaborators& collaborators);
  ~PreviewBus() override;
  PreviewBus(const PreviewBus&) = delete;
  PreviewBus& operator=(const PreviewBus&) = delete;

  [[nodiscard]] Result<std::unique_ptr<AVAudioPlayer>> makePlayer(const std::string& path) override;

  /// For the owner of a device that is not real-time, before each block.
  [[nodiscard]] PlayerFeeder& playerFeeder() { return *feeder_; }

  // The device, for the engine.
  [[nodiscard]] Outcome prepare() override { return device_->prepare(); }
  void setRateHandler(std::function<void()> handler) override { device_->setRateHandler(std::move(handler)); }
  [[nodiscard]] double sampleRate() const override { return device_->sampleRate(); }
  [[nodiscard]] std::uint32_t blockFrames() const override { return device_->blockFrames(); }
  [[nodiscard]] bool isRealTime() const override { return device_->isRealTime(); }
  [[nodiscard]] bool isRunning() const override { return device_->isRunning(); }
  [[nodiscard]] std::shared_ptr<TimedEvents> timedEvents() const override { return device_->timedEvents(); }
  [[nodiscard]] Outcome start(BlockRenderer& renderer) override;
  void stop() override { device_->stop(); }

 private:
  struct Voice;
  class Player;

  void render(float* left, float* right, std::uint32_t frameCount) noexcept override {
    PreviewBus::renderWithEvents(left, right, frameCount, {});
  }
  void renderWithEvents(float* left, float* right, std::uint32_t frameCount,
                        std::span<DeviceEvent> events) noexcept override;
  void pump() override { engine_->pump(); }
  void addPreview(float* left, float* right, std::uint32_t frameCount) noexcept VREL_AUDIO_THREAD;

  const std::shared_ptr<OutputDevice> device_;
  AudioFileFactory& files_;
  const std::shared_ptr<RenderCounters> counters_;
  const std::shared_ptr<PlayerFeeder> feeder_;
  const std::shared_ptr<Voice> voice_;
  const std::shared_ptr<NodeProcessor> processor_;
  BlockRenderer* engine_ = nullptr;   // written while the device is stopped
  std::atomic<bool> isInUse_{false};  // there has been a player
  std::array<std::array<float, maximumBlockFrames>, maximumStreamChannels> samples_{};  // audio thread
  std::unique_ptr<DispatchQueue> queue_;  // last: its end waits for the work under way
};

}  // namespace vrel::audio
