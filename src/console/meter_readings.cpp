// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/meter_readings.h"

#include <algorithm>
#include <utility>

#include "engine/audio_engine.h"
#include "foundation/mutex.h"
#include "platform/dispatch.h"

namespace vrel {
namespace {

void take(AudioChannel& channel) {
  float left = 0;
  float right = 0;
  {
    const MutexLock lock(channel.meterLock);
    left = std::exchange(channel.rawMeterPeakL, 0.0F);
    right = std::exchange(channel.rawMeterPeakR, 0.0F);
  }
  channel.peakL.set(std::max(channel.peakL.get(), left));
  channel.peakR.set(std::max(channel.peakR.get(), right));
}

}  // namespace

MeterReadings::MeterReadings(AudioEngine& engine, MainQueue& mainQueue)
    : engine_(engine), timer_(mainQueue.repeatingTimer(1.0 / refreshRate, [this] { takeAll(); })) {}

MeterReadings::~MeterReadings() = default;

void MeterReadings::takeAll() {
  for (const auto& channel : engine_.channels()) {
    take(*channel);
  }
  take(*engine_.masterChannel());
}

}  // namespace vrel
