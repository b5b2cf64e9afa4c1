// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace vrel::app {

/// The program that checks setlists: vrel-render beside this one, or what the variable VREL_RENDER names.
[[nodiscard]] std::string checkProgramPath();

}  // namespace vrel::app
