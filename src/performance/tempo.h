// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

namespace vrel {

class AppState;
class AudioEngine;
class HostClock;

/// The tempo of the song on stage, as typed, stepped or tapped. It drives no sequencer: it is what plug-ins get
/// and the grid that playbacks are edited on.
///
/// All input is limited to the range, so nothing here fails. Main thread.
class Tempo {
 public:
  /// A tap this long after another no longer counts with it.
  static constexpr double tapWindowSeconds = 2.0;

  /// All are borrowed.
  Tempo(AppState& state, AudioEngine& engine, const HostClock& clock) : state_(state), engine_(engine), clock_(clock) {}

  /// The one place that changes the tempo: beats per minute, limited to the range. Marks the setlist as edited, also
  /// when the tempo stays the same.
  void setTempo(std::uint32_t bpm);

  /// Counts one tap; from the second of a series on, the mean of its intervals becomes the tempo. A series lives on
  /// through a song switch.
  void tapTempo();

 private:
  AppState& state_;
  AudioEngine& engine_;
  const HostClock& clock_;
  std::vector<std::uint64_t> tapTimes_;  // nanoseconds
};

}  // namespace vrel
