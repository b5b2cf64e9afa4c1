// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <string>

namespace vrel::render {

/// The program: reads, renders, writes and prints a summary. Returns the exit code: 0, 1 for a file that cannot
/// be read, used or written, 2 for wrong usage; an error prints one line on standard error.
[[nodiscard]] int runProgram(std::span<const std::string> arguments);

}  // namespace vrel::render
