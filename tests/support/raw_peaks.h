// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "channel/audio_channel.h"
#include "foundation/mutex.h"

namespace vrel::test {

struct RawPeaks {
  float left = 0;
  float right = 0;
};

/// What the taps have raised since it was last taken.
inline RawPeaks rawPeaks(AudioChannel& channel) {
  const MutexLock lock(channel.meterLock);
  return {channel.rawMeterPeakL, channel.rawMeterPeakR};
}

inline void setRawPeaks(AudioChannel& channel, const RawPeaks& peaks) {
  const MutexLock lock(channel.meterLock);
  channel.rawMeterPeakL = peaks.left;
  channel.rawMeterPeakR = peaks.right;
}

}  // namespace vrel::test
