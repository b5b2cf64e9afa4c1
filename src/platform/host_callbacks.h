// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>

#include "platform/audio_hardware.h"

namespace vrel {

// How a plug-in asks its host for tempo, beat and transport. The procedures and blocks are called on
// the plug-in's own threads, including the audio thread; they do not wait, allocate or lock. Every
// output may be null and is then skipped.

using HostCallback_GetBeatAndTempo = OSStatus (*)(void* hostUserData, double* currentBeat, double* currentTempo);

using HostCallback_GetMusicalTimeLocation = OSStatus (*)(void* hostUserData, std::uint32_t* deltaSampleOffsetToNextBeat,
                                                         float* timeSignatureNumerator,
                                                         std::uint32_t* timeSignatureDenominator,
                                                         double* currentMeasureDownBeat);

using HostCallback_GetTransportState = OSStatus (*)(void* hostUserData, bool* isPlaying, bool* transportStateChanged,
                                                    double* currentSampleInTimeLine, bool* isCycling,
                                                    double* cycleStartBeat, double* cycleEndBeat);

using HostCallback_GetTransportState2 = OSStatus (*)(void* hostUserData, bool* isPlaying, bool* isRecording,
                                                     bool* transportStateChanged, double* currentSampleInTimeLine,
                                                     bool* isCycling, double* cycleStartBeat, double* cycleEndBeat);

/// The older form: four procedures and their first argument. Null where not set.
struct HostCallbackInfo {
  void* hostUserData = nullptr;
  HostCallback_GetBeatAndTempo beatAndTempoProc = nullptr;
  HostCallback_GetMusicalTimeLocation musicalTimeLocationProc = nullptr;
  HostCallback_GetTransportState transportStateProc = nullptr;
  HostCallback_GetTransportState2 transportStateProc2 = nullptr;
};

/// kAudioUnitErr_CannotDoInCurrentContext: a procedure was called without its user data.
inline constexpr OSStatus cannotDoInCurrentContext = -10863;

/// The newer form: two blocks. They return false when the host is gone.
using AUHostMusicalContextBlock = std::function<bool(
    double* currentTempo, double* timeSignatureNumerator, std::int64_t* timeSignatureDenominator,
    double* currentBeatPosition, std::int64_t* sampleOffsetToNextBeat, double* currentMeasureDownbeatPosition)>;

using AUHostTransportStateBlock = std::function<bool(std::uint64_t* transportStateFlags, double* currentSamplePosition,
                                                     double* cycleStartBeatPosition, double* cycleEndBeatPosition)>;

/// AUHostTransportStateMoving.
inline constexpr std::uint64_t transportStateMoving = 2;

}  // namespace vrel
