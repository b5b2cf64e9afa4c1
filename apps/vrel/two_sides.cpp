// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/two_sides.h"

#include <optional>
#include <utility>
#include <vector>

#include "vrel/program.h"

namespace vrel::app {

TwoSides::TwoSides()
    : window([this](auto action) { logic.postCommand(std::move(action)); },
             [this](auto action) { logic.post(std::move(action)); }) {
  window.onScreens = [this](std::vector<NSScreen> screens) {
    logic.postToProgram([screens = std::move(screens)](Program& program) { program.setScreens(screens); });
  };
  window.onWindowResolved = [this](bool isFullScreen, const std::optional<NSScreen>& screen) {
    logic.postToProgram([=](Program& program) { program.windowResolved(isFullScreen, screen); });
  };
  window.onCloseRequest = [this] { logic.postToProgram([](Program& program) { program.requestTermination(); }); };
  window.onSystemEnd = [this] { systemEnds(); };
}

void TwoSides::systemEnds() {
  logic.postToProgram([](Program& program) { program.systemEnds(); });
}

TwoSides::~TwoSides() {
  // Nobody looks at a window that does not answer any more.
  window.leaveScreen();
  logic.end();
}

}  // namespace vrel::app
