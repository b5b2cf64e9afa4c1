// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace vrel {

/// What a failure is about. A window shows its line until that is mended.
enum class FailureKind { other, save, instrument, effect, output };

/// The log: plain lines on standard output. Any thread except the audio thread; lines do not
/// interleave.
class ConsoleOutput {
 public:
  virtual ~ConsoleOutput() = default;

  /// Writes `line` and a newline.
  virtual void print(const std::string& line) = 0;

  /// Writes a line that reports a failure of a known kind.
  virtual void printFailure(FailureKind kind, const std::string& line) {
    static_cast<void>(kind);
    print(line);
  }

  /// Writes a line that reports no failure.
  virtual void printInfo(const std::string& line) { print(line); }
};

}  // namespace vrel
