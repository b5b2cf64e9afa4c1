// SPDX-License-Identifier: GPL-3.0-or-later
// The console under a Wayland compositor with a panel, which is shown on the X server of the tests.

#include <gtest/gtest.h>

#include <QColor>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QProcessEnvironment>
#include <QScreen>
#include <QString>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "apps/vrel/whole_program.h"
#include "support/devices/child_process.h"
#include "support/ui/virtual_display.h"

namespace vrel::app::test {
namespace {

class WaylandConsole : public WholeProgram {
 protected:
  void SetUp() override {
    std::ofstream(folder_ / "weston.ini") << "[shell]\npanel-position=top\npanel-color=0xff0000ff\n"
                                             "background-color=0xff00ff00\nlocking=false\nanimation=none\n"
                                             "startup-animation=none\nclose-animation=none\n";
    compositor_.start({"env", "XDG_RUNTIME_DIR=" + folder_.string(), "weston", "--backend=x11-backend.so",
                       "--use-pixman", "--width=1440", "--height=900", "--socket=" + socket, "--idle-time=0",
                       "--config=" + (folder_ / "weston.ini").string()},
                      folder_ / "weston.log");
    ASSERT_TRUE(driver.eventually([] { return screen().pixelColor(1000, 5) == panel; })) << "the compositor is there";
  }
  ~WaylandConsole() override {
    program.kill();
    program.waitForFinished();
    compositor_.end(SIGTERM);
    std::filesystem::remove_all(folder_);
  }

  void start() { WholeProgram::SetUp(); }

  void change(QProcessEnvironment& environment) override {
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), QString::fromStdString(folder_));
    environment.insert(QStringLiteral("WAYLAND_DISPLAY"), QString::fromStdString(socket));
    environment.insert(QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("wayland"));
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    if (!hasX11) {
      environment.remove(QStringLiteral("DISPLAY"));
    }
  }

  [[nodiscard]] static QImage screen() { return QGuiApplication::primaryScreen()->grabWindow(0).toImage(); }

  /// The first key may come before the compositor has the keyboard.
  static bool goesLive() {
    return system::test::eventually([] {
      EXPECT_EQ(std::system("xdotool search --name Weston windowfocus; xdotool key ctrl+shift+l"), 0);
      return system::test::eventually([] { return screen().pixelColor(0, 450) == live; }, std::chrono::seconds(5));
    });
  }

  static inline const std::string socket = "wayland-vrel";
  static inline const QColor panel{0, 0, 255};
  static inline const QColor live{180, 40, 40};  // the frame of the window in Live mode
  bool hasX11 = false;

 private:
  const std::filesystem::path folder_ = makeTemporaryFolder();
  system::test::ChildProcess compositor_;
};

TEST_F(WaylandConsole, ItsWindowFitsTheSpaceThatThePanelLeaves) {
  start();
  ASSERT_TRUE(opens());
  ASSERT_TRUE(goesLive());
  EXPECT_TRUE(driver.eventually([] {
    const QImage picture = screen();
    return picture.pixelColor(1439, 450) == live && picture.pixelColor(720, 899) == live;
  })) << "its lower end is on the screen";
  EXPECT_EQ(screen().pixelColor(1000, 5), panel) << "nor does it cover the panel";
}

TEST_F(WaylandConsole, X11IsUsedWhereThereIsADisplayForIt) {
  hasX11 = true;
  start();
  EXPECT_TRUE(
      driver.eventually([] { return std::system("xdotool search --onlyvisible --name VREL >/dev/null 2>&1") == 0; }));
}

}  // namespace
}  // namespace vrel::app::test
