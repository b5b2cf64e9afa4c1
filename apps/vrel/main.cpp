// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QQuickStyle>
#include <chrono>

#include "vrel/appearance.h"
#include "vrel/end_deadline.h"
#include "vrel/end_signals.h"
#include "vrel/two_sides.h"

int main(int argc, char** argv) {
  using namespace std::chrono_literals;
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("VREL"));
  QApplication::setQuitOnLastWindowClosed(false);
  QQuickStyle::setStyle(QStringLiteral("Basic"));
  vrel::app::darkenApplication();

  vrel::app::EndDeadline deadline;
  vrel::app::TwoSides program;
  const vrel::app::EndSignals signals([&program] { program.systemEnds(); });
  program.start();
  const int result = QApplication::exec();
  deadline.start(10s);
  return result;
}
