// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <QColor>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QProcess>
#include <QProcessEnvironment>
#include <QScreen>
#include <QString>
#include <QStringList>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "apps/vrel/console_driver.h"

namespace vrel::app::test {

/// The program as it is built, in a process of its own on the same screen.
class WholeProgram : public testing::Test {
 protected:
  void SetUp() override {
    program.setStandardOutputFile(QString::fromStdString(driver.home() / "vrel.log"));
    program.setProcessChannelMode(QProcess::MergedChannels);
    // The leaks of the window's libraries are suppressed in the tests' own process only.
    auto environment = QProcessEnvironment::systemEnvironment();
    const QString sanitizer = QStringLiteral("ASAN_OPTIONS");
    environment.insert(sanitizer, environment.value(sanitizer) + QStringLiteral(":detect_leaks=0"));
    // A session of its own, or it would hand over to the program of a test that runs beside.
    const auto session = driver.home() / "session";
    std::filesystem::create_directory(session);
    std::filesystem::permissions(session, std::filesystem::perms::owner_all);
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), QString::fromStdString(session.string()));
    change(environment);
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(VREL_PROGRAM), arguments());
  }

  ~WholeProgram() override {
    program.kill();
    program.waitForFinished();
  }

  [[nodiscard]] virtual QStringList arguments() { return {}; }
  /// What of the environment is another for the program.
  virtual void change(QProcessEnvironment& /*environment*/) {}

  /// By its one control that shines red from afar, above everything else.
  [[nodiscard]] static bool showsPanic() {
    const QImage corner = QGuiApplication::primaryScreen()->grabWindow(0, 1140, 50, 300, 100).toImage();
    int red = 0;
    for (int y = 0; y < corner.height(); ++y) {
      for (int x = 0; x < corner.width(); ++x) {
        const QColor color = corner.pixelColor(x, y);
        red += color.red() > 180 && color.green() < 80 && color.blue() < 80 ? 1 : 0;
      }
    }
    return red > 1000;
  }

  [[nodiscard]] static bool showsWords() {
    const QImage corner = QGuiApplication::primaryScreen()->grabWindow(0, 0, 0, 500, 150).toImage();
    int bright = 0;
    for (int y = 0; y < corner.height(); ++y) {
      for (int x = 0; x < corner.width(); ++x) {
        bright += qGray(corner.pixel(x, y)) > 140 ? 1 : 0;
      }
    }
    return bright > 100;
  }

  bool opens() {
    return driver.eventually([] { return showsPanic(); });
  }
  /// A question dims the words of the header.
  bool asks() {
    return driver.eventually([] { return showsPanic() && !showsWords(); });
  }
  /// By its shortcut, which may not be installed yet.
  bool asksOnQuit() {
    return driver.eventually([] {
      press("ctrl+q");
      return showsPanic() && !showsWords();
    });
  }
  bool ends() {
    return driver.eventually([this] { return program.state() == QProcess::NotRunning; });
  }
  /// There is no window manager to give the window the keyboard.
  static void press(const std::string& key) {
    const std::string window = "xdotool search --onlyvisible --name VREL";
    EXPECT_EQ(std::system((window + " windowfocus key " + key + " 2>/dev/null").c_str()), 0);
  }

  ConsoleDriver driver;  // the screen and a home
  QProcess program;
};

}  // namespace vrel::app::test
