// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "check/finding.h"
#include "check/media_references.h"
#include "document/setlist.h"
#include "platform/audio_component.h"

// Looks for what would fail on stage in a setlist as it is stored: without its plug-ins running and without a device.
// Pure functions; any thread.

namespace vrel {

/// What there is on this machine. Borrows all of it.
struct CheckSources {
  const std::vector<AVAudioUnitComponent>& instruments;
  const std::vector<AVAudioUnitComponent>& effects;
  const MediaStates& audioFiles;
  const MediaStates& clips;
};

/// A page for each song, in the order of the setlist.
[[nodiscard]] CheckReport checkSetlist(const SetlistFile& setlist, const CheckSources& sources);

/// Strips that no key of the song's keyboard reaches, gaps between splits, notes that the keyboard lacks and notes that
/// a transposition leaves no place for.
[[nodiscard]] std::vector<Finding> checkSplits(const SongConfig& song);

/// Controls of the hardware that move several targets. Those of the setlist are reported for the setlist; a song
/// reports what only its own assignments, or its number of strips, make shared.
[[nodiscard]] std::vector<Finding> checkControls(const std::vector<MidiControlAssignment>& global);
[[nodiscard]] std::vector<Finding> checkControls(const std::vector<MidiControlAssignment>& global,
                                                 const SongConfig& song);

}  // namespace vrel
