// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel {

class AppState;
class AudioEngine;

/// What every panic control does, in this order: clears the notes shown as held, sets the four performance values to
/// zero, and has the engine silence its instruments. The display is cleared also on a stopped engine.
void performPanic(AppState& state, AudioEngine& engine);

/// Shows what is played: the state's notes and performance values follow the engine's MIDI input. The state must
/// outlive the engine.
void showPerformance(AppState& state, AudioEngine& engine);

/// Shows the name of the MIDI input, from now on and as it is now: the first connection is usually made
/// before this is called. The state must outlive the engine.
void showMidiPortName(AppState& state, AudioEngine& engine);

}  // namespace vrel
