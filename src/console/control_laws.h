// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// What the gestures of the console's controls do to their values. Places and distances are in points, values in the
// control's own unit. Pure functions; any thread, though texts allocate.

namespace vrel {

/// The fader: the place of the pointer is the level, from 1 at the top to 0 at the bottom. `present` where the fader
/// has no height.
[[nodiscard]] double faderPosition(double pointerFromTop, double height, double present);

/// A knob that is dragged to the right and down by so much from a value of `start`, not limited: 160 points upwards or
/// to the right are its whole range.
[[nodiscard]] double draggedKnob(double start, double right, double down);

/// The value that a knob takes: `wanted` limited to 0 to 1; none where that differs from `present` by 0.0001 or less.
[[nodiscard]] std::optional<float> knobChange(float present, double wanted);

inline constexpr double gainKnobDefault = 0.5;    // 0 dB
inline constexpr double reverbKnobDefault = 0.0;  // none

/// A part of a circle, as proportions of it, clockwise from the bottom. A knob's travel is from 0.125 to 0.875.
struct KnobArc {
  double from = 0;
  double to = 0;
};
/// From the middle of the travel to the value.
[[nodiscard]] KnobArc gainKnobArc(double value);
/// From the beginning of the travel to the value.
[[nodiscard]] KnobArc reverbKnobArc(double value);
/// Degrees clockwise from straight up.
[[nodiscard]] double knobPointerDegrees(double value);

/// What a badge takes when its edit ends: the number in `draft`, limited to the range; none where that is not a whole
/// number of 64 bits, or is the present value.
[[nodiscard]] std::optional<int> badgeCommit(std::string_view draft, int present, int lower, int upper);

/// Such as "+3", "+0" or "-12".
[[nodiscard]] std::string transposeText(int semitones);
inline constexpr int lowestTranspose = -48;
inline constexpr int highestTranspose = 48;
inline constexpr int highestNote = 127;

/// The whole number at a place on a bar over a range. `lower` where the bar has no width.
[[nodiscard]] int barValue(double pointerFromLeft, double width, int lower, int upper);
/// Where the marker of a value is on a bar, 0 to 1; in the middle where the range is empty.
[[nodiscard]] double barMarker(int value, int lower, int upper);

/// The octave that the first key of the keyboard is shown with: 0 for A0, note 21.
[[nodiscard]] constexpr int octaveOf(int startNote) {
  return startNote / 12 - 1;
}
inline constexpr int highestOctave = 8;
/// The first key by so many octaves further, within 0 to 8; the same key at the end of the range.
[[nodiscard]] int nudgedStartNote(int startNote, int by);

/// The two ends of a split rest on each other, and do not cross.
[[nodiscard]] constexpr int lowSplitNote(int wanted, int maxNote) {
  return wanted < maxNote ? wanted : maxNote;
}
[[nodiscard]] constexpr int highSplitNote(int wanted, int minNote) {
  return wanted > minNote ? wanted : minNote;
}

}  // namespace vrel
