// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "foundation/life_token.h"
#include "foundation/observable.h"
#include "system/audio/output_device.h"
#include "system/audio/paced_null_device.h"
#include "system/audio/render_handover.h"
#include "system/devices/output_watch.h"
#include "system/devices/system_audio_hardware.h"

namespace vrel {
class MainQueue;
}

namespace vrel::system {

/// What the output plays on, for the person at the machine.
struct OutputState {
  std::string device{};   // by name; empty while there is none
  std::string awaited{};  // what sound moves to when it appears; empty when any will do, or nothing is waited for
  std::string reason{};   // why there is no device

  [[nodiscard]] bool hasDevice() const { return !device.empty(); }
  bool operator==(const OutputState&) const = default;
};

/// Plays on the device that is chosen in the hardware, be there one or not: without one the blocks go on, at the same
/// pace, to nobody.
///
/// It opens the device at its making, so that rate and block size are true from the beginning. `prepare` takes over
/// what has been chosen since; a device that can stay open stays open.
///
/// Loss: once the device is lost or asks for no blocks, a paced null device takes its place, and a line says so. As
/// soon as the device is back, or a better one is there (see SystemAudioHardware::lookFor), the sound moves to it by
/// itself, without a click. Only a device of another sample rate has to wait for the next `prepare`, which the rate
/// handler asks for.
///
/// Main thread. Hardware and queue are borrowed.
class SystemAudioOutput final : public audio::OutputDevice {
 public:
  using LineBlock = std::function<void(const std::string& line)>;

  /// `log` gets lines for people; `watchTick` is how often the device is watched.
  SystemAudioOutput(SystemAudioHardware& hardware, MainQueue& mainQueue, LineBlock log,
                    std::chrono::milliseconds watchTick = OutputWatch::usualTick);
  ~SystemAudioOutput() override;
  SystemAudioOutput(const SystemAudioOutput&) = delete;
  SystemAudioOutput& operator=(const SystemAudioOutput&) = delete;

  /// Never fails for want of a device.
  [[nodiscard]] Outcome prepare() override;
  /// Where the lines go that report no failure; without it, where the others go.
  void setInfoLog(LineBlock log) { infoLog_ = std::move(log); }
  /// What MIDI sources with a clock of their own send; before the first start.
  void setTimedEvents(std::shared_ptr<audio::TimedEvents> events) { timedEvents_ = std::move(events); }
  [[nodiscard]] std::shared_ptr<audio::TimedEvents> timedEvents() const override { return timedEvents_; }
  void setRateHandler(std::function<void()> handler) override { rateHandler_ = std::move(handler); }

  /// Those of the last device there was; at first 48000 and 128.
  [[nodiscard]] double sampleRate() const override { return sampleRate_; }
  [[nodiscard]] std::uint32_t blockFrames() const override;

  [[nodiscard]] bool isRealTime() const override { return true; }
  [[nodiscard]] bool isRunning() const override { return renderer_ != nullptr; }
  [[nodiscard]] Outcome start(audio::BlockRenderer& renderer) override;
  void stop() override;

  /// Emitted with the new rate, frames per second, before anything is played at it.
  Signal<double> sampleRateChanged;

  [[nodiscard]] const Observable<OutputState>& state() const { return state_; }
  [[nodiscard]] Observable<OutputState>& state() { return state_; }

  /// Empty when none is open.
  [[nodiscard]] std::string deviceUID() const { return session_ ? session_->deviceUID : std::string(); }

  /// Gaps that were heard, over all devices.
  [[nodiscard]] std::uint64_t underruns() const;

 private:
  using Session = OutputWatch::Session;

  /// The device that nobody hears.
  struct NullSession {
    NullSession(audio::RenderHandover& handover, double sampleRate, std::uint32_t blockFrames)
        : port(handover), device(sampleRate, blockFrames) {}
    audio::RenderHandover::Port port;
    audio::PacedNullDevice device;
  };

  void choose(const OutputChoice& choice);
  void adoptPending();
  void use(Session session);
  void attend();
  void lose(const std::string& reason);
  void release(const std::string& reason);
  void bridgeStall(bool isStalled);
  void moveTo(Session session);
  void playToNobody();
  void awaitSilence(const OutputSession& session) const;
  void close(Session session);
  void sayDevice() const;
  void say(const std::string& line) const;
  void showState(const std::string& reason = {});
  [[nodiscard]] bool isHeard() const { return session_ && !null_; }

  SystemAudioHardware& hardware_;
  MainQueue& mainQueue_;
  const LineBlock log_;
  LineBlock infoLog_;
  std::function<void()> rateHandler_;
  std::shared_ptr<audio::TimedEvents> timedEvents_;
  Observable<OutputState> state_;
  double sampleRate_ = 48000;
  std::uint32_t blockFrames_ = 128;
  std::uint64_t formerUnderruns_ = 0;         // of devices that are closed
  std::optional<std::uint64_t> revision_;     // of the choice that was taken over last
  std::string formerUID_;                     // of the last device there was
  audio::BlockRenderer* renderer_ = nullptr;  // null while stopped

  audio::RenderHandover handover_;
  Session session_;                    // null when lost
  Session pending_;                    // of another rate; waits for `prepare`
  std::unique_ptr<NullSession> null_;  // while nobody hears it
  OutputWatch watch_;
  LifeToken life_;
};

}  // namespace vrel::system
