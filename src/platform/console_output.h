// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace vrel {

/// Where the program tells what failed: plain lines on standard output. Any thread but the audio
/// thread; lines do not mix.
class ConsoleOutput {
 public:
  virtual ~ConsoleOutput() = default;

  /// Writes `line` and a line end.
  virtual void print(const std::string& line) = 0;

  /// Writes a line that reports no failure.
  virtual void printInfo(const std::string& line) { print(line); }
};

}  // namespace vrel
