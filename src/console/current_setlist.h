// SPDX-License-Identifier: GPL-3.0-or-later
// The setlist of the session as a record, for all that writes one: saves, unsaved edits, collecting, the check.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "document/app_state.h"
#include "document/setlist.h"
#include "document/setlist_coding.h"

namespace vrel {

/// These songs, with what holds for all of them in `state`. `collectedFolder` as in the record.
[[nodiscard]] inline SetlistFile currentSetlist(const AppState& state, std::vector<SongConfig> songs,
                                                std::string collectedFolder = {}) {
  return {setlistVersion, std::move(songs), state.globalMidiControlAssignments.get(), std::move(collectedFolder),
          state.songControl.get()};
}

}  // namespace vrel
