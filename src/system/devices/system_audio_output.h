// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "foundation/life_token.h"
#include "foundation/mutex.h"
#include "foundation/observable.h"
#include "system/audio/output_device.h"
#include "system/devices/system_audio_hardware.h"

namespace vrel {
class MainQueue;
}

namespace vrel::system {

/// Plays on the device that is chosen in the hardware, be there one or not.
///
/// It opens the device at its making, so that rate and block size are true from the beginning. `prepare` takes over
/// what has been chosen since, and finds a device again that was lost; a device that can stay open stays open.
///
/// Loss: a thread looks ten times a second while it plays. Once the device is lost it does not run any more, and
/// `onLost` is called on the main queue with a line for people; nothing comes back until the next `prepare`.
///
/// Main thread. Hardware and queue are borrowed.
class SystemAudioOutput final : public audio::OutputDevice {
 public:
  using LostBlock = std::function<void(const std::string& line)>;

  SystemAudioOutput(SystemAudioHardware& hardware, MainQueue& mainQueue, LostBlock onLost);
  ~SystemAudioOutput() override;
  SystemAudioOutput(const SystemAudioOutput&) = delete;
  SystemAudioOutput& operator=(const SystemAudioOutput&) = delete;

  [[nodiscard]] Outcome prepare() override;

  /// Those of the last device there was; at first 48000 and 128.
  [[nodiscard]] double sampleRate() const override { return sampleRate_; }
  [[nodiscard]] std::uint32_t blockFrames() const override;

  [[nodiscard]] bool isRealTime() const override { return true; }
  [[nodiscard]] bool isRunning() const override { return isStarted_ && !isLost(); }
  [[nodiscard]] Outcome start(audio::BlockRenderer& renderer) override;
  void stop() override;

  /// Emitted with the new rate, frames per second, before anything is played at it.
  Signal<double> sampleRateChanged;

  /// Empty when none is open.
  [[nodiscard]] const std::string& deviceUID() const { return opened_.deviceUID; }

  /// Gaps that were heard, over all devices.
  [[nodiscard]] std::uint64_t underruns() const;

 private:
  [[nodiscard]] bool isLost() const;
  void close();
  void watch(const OutputStream& stream, const std::string& deviceName);
  void stopWatch();

  SystemAudioHardware& hardware_;
  MainQueue& mainQueue_;
  const LostBlock onLost_;
  SystemAudioHardware::Opened opened_;
  double sampleRate_ = 48000;
  std::uint32_t blockFrames_ = 128;
  std::uint64_t formerUnderruns_ = 0;  // of devices that are closed
  bool isStarted_ = false;

  Mutex mutex_;
  std::condition_variable watchEnds_;
  bool isWatchEnding_ VREL_GUARDED_BY(mutex_) = false;
  std::thread watch_;
  LifeToken life_;
};

}  // namespace vrel::system
