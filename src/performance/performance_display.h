// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel {

class AppState;
class AudioEngine;

/// What every panic control does, in this order: no note shows as held, the four performance values
/// go to zero, and the engine silences its instruments. The display clears also on a stopped engine.
void performPanic(AppState& state, AudioEngine& engine);

/// Shows what is played: the state's notes and performance values follow the engine's traffic. The
/// state must outlive the engine.
void showPerformance(AppState& state, AudioEngine& engine);

/// Shows the name of the MIDI input, from now on and as it is now: the first connection usually comes
/// before there is anything to show it. The state must outlive the engine.
void showMidiPortName(AppState& state, AudioEngine& engine);

}  // namespace vrel
