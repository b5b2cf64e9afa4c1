// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/console_output.h"

namespace vrel::simulation {

/// Keeps the lines.
class RecordingConsole : public ConsoleOutput {
 public:
  void print(const std::string& line) override { lines.push_back(line); }
  void printFailure(FailureKind kind, const std::string& line) override {
    print(line);
    failures.emplace_back(kind, line);
  }
  void printInfo(const std::string& line) override {
    lines.push_back(line);
    infos.push_back(line);
  }

  /// The kinds of the failures, in the order of their lines.
  [[nodiscard]] std::vector<FailureKind> failureKinds() const {
    std::vector<FailureKind> kinds;
    for (const auto& failure : failures) {
      kinds.push_back(failure.first);
    }
    return kinds;
  }

  std::vector<std::string> lines;
  std::vector<std::pair<FailureKind, std::string>> failures;  // those of the lines that report one of a known kind
  std::vector<std::string> infos;                             // those of the lines that report no failure
};

}  // namespace vrel::simulation
