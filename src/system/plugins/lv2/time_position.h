// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lv2/atom/forge.h>

#include <cstdint>
#include <span>

#include "foundation/thread_roles.h"
#include "system/plugins/lv2/urid_map.h"
#include "system/plugins/musical_time.h"

namespace vrel::lv2 {

/// Writes the time as plug-ins read it: an event at the first frame with a position object, of frame, speed,
/// bar, beat in the bar, beat, beat unit, beats per bar and beats per minute.
class TimePositionForge {
 public:
  /// No event is longer, bytes.
  static constexpr std::uint32_t largestEvent = 256;

  explicit TimePositionForge(UridMap& urids);

  /// The event's size in bytes, a multiple of 8; 0 when there is no room.
  [[nodiscard]] std::uint32_t write(const MusicalTime& time, std::span<std::uint8_t> room) noexcept;

 private:
  LV2_Atom_Forge forge_{};
  LV2_URID position_;
  LV2_URID frame_;
  LV2_URID speed_;
  LV2_URID bar_;
  LV2_URID barBeat_;
  LV2_URID beat_;
  LV2_URID beatUnit_;
  LV2_URID beatsPerBar_;
  LV2_URID beatsPerMinute_;
};

/// Says when a plug-in needs the time again: at first, when tempo, signature or transport changed, and when
/// the music is more than two milliseconds from where it would be if it had just gone on. Plug-ins count on by
/// themselves in between.
class TransportChangeDetector {
 public:
  /// To be asked once for each block, with its time.
  [[nodiscard]] bool hasChanged(const MusicalTime& time, std::uint32_t frameCount, double sampleRate) noexcept;

  /// Forgets the time that was sent last.
  void forget() noexcept { hasSent_ = false; }

 private:
  bool hasSent_ = false;
  MusicalTime sent_;
  double framesSince_ = 0;
};

}  // namespace vrel::lv2
