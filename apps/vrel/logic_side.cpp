// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/logic_side.h"

#include <utility>

#include "vrel/program.h"

namespace vrel::app {

LogicSide::~LogicSide() {
  end();
}

void LogicSide::start(WindowSide& window) {
  thread_ = std::thread([this, &window] { run(window); });
}

void LogicSide::run(WindowSide& window) {
  program_ = std::make_unique<Program>(loop_, window);
  program_->start();
  loop_.runUntil([this] { return isEnding_; });
  program_.reset();
}

void LogicSide::end() {
  if (!thread_.joinable()) {
    return;
  }
  loop_.async([this] {
    isEnding_ = true;
    program_->cancelQuestions();
  });
  thread_.join();
}

void LogicSide::post(std::function<void()> action) {
  loop_.async(std::move(action));
}

void LogicSide::postToProgram(std::function<void(Program&)> action) {
  loop_.async([this, action = std::move(action)] {
    if (program_ != nullptr && !isEnding_) {
      action(*program_);
    }
  });
}

void LogicSide::postCommand(window::ConsoleCommands::Action action) {
  postToProgram([action = std::move(action)](Program& program) { program.carryOut(action); });
}

}  // namespace vrel::app
