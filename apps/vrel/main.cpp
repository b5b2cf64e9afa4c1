// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QQuickStyle>

#include "vrel/appearance.h"
#include "vrel/two_sides.h"

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("VREL"));
  QApplication::setQuitOnLastWindowClosed(false);
  QQuickStyle::setStyle(QStringLiteral("Basic"));
  vrel::app::darkenApplication();

  vrel::app::TwoSides program;
  program.start();
  return QApplication::exec();
}
