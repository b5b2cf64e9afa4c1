// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

struct _XDisplay;  // NOLINT(bugprone-reserved-identifier): X11's name for a connection

namespace vrel::editor {

/// The windows in a property of a window.
[[nodiscard]] std::vector<unsigned long> windowsOf(_XDisplay* display, unsigned long window, const char* property);

/// The number in a property of a window.
[[nodiscard]] std::optional<unsigned long> cardinalOf(_XDisplay* display, unsigned long window, const char* property);

/// The windows within another, from the bottom.
[[nodiscard]] std::vector<unsigned long> childrenOf(_XDisplay* display, unsigned long window);

/// The windows of the desktop's programs: what the window manager says, or, without one, those of the screen.
[[nodiscard]] std::vector<unsigned long> clientsOf(_XDisplay* display);

/// Whether a window lies below another on the screen, each in the frame that a window manager may have put around it.
[[nodiscard]] bool isBelow(_XDisplay* display, unsigned long window, unsigned long other);

}  // namespace vrel::editor
