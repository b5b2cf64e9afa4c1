// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "document/app_state.h"

namespace vrel {

/// What is drawn over a control that can be learned: a rounded rectangle with a glow. Lengths are points.
struct MidiLearnableOverlay {
  static constexpr double cornerRadius = 4.0;

  Color color{};  // of stroke and shadow
  double strokeWidth = 0.0;
  double dashOn = 0.0;  // both 0: drawn through
  double dashOff = 0.0;
  double shadowOpacity = 0.0;
  double shadowRadius = 0.0;

  bool operator==(const MidiLearnableOverlay&) const = default;
};

/// Shows on a control of the console whether a click selects it for MIDI Learn, and whether it waits for its hardware.
struct MidiLearnableModifier {
  bool isEnabled = false;  // learn mode is on
  bool isPending = false;  // this control is the pending target

  static constexpr Color cyan{0.0, 1.0, 1.0};
  static constexpr Color orange{1.0, 0.5, 0.0};

  /// None outside learn mode.
  [[nodiscard]] constexpr std::optional<MidiLearnableOverlay> overlay() const {
    if (!isEnabled) {
      return std::nullopt;
    }
    return isPending ? MidiLearnableOverlay{cyan, 2.0, 0.0, 0.0, 0.55, 6.0}
                     : MidiLearnableOverlay{orange, 1.5, 4.0, 3.0, 0.35, 3.0};
  }
};

}  // namespace vrel
