// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QQuickStyle>
#include <chrono>

#include "vrel/application.h"
#include "vrel/display_choice.h"
#include "vrel/session_bus.h"
#include "vrel/termination.h"
#include "vrel/widgets.h"

int main(int argc, char** argv) {
  using namespace std::chrono_literals;
  vrel::app::forgoAbsentSessionBus();
  vrel::app::preferX11();
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("VREL"));
  QApplication::setQuitOnLastWindowClosed(false);
  QQuickStyle::setStyle(QStringLiteral("Basic"));
  vrel::app::darkenApplication();

  vrel::app::ShutdownWatchdog deadline;
  vrel::app::Application program;
  const vrel::app::TerminationSignals signals([&program] { program.systemEnds(); });
  program.start();
  const int result = QApplication::exec();
  deadline.start(10s);
  return result;
}
