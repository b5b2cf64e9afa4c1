// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/host_musical_context.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "document/tempo_range.h"
#include "platform/audio_unit.h"
#include "platform/clock.h"
#include "platform/console_output.h"

namespace vrel {
namespace {

constexpr double beatsPerMeasure = 4.0;
constexpr std::uint32_t beatUnit = 4;
constexpr double secondsPerMinute = 60.0;
constexpr double fallbackSampleRate = 44100.0;
constexpr std::uint64_t oneSecond = 1'000'000'000;   // nanoseconds
constexpr std::uint64_t twoSeconds = 2'000'000'000;  // nanoseconds

template <typename T, typename V>
void give(T* output, V value) {
  if (output != nullptr) {
    *output = static_cast<T>(value);
  }
}

const HostMusicalContext& contextOf(void* hostUserData) {
  return *static_cast<const HostMusicalContext*>(hostUserData);
}

OSStatus beatAndTempo(void* hostUserData, double* currentBeat, double* currentTempo) {
  if (hostUserData == nullptr) {
    return cannotDoInCurrentContext;
  }
  const auto moment = contextOf(hostUserData).currentMoment();
  give(currentBeat, moment.beat);
  give(currentTempo, moment.tempoBpm);
  return 0;
}

OSStatus musicalTimeLocation(void* hostUserData, std::uint32_t* deltaSampleOffsetToNextBeat,
                             float* timeSignatureNumerator, std::uint32_t* timeSignatureDenominator,
                             double* currentMeasureDownBeat) {
  if (hostUserData == nullptr) {
    return cannotDoInCurrentContext;
  }
  const auto moment = contextOf(hostUserData).currentMoment();
  give(deltaSampleOffsetToNextBeat, moment.sampleOffsetToNextBeat());
  give(timeSignatureNumerator, beatsPerMeasure);
  give(timeSignatureDenominator, beatUnit);
  give(currentMeasureDownBeat, moment.measureDownbeat());
  return 0;
}

OSStatus transportState2(void* hostUserData, bool* isPlaying, bool* isRecording, bool* transportStateChanged,
                         double* currentSampleInTimeLine, bool* isCycling, double* cycleStartBeat,
                         double* cycleEndBeat) {
  if (hostUserData == nullptr) {
    return cannotDoInCurrentContext;
  }
  const auto& context = contextOf(hostUserData);
  give(isPlaying, context.isHostTransportRunning());
  give(isRecording, false);
  give(transportStateChanged, context.hasTransportStateChanged());
  give(currentSampleInTimeLine, context.currentMoment().samplePosition());
  give(isCycling, false);
  give(cycleStartBeat, 0.0);
  give(cycleEndBeat, 0.0);
  return 0;
}

OSStatus transportState(void* hostUserData, bool* isPlaying, bool* transportStateChanged,
                        double* currentSampleInTimeLine, bool* isCycling, double* cycleStartBeat,
                        double* cycleEndBeat) {
  return transportState2(hostUserData, isPlaying, nullptr, transportStateChanged, currentSampleInTimeLine, isCycling,
                         cycleStartBeat, cycleEndBeat);
}

}  // namespace

HostMusicalContext::HostMusicalContext(const HostClock& clock)
    : clock_(clock), startHostTime_(clock.AudioGetCurrentHostTime()) {}

double HostMusicalContext::elapsedSeconds() const {
  const auto now = clock_.AudioGetCurrentHostTime();
  const auto start = startHostTime_.load();
  return now < start ? 0.0 : static_cast<double>(clock_.AudioConvertHostTimeToNanos(now - start)) / 1e9;
}

HostMusicalContext::Moment HostMusicalContext::currentMoment() const {
  const double tempo = currentTempoBpm_;
  const double rate = outputSampleRate_;
  return {startBeat_ + elapsedSeconds() * tempo / secondsPerMinute, tempo, rate > 0 ? rate : fallbackSampleRate};
}

double HostMusicalContext::Moment::measureDownbeat() const {
  return std::floor(beat / beatsPerMeasure) * beatsPerMeasure;
}

std::int64_t HostMusicalContext::Moment::sampleOffsetToNextBeat() const {
  const double beatsToGo = std::max(std::ceil(beat) - beat, 0.0);
  return std::max<std::int64_t>(std::llround(beatsToGo * secondsPerMinute / tempoBpm * framesPerSecond), 0);
}

double HostMusicalContext::Moment::samplePosition() const {
  return beat * secondsPerMinute / tempoBpm * framesPerSecond;
}

bool HostMusicalContext::hasTransportStateChanged() const {
  return changedUntilHostTime_ >= clock_.AudioGetCurrentHostTime();
}

void HostMusicalContext::setTempo(std::uint32_t bpm) {
  startBeat_ = startBeat_ + elapsedSeconds() * currentTempoBpm_ / secondsPerMinute;
  startHostTime_ = clock_.AudioGetCurrentHostTime();
  currentTempoBpm_ = limitedTempo(bpm);
  reportChangeFor(oneSecond);
}

void HostMusicalContext::songSwitchBegan(std::uint32_t songTempoBpm) {
  currentTempoBpm_ = limitedTempo(songTempoBpm);
  anchorAtBeatZero();
  isTransportRunning_ = false;
  reportChangeFor(twoSeconds);
}

void HostMusicalContext::songSwitchEnded() {
  anchorAtBeatZero();
  isTransportRunning_ = true;
  reportChangeFor(twoSeconds);
}

void HostMusicalContext::stateWasRestored() {
  reportChangeFor(oneSecond);
}

void HostMusicalContext::anchorAtBeatZero() {
  startBeat_ = 0.0;
  startHostTime_ = clock_.AudioGetCurrentHostTime();
}

void HostMusicalContext::reportChangeFor(std::uint64_t nanoseconds) {
  changedUntilHostTime_ = clock_.AudioGetCurrentHostTime() + clock_.AudioConvertNanosToHostTime(nanoseconds);
}

AUHostMusicalContextBlock HostMusicalContext::musicalContextBlock() const {
  return [context = shared_from_this()](double* currentTempo, double* timeSignatureNumerator,
                                        std::int64_t* timeSignatureDenominator, double* currentBeatPosition,
                                        std::int64_t* sampleOffsetToNextBeat, double* currentMeasureDownbeatPosition) {
    if (!context->isEngineAlive_) {
      return false;
    }
    const auto moment = context->currentMoment();
    give(currentTempo, moment.tempoBpm);
    give(timeSignatureNumerator, beatsPerMeasure);
    give(timeSignatureDenominator, beatUnit);
    give(currentBeatPosition, moment.beat);
    give(sampleOffsetToNextBeat, moment.sampleOffsetToNextBeat());
    give(currentMeasureDownbeatPosition, moment.measureDownbeat());
    return true;
  };
}

// Reports movement only: a change is reported by the procedures alone.
AUHostTransportStateBlock HostMusicalContext::transportStateBlock() const {
  return [context = shared_from_this()](std::uint64_t* transportStateFlags, double* currentSamplePosition,
                                        double* cycleStartBeatPosition, double* cycleEndBeatPosition) {
    if (!context->isEngineAlive_) {
      return false;
    }
    give(transportStateFlags, context->isHostTransportRunning() ? transportStateMoving : 0);
    give(currentSamplePosition, context->currentMoment().samplePosition());
    give(cycleStartBeatPosition, 0.0);
    give(cycleEndBeatPosition, 0.0);
    return true;
  };
}

HostCallbackInfo HostMusicalContext::hostCallbackInfo() {
  return {this, beatAndTempo, musicalTimeLocation, transportState, transportState2};
}

void HostMusicalContext::configureHostCallbacks(AUAudioUnit& unit, AudioUnitHandle* audioUnit, ConsoleOutput& console) {
  unit.setMusicalContextBlock(musicalContextBlock());
  unit.setTransportStateBlock(transportStateBlock());
  if (audioUnit == nullptr) {
    return;
  }
  if (const auto status = audioUnit->setHostCallbacks(hostCallbackInfo()); status != 0) {
    console.print("Failed to set AU host callbacks: " + std::to_string(status));
  }
}

}  // namespace vrel
