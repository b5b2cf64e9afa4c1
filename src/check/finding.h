// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/setlist.h"

// What the check of a setlist finds: plain values, in no language. finding_words.h has their words, report_coding.h
// their JSON form. Any thread.

namespace vrel {

enum class FindingKind {
  unreadableSetlist,
  noSongs,
  pluginMissing,
  unknownSource,
  noFileChosen,
  fileMissing,
  fileUnreadable,
  fileIncomplete,
  fileCrashes,
  noKeyReaches,
  splitOffKeyboard,
  splitBeyondKeyboard,
  splitGap,
  transposedTooFar,
  clipUnreachable,
  sharedControl,
  noSound,
  pluginFailed,
  pluginSilent,
  pluginDied,
  invalidSound,
  notPlayed,
  silentWhenPlayed,
  clips,
  overloaded,
  heavy,
  slowLoad,
};

enum class FindingSeverity { warning, error };

struct FindingTraits {
  FindingKind kind;
  std::string_view name;  // in JSON
  FindingSeverity severity;
};

/// In the order of the enumeration.
inline constexpr auto findingKinds = [] {
  using Kind = FindingKind;
  constexpr auto error = FindingSeverity::error;
  constexpr auto warning = FindingSeverity::warning;
  return std::to_array<FindingTraits>({
      {Kind::unreadableSetlist, "unreadable_setlist", error},
      {Kind::noSongs, "no_songs", warning},
      {Kind::pluginMissing, "plugin_missing", error},
      {Kind::unknownSource, "unknown_source", error},
      {Kind::noFileChosen, "no_file_chosen", warning},
      {Kind::fileMissing, "file_missing", error},
      {Kind::fileUnreadable, "file_unreadable", error},
      {Kind::fileIncomplete, "file_incomplete", error},
      {Kind::fileCrashes, "file_crashes_decoder", error},
      {Kind::noKeyReaches, "no_key_reaches", error},
      {Kind::splitOffKeyboard, "split_off_keyboard", warning},
      {Kind::splitBeyondKeyboard, "split_beyond_keyboard", warning},
      {Kind::splitGap, "split_gap", warning},
      {Kind::transposedTooFar, "transposed_too_far", warning},
      {Kind::clipUnreachable, "clip_unreachable", warning},
      {Kind::sharedControl, "shared_control", warning},
      {Kind::noSound, "no_sound", warning},
      {Kind::pluginFailed, "plugin_failed", error},
      {Kind::pluginSilent, "plugin_does_not_answer", error},
      {Kind::pluginDied, "plugin_died", error},
      {Kind::invalidSound, "invalid_sound", error},
      {Kind::notPlayed, "not_played", error},
      {Kind::silentWhenPlayed, "silent_when_played", warning},
      {Kind::clips, "clips", warning},
      {Kind::overloaded, "overloaded", error},
      {Kind::heavy, "heavy", warning},
      {Kind::slowLoad, "slow_load", warning},
  });
}();

[[nodiscard]] constexpr const FindingTraits& traitsOf(FindingKind kind) {
  return findingKinds.at(static_cast<std::size_t>(kind));
}
[[nodiscard]] constexpr FindingSeverity severityOf(FindingKind kind) {
  return traitsOf(kind).severity;
}

/// The strip that a finding is about, with its name as it is in the setlist.
struct FindingStrip {
  std::size_t index = 0;  // in its song
  std::string name{};

  bool operator==(const FindingStrip&) const = default;
};

struct Finding {
  FindingKind kind = FindingKind::noSongs;
  std::optional<FindingStrip> strip{};        // none for what is about the song, its master or the setlist
  std::string subject{};                      // what is concerned: a plug-in, a path, keys, a control of the hardware
  double value = 0;                           // seconds, decibels, a share or blocks, by the kind
  std::string reason{};                       // of a library or the system, in its words; may be empty
  std::vector<MidiControlTarget> targets{};   // of a shared control
  std::vector<std::string> pluginControls{};  // of plug-ins that share it, such as "Cutoff 2" for the second strip

  bool operator==(const Finding&) const = default;
};

/// What was measured while a song was played.
struct PlayedSong {
  double loadSeconds = 0;
  double medianShare = 0;  // of the time that a block lasts
  double worstShare = 0;
  double peak = 0;  // of the main output; 1 is full scale
  std::uint64_t memoryBytes = 0;

  bool operator==(const PlayedSong&) const = default;
};

struct SongPage {
  std::size_t song = 0;  // its index in the setlist
  std::string name{};
  std::vector<Finding> findings{};
  std::optional<PlayedSong> played{};  // none where it was not played to its end

  bool operator==(const SongPage&) const = default;
};

struct CheckReport {
  std::string setlist{};            // its path
  int rate = 48000;                 // at which the songs were played, frames per second
  std::uint32_t block = 128;        // frames
  std::vector<Finding> findings{};  // of the setlist as a whole
  std::vector<SongPage> pages{};

  bool operator==(const CheckReport&) const = default;
};

struct FindingCounts {
  std::size_t errors = 0;
  std::size_t warnings = 0;

  [[nodiscard]] std::size_t all() const { return errors + warnings; }
  bool operator==(const FindingCounts&) const = default;
};

[[nodiscard]] FindingCounts countsOf(const std::vector<Finding>& findings);
[[nodiscard]] FindingCounts countsOf(const CheckReport& report);

/// Errors before warnings on each page, and the pages worst first: by errors, warnings, then the worst block.
void sortWorstFirst(CheckReport& report);

/// What the measured values of a song mean for a show.
[[nodiscard]] std::vector<Finding> findingsOf(const PlayedSong& played);

}  // namespace vrel
