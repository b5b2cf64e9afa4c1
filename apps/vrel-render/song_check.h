// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "check/finding.h"
#include "document/setlist.h"
#include "midi/standard_midi_file.h"
#include "system/plugins/lv2/lv2_world.h"

namespace vrel::render {

struct SongCheckSettings {
  int rate = 48000;  // frames per second
  std::uint32_t block = 128;
  bool sandbox = true;
  lv2::ScanSettings scan{};
};

/// A chord that the check plays on a song.
struct CheckChord {
  double start = 0;  // seconds
  double end = 0;
  std::vector<std::uint8_t> notes{};  // each once, in rising order

  bool operator==(const CheckChord&) const = default;
};

/// Chords over the whole of every strip's split, from its lowest keys to its highest, all strips at a time.
[[nodiscard]] std::vector<CheckChord> checkChords(const SongConfig& song);

/// Plays one song for some seconds with all its plug-ins, and measures. The page has what went wrong in it. Takes
/// seconds of real time; one that never answers is waited for, but not long. The song has this index in its setlist.
[[nodiscard]] SongPage playForCheck(const SetlistFile& setlist, std::size_t index, const SongCheckSettings& settings);

}  // namespace vrel::render
