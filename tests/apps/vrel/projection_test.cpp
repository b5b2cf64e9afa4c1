// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QColor>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "apps/vrel/console_fixture.h"

namespace vrel::app::test {
namespace {

const bool hasTwoMonitors = [] {
  ConsoleDriver::secondMonitorWidth = 1280;
  return true;
}();

std::string clipFile(const std::string& name) {
  return std::string(VREL_CLIP_FOLDER) + "/" + name;
}

/// Two monitors: the console on the left, the stage on the right. The films have a dark quarter at the top left and a
/// bright one at the bottom right, or the other way round.
class StageWindow : public ConsoleFixture {
 protected:
  void SetUp() override {
    ConsoleFixture::SetUp();
    ASSERT_TRUE(hasTwoMonitors);
    ASSERT_EQ(QGuiApplication::screens().size(), 2);
  }

  void choose(const std::string& action, const std::string& object = "") {
    driver.onLogic([&](Session& session) {
      session.carryOut([&](window::ConsoleActions& actions) { actions.activateMenuItem(action, object); });
    });
  }

  /// A strip whose middle C shows a film, as the clip editor makes it.
  void showOnMiddleC(const std::string& file) {
    driver.click("stripInstrument0");
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("visualSource"); }));
    driver.click("visualSource");
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("addClip"); }));
    driver.click("addClip");
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("clipChoose0"); }));
    driver.click("clipChoose0");
    driver.answerPanel(file);
    driver.click("clipApply");
    ASSERT_TRUE(driver.eventually([this] { return driver.strip(0).isVisual(); }));
  }

  void play(std::uint8_t status) {
    driver.onLogic([status](Session& session) { session.engine().routeMIDI(status, 60, 100); });
  }

  /// A quarter of a monitor, by its level of grey.
  static int level(int monitor, bool isLowerRight) {
    QScreen* const screen = QGuiApplication::screens()[monitor];
    const QRect area = screen->geometry();
    const int part = isLowerRight ? 5 : 3;
    const QImage pixel = screen->grabWindow(0, area.width() * part / 8, area.height() * part / 8, 1, 1).toImage();
    return pixel.isNull() ? -1 : pixel.pixelColor(0, 0).green();
  }
  bool showsFilm(bool isUpright) {
    return driver.eventually([isUpright] {
      const int upper = level(1, false);
      const int lower = level(1, true);
      return std::abs(upper - (isUpright ? 28 : 203)) <= 5 && std::abs(lower - (isUpright ? 203 : 28)) <= 5;
    });
  }
  bool isDark() {
    return driver.eventually([] { return level(1, false) == 0 && level(1, true) == 0; });
  }
};

TEST_F(StageWindow, ABackgroundAndAClipByANoteAreOnTheOtherMonitor) {
  showOnMiddleC(clipFile("turned-180.mp4"));
  driver.onLogic([](Session& session) { session.state().visualBackgroundVideoPath.set(clipFile("upright.mp4")); });
  choose("openVisualProjection:", "1");
  EXPECT_TRUE(showsFilm(true)) << level(1, false) << " " << level(1, true);
  play(0x90);
  EXPECT_TRUE(showsFilm(false)) << level(1, false) << " " << level(1, true);
  play(0x80);
  EXPECT_TRUE(showsFilm(true));
  EXPECT_TRUE(driver.isShown("stripInstrument0")) << "the console is where it was";
  choose("closeVisualProjection");
  EXPECT_TRUE(isDark());
}

TEST_F(StageWindow, OpenedAndClosedAgainAndAtTheEndOfTheProgramItLeavesNothing) {
  driver.onLogic([](Session& session) { session.state().visualBackgroundVideoPath.set(clipFile("upright.mp4")); });
  for (int turn = 0; turn < 3; ++turn) {
    choose("openVisualProjection:", "1");
    EXPECT_TRUE(showsFilm(true)) << turn;
    choose("closeVisualProjection");
    EXPECT_TRUE(isDark()) << turn;
  }
  choose("openVisualProjection:", "1");
  EXPECT_TRUE(showsFilm(true));
  driver.close();
  EXPECT_TRUE(isDark());
}

}  // namespace
}  // namespace vrel::app::test
