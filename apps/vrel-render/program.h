// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <string>

namespace vrel::render {

/// The program: reads, renders, writes and tells. Returns the exit code: 0, 1 for a file that can not be
/// read, used or written, 2 for wrong usage; then one line about it is on standard error.
[[nodiscard]] int runProgram(std::span<const std::string> arguments);

}  // namespace vrel::render
