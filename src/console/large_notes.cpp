// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/large_notes.h"

#include "document/app_state.h"
#include "performance/midi_learn.h"

namespace vrel {

LargeNotes::LargeNotes(AppState& state, MidiLearn& midiLearn)
    : controlFollowed_(midiLearn.notesMoved.connect([this](float value) { position.set(value); })),
      songFollowed_(state.songSwitchLoadToken.changed.connect([this](const auto&) { position.set(0); })) {}

}  // namespace vrel
