// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "platform/console_output.h"

namespace vrel::simulation {

/// Keeps the lines.
class RecordingConsole : public ConsoleOutput {
 public:
  void print(const std::string& line) override { lines.push_back(line); }
  void printInfo(const std::string& line) override {
    lines.push_back(line);
    infos.push_back(line);
  }

  std::vector<std::string> lines;
  std::vector<std::string> infos;  // those of the lines that report no failure
};

}  // namespace vrel::simulation
