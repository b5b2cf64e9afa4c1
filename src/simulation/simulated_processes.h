// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/child_process.h"

namespace vrel::simulation {

/// Programs that a test plays: it prints their lines and ends them.
class SimulatedProcesses : public ChildProcessFactory {
 public:
  struct Child {
    ChildCommand command;
    ChildHandlers handlers;
    Result<std::string> input;
    bool isRunning = true;
  };

  std::vector<std::shared_ptr<Child>> children;  // all that were started

  [[nodiscard]] std::unique_ptr<ChildProcess> start(ChildCommand command, ChildHandlers handlers) override {
    auto input = command.input ? command.input() : Result<std::string>(std::string());
    children.push_back(std::make_shared<Child>(Child{std::move(command), std::move(handlers), std::move(input)}));
    return std::make_unique<Hold>(children.back());
  }

  /// Prints a line, in the one that was started last.
  void print(const std::string& line) {
    if (const auto child = children.back(); child->isRunning) {
      child->handlers.line(line);
    }
  }

  void end(const ChildEnd& end) {
    if (const auto child = children.back(); std::exchange(child->isRunning, false)) {
      child->handlers.ended(end);
    }
  }

 private:
  class Hold : public ChildProcess {
   public:
    explicit Hold(std::shared_ptr<Child> child) : child_(std::move(child)) {}
    ~Hold() override { child_->isRunning = false; }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

   private:
    const std::shared_ptr<Child> child_;
  };
};

}  // namespace vrel::simulation
