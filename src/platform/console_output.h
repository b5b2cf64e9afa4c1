// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace vrel {

/// Where the program tells what failed: plain lines on standard output. Main thread, unless the
/// implementation says otherwise; never the audio thread.
class ConsoleOutput {
 public:
  virtual ~ConsoleOutput() = default;

  /// Writes `line` and a line end.
  virtual void print(const std::string& line) = 0;
};

}  // namespace vrel
