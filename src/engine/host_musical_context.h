// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/host_callbacks.h"

namespace vrel {

class AUAudioUnit;
class AudioUnitHandle;
class ConsoleOutput;
class HostClock;

/// The beat clock that hosted plug-ins follow: beats count up from an anchor at the song's tempo, in
/// four over four, from beat 0 at each song switch. There is no timeline behind it.
///
/// Threads: written on the main thread. Read without a lock by plug-ins on their own threads, the
/// audio thread among them; each field is one atomic word, and a reader that sees an old anchor with
/// a new tempo gets one beat that is briefly wrong, which is accepted.
/// Ownership: shared with the blocks given to plug-ins, which may outlive the engine; once the
/// engine has gone they report so.
class HostMusicalContext : public std::enable_shared_from_this<HostMusicalContext> {
 public:
  /// The clock is borrowed and outlives every plug-in.
  explicit HostMusicalContext(const HostClock& clock);

  [[nodiscard]] double currentTempoBpm() const { return currentTempoBpm_; }
  [[nodiscard]] std::uint64_t musicalContextStartHostTime() const { return startHostTime_; }
  [[nodiscard]] double musicalContextStartBeat() const { return startBeat_; }
  [[nodiscard]] bool isHostTransportRunning() const { return isTransportRunning_; }
  [[nodiscard]] std::uint64_t transportStateChangedUntilHostTime() const { return changedUntilHostTime_; }

  /// The musical position: one reading of the clock, so that all that follows from it agrees.
  struct Moment {
    double beat = 0;
    double tempoBpm = 0;
    double framesPerSecond = 0;

    /// The downbeat of the measure that holds the beat.
    [[nodiscard]] double measureDownbeat() const;
    /// Frames until the next whole beat, rounded; 0 on the beat.
    [[nodiscard]] std::int64_t sampleOffsetToNextBeat() const;
    [[nodiscard]] double samplePosition() const;
  };
  [[nodiscard]] Moment currentMoment() const;
  [[nodiscard]] double currentBeat() const { return currentMoment().beat; }
  [[nodiscard]] bool hasTransportStateChanged() const;

  /// Sets the tempo, limited to its range, without a jump of the beat.
  void setTempo(std::uint32_t bpm);

  /// A song switch begins: the new song's tempo, limited; beat 0; transport stopped.
  void songSwitchBegan(std::uint32_t songTempoBpm);
  /// A song switch ended: beat 0, transport moving.
  void songSwitchEnded();
  /// A plug-in took in a saved state: for one second the transport counts as changed.
  void stateWasRestored();

  /// The rate of the output, frames per second; not above 0 counts as 44100.
  void setOutputSampleRate(double framesPerSecond) { outputSampleRate_ = framesPerSecond; }
  void engineHasGone() { isEngineAlive_ = false; }

  [[nodiscard]] AUHostMusicalContextBlock musicalContextBlock() const;
  [[nodiscard]] AUHostTransportStateBlock transportStateBlock() const;

  /// The older form, with this object as user data. Not to be called once the engine has gone.
  [[nodiscard]] HostCallbackInfo hostCallbackInfo();

  /// Gives a plug-in both forms; `audioUnit` may be null. A refusal of the older one is logged and ignored.
  void configureHostCallbacks(AUAudioUnit& unit, AudioUnitHandle* audioUnit, ConsoleOutput& console);

 private:
  [[nodiscard]] double elapsedSeconds() const;
  void anchorAtBeatZero();
  void reportChangeFor(std::uint64_t nanoseconds);

  const HostClock& clock_;
  std::atomic<double> currentTempoBpm_{120.0};
  std::atomic<std::uint64_t> startHostTime_;
  std::atomic<double> startBeat_{0.0};
  std::atomic<bool> isTransportRunning_{true};
  std::atomic<std::uint64_t> changedUntilHostTime_{0};
  std::atomic<double> outputSampleRate_{0.0};
  std::atomic<bool> isEngineAlive_{true};
};

}  // namespace vrel
