// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/audio_parameters.h"

// What a plug-in's controls look like, read like, and do when they are moved. Positions are 0 to 1. Pure functions; any
// thread, though texts allocate.

namespace vrel {

/// A number or a text is typed; a reading is one of those that the plug-in sets.
enum class ControlLook { slider, toggle, choice, trigger, meter, file, text, number, reading };

[[nodiscard]] ControlLook controlLook(const AUParameter& parameter);

/// Whether hardware can move it.
[[nodiscard]] bool isLearnable(const AUParameter& parameter);

/// Where a value is on the control's travel, 0 without one: by octaves where the control is logarithmic and its bounds
/// are positive.
[[nodiscard]] double controlPosition(const AUParameter& parameter, float value);

/// The value at a position, limited to the travel; a whole number or one of the named values where the control has no
/// others.
[[nodiscard]] float controlValue(const AUParameter& parameter, double position);

/// The nearest value that the control has.
[[nodiscard]] float settledControl(const AUParameter& parameter, double value);

/// The value after so many steps: a whole number, a named value, or a hundredth of the travel each; a thousandth when
/// fine. As it is without a travel.
[[nodiscard]] float steppedControl(const AUParameter& parameter, float value, int steps, bool isFine);

/// Where a control is dragged to from a position, by points to the right of a track so many points wide; a tenth of the
/// way when fine. Limited.
[[nodiscard]] double draggedControl(double start, double right, double trackWidth, bool isFine);

/// Which of `valueNames` is nearest; 0 without any.
[[nodiscard]] std::size_t nearestChoice(const AUParameter& parameter, float value);

/// The value in the control's own unit: its name where it has one, a note, or three digits that mean something.
[[nodiscard]] std::string controlText(const AUParameter& parameter, float value);

/// The value that was typed: a number, with a point or a comma and with or without the unit, a name or a note; limited
/// to the bounds. None for anything else.
[[nodiscard]] std::optional<float> enteredControl(const AUParameter& parameter, std::string_view text);

/// A control in the list of those that a person sees: which one, and the heading it is under.
struct ControlRow {
  std::size_t index = 0;  // in allParameters
  std::string section;    // empty for those without a group

  bool operator==(const ControlRow&) const = default;
};

/// All that are not hidden and whose name or group contains the text, with no regard to case. Groups stay together;
/// what has a higher display priority comes first, else the plug-in's order is kept; meters without a group come last.
[[nodiscard]] std::vector<ControlRow> controlRows(const AUParameterTree& tree, std::string_view searchText);

}  // namespace vrel
