// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "document/setlist.h"

namespace vrel {

struct EditShot;

/// How a step that is undone or done again changes learned controls: only those that differ between its two shots. What
/// was learned beside the steps, in Live mode, stays.
void changeLearned(std::vector<MidiControlAssignment>& present, const std::vector<MidiControlAssignment>& from,
                   const std::vector<MidiControlAssignment>& to);

/// The same for those of a song. Where the step changes racks, what was learned beside it follows its effect; that of
/// an effect which goes is kept in `from`, to come back with it. Both shots have the song.
void changeLearned(SongConfig& present, EditShot& from, const EditShot& to);

}  // namespace vrel
