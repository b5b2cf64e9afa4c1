// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace vrel {

/// The result of a program: its exit code (-1 when a signal ended it) and its output.
struct ProgramRun {
  int exitCode = -1;
  std::string output;
  std::string errors;

  /// The errors without lilv's own messages about unreadable bundles.
  [[nodiscard]] std::string ownErrors() const;
};

/// Runs a program to its end. `environment` holds NAME=VALUE texts, over those of this process.
[[nodiscard]] ProgramRun runProgram(const std::vector<std::string>& command,
                                    const std::vector<std::string>& environment = {});

/// Runs vrel-render on the installed plug-ins, or on those of the zoo only.
[[nodiscard]] ProgramRun runRender(const std::vector<std::string>& arguments,
                                   const std::vector<std::string>& environment = {});
[[nodiscard]] ProgramRun renderOnZoo(const std::vector<std::string>& arguments);

}  // namespace vrel
