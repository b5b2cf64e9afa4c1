// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/result.h"

namespace vrel {

/// What the child reads: a file without a name, which goes with it.
inline constexpr const char* childInputPath = "/dev/fd/3";

struct ChildCommand {
  std::string program;  // its path
  std::vector<std::string> arguments{};
  std::function<Result<std::string>()> input{};  // makes what is at childInputPath; called once, on another thread
};

struct ChildEnd {
  std::optional<std::string> failure{};  // it could not be started, was killed, or printed too much
  int exitCode = 0;
  std::string output{};  // what it printed on its standard output
};

struct ChildHandlers {
  std::function<void(const std::string& line)> line;  // of its standard error; of many at once the last one only
  std::function<void(const ChildEnd& end)> ended;     // the last call, once
};

/// A running program; its end kills it. Main thread.
class ChildProcess {
 public:
  virtual ~ChildProcess() = default;
};

/// Runs programs beside this one. Main thread.
class ChildProcessFactory {
 public:
  virtual ~ChildProcessFactory() = default;

  /// The handlers are called on the main thread, never within this call and never after the end of the process that it
  /// returns. What cannot be started ends with a failure.
  [[nodiscard]] virtual std::unique_ptr<ChildProcess> start(ChildCommand command, ChildHandlers handlers) = 0;
};

}  // namespace vrel
