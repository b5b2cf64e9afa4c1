// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QApplication>
#include <QQuickStyle>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>

#include "support/ui/virtual_display.h"

namespace vrel::app::bench {

/// The main function of a benchmark of the window: `measure` is called with the count that the only option names, else
/// with `count`, on an X server and in a home of its own, with OpenGL in software.
template <typename Measure>
int runMeasurement(int argumentCount, char** arguments, const std::string& option, int count, const Measure& measure) {
  try {
    if (argumentCount == 3 && arguments[1] == option) {
      count = std::stoi(arguments[2]);
    }
    ::setenv("VREL_PLUGIN_HOST", VREL_PLUGIN_HOST_PROGRAM, 1);
    ::setenv("JACK_NO_START_SERVER", "1", 1);
    ::setenv("LV2_PATH", VREL_ZOO_PATH, 1);
    ::setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
    const auto home = test::makeTemporaryFolder();
    test::moveHome(home);
    const test::VirtualDisplay display(1366, 768);
    int nameCount = 1;
    char* names[] = {arguments[0], nullptr};
    {
      const QApplication application(nameCount, names);
      QApplication::setQuitOnLastWindowClosed(false);
      QQuickStyle::setStyle(QStringLiteral("Basic"));
      measure(count);
    }
    std::filesystem::remove_all(home);
    return EXIT_SUCCESS;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return EXIT_FAILURE;
  }
}

}  // namespace vrel::app::bench
