// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QQuickStyle>
#include <utility>
#include <vector>

#include "vrel/logic_side.h"
#include "vrel/program.h"
#include "vrel/window_side.h"

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("VREL"));
  QApplication::setQuitOnLastWindowClosed(false);
  QQuickStyle::setStyle(QStringLiteral("Basic"));

  vrel::app::LogicSide logic;
  vrel::app::WindowSide window([&logic](auto action) { logic.postCommand(std::move(action)); },
                               [&logic](auto action) { logic.post(std::move(action)); });
  window.onScreens = [&logic](std::vector<vrel::NSScreen> screens) {
    logic.postToProgram([screens = std::move(screens)](auto& program) { program.setScreens(screens); });
  };
  window.onCloseRequest = [&logic] { logic.postToProgram([](auto& program) { program.requestTermination(); }); };
  logic.start(window);
  const int status = QApplication::exec();
  logic.end();
  return status;
}
