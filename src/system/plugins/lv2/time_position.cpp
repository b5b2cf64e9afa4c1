// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/time_position.h"

#include <lv2/time/time.h>

#include <cmath>

namespace vrel::lv2 {
namespace {

constexpr double secondsPerMinute = 60;

// Less than what is heard as a jump. The time of a block follows the audio clock, so there is no more than this but for
// a real change, and seldom.
constexpr double largestDriftSeconds = 0.002;

}  // namespace

TimePositionForge::TimePositionForge(UridMap& urids)
    : position_(urids.map(LV2_TIME__Position)),
      frame_(urids.map(LV2_TIME__frame)),
      speed_(urids.map(LV2_TIME__speed)),
      bar_(urids.map(LV2_TIME__bar)),
      barBeat_(urids.map(LV2_TIME__barBeat)),
      beat_(urids.map(LV2_TIME__beat)),
      beatUnit_(urids.map(LV2_TIME__beatUnit)),
      beatsPerBar_(urids.map(LV2_TIME__beatsPerBar)),
      beatsPerMinute_(urids.map(LV2_TIME__beatsPerMinute)) {
  lv2_atom_forge_init(&forge_, urids.mapFeature());
}

std::uint32_t TimePositionForge::write(const MusicalTime& time, std::span<std::uint8_t> room) noexcept {
  if (room.size() < largestEvent) {
    return 0;
  }
  lv2_atom_forge_set_buffer(&forge_, room.data(), largestEvent);
  LV2_Atom_Forge_Frame object;
  lv2_atom_forge_frame_time(&forge_, 0);
  lv2_atom_forge_object(&forge_, &object, 0, position_);
  lv2_atom_forge_key(&forge_, frame_);
  lv2_atom_forge_long(&forge_, std::llround(time.samplePosition));
  lv2_atom_forge_key(&forge_, speed_);
  lv2_atom_forge_float(&forge_, time.isMoving != 0 ? 1.0F : 0.0F);
  lv2_atom_forge_key(&forge_, bar_);
  lv2_atom_forge_long(&forge_, std::llround(time.barStartBeat / time.beatsPerBar));
  lv2_atom_forge_key(&forge_, barBeat_);
  lv2_atom_forge_float(&forge_, static_cast<float>(time.beat - time.barStartBeat));
  lv2_atom_forge_key(&forge_, beat_);
  lv2_atom_forge_double(&forge_, time.beat);
  lv2_atom_forge_key(&forge_, beatUnit_);
  lv2_atom_forge_int(&forge_, static_cast<std::int32_t>(time.beatUnit));
  lv2_atom_forge_key(&forge_, beatsPerBar_);
  lv2_atom_forge_float(&forge_, static_cast<float>(time.beatsPerBar));
  lv2_atom_forge_key(&forge_, beatsPerMinute_);
  lv2_atom_forge_float(&forge_, static_cast<float>(time.tempoBpm));
  lv2_atom_forge_pop(&forge_, &object);
  return forge_.offset;
}

bool TransportChangeDetector::hasChanged(const MusicalTime& time, std::uint32_t frameCount,
                                         double sampleRate) noexcept {
  const double beatsPerSecond = sent_.tempoBpm / secondsPerMinute;
  const double expectedBeat = sent_.beat + framesSince_ / sampleRate * beatsPerSecond;
  const bool isSame = hasSent_ && time.tempoBpm == sent_.tempoBpm && time.isMoving == sent_.isMoving &&
                      time.beatsPerBar == sent_.beatsPerBar && time.beatUnit == sent_.beatUnit &&
                      std::abs(time.beat - expectedBeat) <= largestDriftSeconds * beatsPerSecond;
  if (!isSame) {
    hasSent_ = true;
    sent_ = time;
    framesSince_ = 0;
  }
  framesSince_ += frameCount;
  return !isSame;
}

}  // namespace vrel::lv2
