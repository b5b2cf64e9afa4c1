// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

// What a run of the program is called in the state folder: its process and when that began, so that a number that the
// system gives to another process later means nothing.

namespace vrel::app {

[[nodiscard]] std::string ownRunName();

/// Whether the process of that run is still there; false for any other text.
[[nodiscard]] bool isRunning(const std::string& runName);

}  // namespace vrel::app
