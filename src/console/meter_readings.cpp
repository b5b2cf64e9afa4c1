// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/meter_readings.h"

#include <algorithm>
#include <utility>

#include "document/value_scales.h"
#include "engine/audio_engine.h"
#include "foundation/mutex.h"
#include "platform/dispatch.h"

namespace vrel {
namespace {

void show(const MeterBar& bar, MeterCell::Bar& shown) {
  shown.displayed.store(static_cast<float>(bar.displayed()), std::memory_order_relaxed);
  shown.hold.store(static_cast<float>(bar.hold()), std::memory_order_relaxed);
}

}  // namespace

MeterReadings::MeterReadings(AudioEngine& engine, MainQueue& mainQueue, FindCell findCell)
    : engine_(engine),
      findCell_(std::move(findCell)),
      timer_(mainQueue.repeatingTimer(1 / MeterBar::refreshRate, [this] { tick(); })) {}

MeterReadings::~MeterReadings() = default;

void MeterReadings::tick() {
  const auto& channels = engine_.channels();
  strips_.resize(channels.size());
  for (std::size_t place = 0; place < channels.size(); ++place) {
    run(strips_[place], *channels[place], {});
  }
  // Behind the strips, whose peaks of this tick it adds up.
  run(master_, *engine_.masterChannel(), aggregate());
}

MeterReadings::Peaks MeterReadings::aggregate() const {
  const AudioChannel& master = *engine_.masterChannel();
  const float gain = master.mute.get() ? 0.0F : ChannelFaderScale::linearGain(master.volume.get());
  Peaks sum;
  if (gain > 0) {
    for (const auto& channel : engine_.channels()) {
      sum.left += channel->peakL.get();
      sum.right += channel->peakR.get();
    }
  }
  return {gain * sum.left, gain * sum.right};
}

void MeterReadings::run(Meter& meter, AudioChannel& channel, const Peaks& floor) {
  const bool isNew = !meter.channel;
  if (meter.channel != channel.id) {
    meter.channel = channel.id;
    meter.cell = findCell_(channel);
  }
  Peaks raw;
  {
    const MutexLock lock(channel.meterLock);
    raw.left = std::exchange(channel.rawMeterPeakL, 0.0F);
    raw.right = std::exchange(channel.rawMeterPeakR, 0.0F);
  }
  channel.peakL.set(std::max(channel.peakL.get(), raw.left));
  channel.peakR.set(std::max(channel.peakR.get(), raw.right));
  meter.left.sample(std::max({floor.left, channel.peakL.get(), raw.left}));
  meter.right.sample(std::max({floor.right, channel.peakR.get(), raw.right}));
  if (isNew) {
    return;  // a meter that comes up only looks
  }
  meter.left.advance();
  meter.right.advance();
  show(meter.left, meter.cell->left);
  show(meter.right, meter.cell->right);
}

}  // namespace vrel
