// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QColor>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRect>
#include <QScreen>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "apps/vrel/console_fixture.h"
#include "support/ui/virtual_display.h"

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
    areas = {QGuiApplication::screens()[0]->geometry(), QGuiApplication::screens()[1]->geometry()};
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

  /// A strip that shows an upright film while middle C is held, and a turned one from one D to the next.
  void showOnTwoNotes() {
    driver.onLogic([](Session& session) {
      const std::vector<VisualClipMapping> clips{
          {.note = 60, .filePath = clipFile("upright.mp4")},
          {.note = 62, .filePath = clipFile("turned-180.mp4"), .triggerMode = VisualTriggerMode::toggle}};
      session.engine().instruments().loadVisualInstrument(*session.engine().channels()[0], clips, nullptr);
    });
  }

  void play(std::uint8_t status, std::uint8_t note = 60) {
    driver.onLogic([status, note](Session& session) { session.engine().routeMIDI(status, note, 100); });
  }

  std::size_t shownClips() {
    return driver.fromLogic<std::size_t>(
        [](Session& session) { return session.engine().visualEngine().activePlayers.get().size(); });
  }

  /// A quarter of a monitor, plugged in or not, by its level of grey.
  int level(int monitor, bool isLowerRight) const {
    const QRect& area = areas[static_cast<std::size_t>(monitor)];
    const int part = isLowerRight ? 5 : 3;
    const QImage pixel = QGuiApplication::primaryScreen()
                             ->grabWindow(0, area.x() + area.width() * part / 8, area.height() * part / 8, 1, 1)
                             .toImage();
    return pixel.isNull() ? -1 : pixel.pixelColor(0, 0).green();
  }
  bool shows(int upper, int lower, int monitor = 1) {
    return driver.eventually([this, upper, lower, monitor] {
      return std::abs(level(monitor, false) - upper) <= 5 && std::abs(level(monitor, true) - lower) <= 5;
    });
  }
  bool showsFilm(bool isUpright, int monitor = 1) {
    return isUpright ? shows(dark, bright, monitor) : shows(bright, dark, monitor);
  }
  bool isDark() {
    return driver.eventually([this] { return level(1, false) == 0 && level(1, true) == 0; });
  }

  static constexpr int dark = 28;
  static constexpr int bright = 203;
  std::array<QRect, 2> areas;  // of the monitors
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

TEST_F(StageWindow, ClipsBlendInEachModeMoveBetweenTheMonitorsAndComeBackWithTheirs) {
  showOnTwoNotes();
  choose("openVisualProjection:", "1");
  play(0x90, 62);
  play(0x80, 62);
  EXPECT_TRUE(showsFilm(false)) << level(1, false) << " " << level(1, true);
  play(0x90, 62);
  play(0x90, 60);
  EXPECT_TRUE(showsFilm(true));
  EXPECT_TRUE(driver.eventually([this] { return shownClips() == 1; }));
  play(0x90, 62);
  struct Mode {
    const char* name;
    int upper;
    int lower;
  };
  for (const auto& mode : {Mode{"multiply", 22, 22}, Mode{"screen", 209, 209}, Mode{"plusLighter", 231, 231},
                           Mode{"normal", bright, dark}}) {
    choose("selectVisualBlendMode:", mode.name);
    EXPECT_TRUE(shows(mode.upper, mode.lower)) << mode.name << " " << level(1, false) << " " << level(1, true);
  }
  choose("openVisualProjection:", "0");
  EXPECT_TRUE(showsFilm(false, 0));
  EXPECT_TRUE(isDark());
  choose("openVisualProjection:", "1");
  EXPECT_TRUE(showsFilm(false));
  const QRect console = driver.program().window.quickWindow()->geometry();
  const int beside = level(0, false);
  VirtualDisplay::removeMonitor("right");
  ASSERT_TRUE(driver.eventually([] { return QGuiApplication::screens().size() == 1; }));
  EXPECT_TRUE(isDark());
  play(0x80, 60);
  EXPECT_EQ(level(0, false), beside) << "it leaves the console alone";
  EXPECT_EQ(driver.program().window.quickWindow()->geometry(), console);
  VirtualDisplay::addMonitor("right", areas[1].x(), areas[1].width(), areas[1].height());
  EXPECT_TRUE(showsFilm(false)) << level(1, false) << " " << level(1, true);
  play(0x90, 62);
  play(0x90, 60);
  EXPECT_TRUE(showsFilm(true)) << "and the notes reach it";
}

TEST_F(StageWindow, ThePreviewInTheConsoleShowsTheStageAlsoWhileNothingIsProjected) {
  auto& stage = *driver.program().window.model().stage();
  const auto previewShowsFilm = [&] {
    return driver.eventually([&] {
      const QImage& image = stage.frame().image;
      const auto levelAt = [&](int part) {
        return image.pixelColor(image.width() * part / 8, image.height() * part / 8).green();
      };
      return !image.isNull() && std::abs(levelAt(3) - 203) <= 5 && std::abs(levelAt(5) - 28) <= 5;
    });
  };
  showOnMiddleC(clipFile("turned-180.mp4"));
  EXPECT_FALSE(driver.isShown("stagePicture")) << "at first it is folded";
  EXPECT_FALSE(stage.isWatched());
  driver.click("foldStage");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("stagePicture"); }));
  play(0x90);
  EXPECT_TRUE(previewShowsFilm());
  EXPECT_TRUE(driver.isShown("stageClosed"));
  choose("openVisualProjection:", "1");
  EXPECT_TRUE(showsFilm(false));
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("stageClosed"); }));
  EXPECT_TRUE(previewShowsFilm());
  driver.click("liveButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.session().isLive(); }));
  EXPECT_TRUE(driver.isShown("stagePicture"));
  driver.click("foldStage");
  EXPECT_TRUE(driver.eventually([&] { return !stage.isWatched() && !driver.isShown("stagePicture"); }));
  EXPECT_TRUE(showsFilm(false)) << "the projection goes on";
}

TEST_F(StageWindow, TheLargeNotesFillTheOtherMonitorAndComeBackToTheConsoleWithoutIt) {
  driver.onLogic([](Session& session) { session.content().setSongNotes("Verse in G"); });
  driver.key("ctrl+shift+n");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("largeNotesPage"); }));
  driver.click("notesOnDisplay1");
  ASSERT_TRUE(driver.eventually([this] { return !driver.isShown("largeNotesPage"); }));
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("largeNotesWindowClose"); }));
  const QQuickWindow* const notes = driver.find("largeNotesWindowClose")->window();
  EXPECT_TRUE(driver.eventually([&] { return notes->geometry() == areas[1]; })) << notes->x() << " " << notes->width();
  EXPECT_TRUE(driver.eventually([this] {
    return QGuiApplication::focusWindow() == driver.program().window.quickWindow();
  })) << "the keys stay with the console";
  driver.click("liveButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.session().isLive(); }));
  driver.click("largeNotes");
  driver.key("1");
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).mute(); })) << "the stage keys work there";
  VirtualDisplay::removeMonitor("right");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("largeNotesPage"); }));
  VirtualDisplay::addMonitor("right", areas[1].x(), areas[1].width(), areas[1].height());
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("largeNotesWindowClose"); }));
  driver.click("notesInConsole");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("largeNotesPage"); }));
  driver.click("largeNotesPageClose");
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("largeNotesPage"); }));
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
