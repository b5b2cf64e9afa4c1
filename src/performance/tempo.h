// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace vrel {

class AppState;
class AudioEngine;
class HostClock;

/// The tempo of the song on stage, as typed, stepped or tapped. It drives no sequencer: it is what plug-ins are told
/// and the grid that playbacks are edited on.
///
/// All input is limited to the range, so nothing here fails. Main thread.
class Tempo {
 public:
  static constexpr std::uint32_t slowestBpm = 20;
  static constexpr std::uint32_t fastestBpm = 300;
  /// A tap this long after another no longer counts with it.
  static constexpr double tapWindowSeconds = 2.0;

  /// All are borrowed.
  Tempo(AppState& state, AudioEngine& engine, const HostClock& clock) : state_(state), engine_(engine), clock_(clock) {}

  /// The one place that changes the tempo: beats per minute, limited to the range. Marks the setlist as edited, also
  /// when the tempo stays the same.
  void setTempo(std::uint32_t bpm);

  /// What is typed into the field of the tempo. Nothing for what is not an integer, and for the tempo as it is.
  void enterTempo(std::string_view text);

  /// From the tempo as it is now; nothing at the end of the range.
  void stepTempo(int by);

  /// Counts one tap; from the second of a series on, the mean of its intervals becomes the tempo. A series lives on
  /// through a song switch.
  void tapTempo();

 private:
  void changeTempo(std::int64_t bpm);

  AppState& state_;
  AudioEngine& engine_;
  const HostClock& clock_;
  std::vector<std::uint64_t> tapTimes_;  // nanoseconds
};

}  // namespace vrel
