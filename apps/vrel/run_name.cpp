// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/run_name.h"

#include <unistd.h>

#include <cstddef>
#include <fstream>
#include <sstream>

namespace vrel::app {
namespace {

/// When a process began, in ticks since the system did; empty without it.
std::string beginOf(const std::string& process) {
  constexpr int fieldsBefore = 19;  // between its name and that
  std::ifstream file("/proc/" + process + "/stat");
  std::string line;
  std::getline(file, line);
  const auto name = line.rfind(") ");  // which may hold anything
  if (name == std::string::npos) {
    return {};
  }
  std::istringstream fields(line.substr(name + 2));
  std::string field;
  for (int index = 0; index <= fieldsBefore; ++index) {
    field.clear();
    fields >> field;
  }
  return field;
}

}  // namespace

std::string ownRunName() {
  const auto process = std::to_string(::getpid());
  return process + "-" + beginOf(process);
}

bool isRunning(const std::string& runName) {
  const auto dash = runName.find('-');
  if (dash == std::string::npos || runName.find_first_not_of("0123456789-") != std::string::npos) {
    return false;
  }
  const auto begin = beginOf(runName.substr(0, dash));
  return !begin.empty() && begin == runName.substr(dash + 1);
}

}  // namespace vrel::app
