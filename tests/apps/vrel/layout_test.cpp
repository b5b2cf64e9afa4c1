// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QFont>
#include <QImage>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRectF>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "apps/vrel/console_fixture.h"
#include "apps/vrel/opened_pages.h"
#include "apps/vrel/window_looks.h"
#include "text/text.h"

namespace vrel::app::test {
namespace {

using Words = std::vector<std::string>;

// Those with the least room first: the others show the same, larger.
constexpr std::array sizes{QSize(1280, 800), QSize(1366, 768), QSize(1920, 1080), QSize(3840, 2160)};

/// What has room in the window. With VREL_SCREENSHOTS in the environment, each look is kept as a picture in that
/// folder.
class Layout : public ConsoleFixture {
 protected:
  static constexpr int longAtRest = 10;  // looks in a row, several frames

  [[nodiscard]] QQuickWindow& window() { return *driver.program().window.quickWindow(); }
  [[nodiscard]] double scale() { return window().contentItem()->scale(); }

  void resize(int width, int height) {
    window().resize(width, height);
    ASSERT_TRUE(driver.eventually([&] {
      return window().size() == QSize(width, height) && std::abs(window().contentItem()->width() * scale() - width) < 1;
    }));
  }

  void setLive(bool isLive) {
    driver.onLogic([isLive](Session& session) { session.content().liveMode().setLiveMode(isLive); });
    ASSERT_TRUE(driver.eventually([&] { return driver.session().isLive() == isLive; }));
  }

  void setStrips(int count) {
    driver.onLogic([count](Session& session) {
      while (static_cast<int>(session.engine().channels().size()) < count) {
        session.content().channelOperations().addChannelFromButton();
      }
      session.content().selection().selectedChannelId.set(session.engine().channels().front()->id);
    });
    ASSERT_TRUE(driver.eventually([&] { return driver.isShown("strip" + std::to_string(count - 1)); }));
  }

  void speak(Language language) {
    driver.onLogic([language](Session& session) { session.content().setLanguage(language); });
    ASSERT_TRUE(driver.eventually([&] { return driver.texts().language() == static_cast<int>(language); }));
  }

  void addSongs() {
    driver.onLogic([](Session& session) {
      for (const auto* name : {"The Long Way Home, Acoustic", "Blue Room", "Night Train to Lisbon", "Harbour Lights",
                               "Somebody Else's Song", "Encore", "Second Encore", "Goodnight"}) {
        session.state().newSongName.set(name);
        session.content().songList().addSong();
      }
      session.content().songSwitch().applySong(1);
      session.content().setSongNotes(
          "Capo 2.\nIntro: piano alone, 8 bars.\nPad from bar 9.\nLead in the second verse.");
    });
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("songRow8") && !driver.session().isLoading(); }));
  }

  /// Looks once the window has come to rest.
  void look(const std::string& name) {
    int looks = 0;
    driver.eventually([&] { return ++looks > longAtRest && driver.value("loadingModal", "opacity").toDouble() == 0; });
    keep(name);
  }

  void keep(const std::string& name) {
    if (const char* const folder = std::getenv("VREL_SCREENSHOTS")) {
      EXPECT_TRUE(window().grabWindow().save(QString::fromStdString(std::string(folder) + "/" + name + ".png")));
    }
  }

  /// The first so many, and all of them for pictures.
  [[nodiscard]] static std::span<const QSize> screens(std::size_t count) {
    return std::span(sizes).first(std::getenv("VREL_SCREENSHOTS") == nullptr ? count : sizes.size());
  }

  [[nodiscard]] bool hasMenu() {
    const auto layers = window().contentItem()->childItems();
    return std::any_of(layers.begin(), layers.end(),
                       [](const QQuickItem* layer) { return layer->inherits("QQuickOverlay") && layer->isVisible(); });
  }

  /// Where an item is in the window, pixels; empty when it cannot be seen whole.
  [[nodiscard]] QRectF place(const std::string& name) {
    const auto* const item = driver.find(name);
    return item != nullptr ? placeInWindow(*item) : QRectF();
  }

  /// Nothing is cut off, overlaps or is too small for the eye or a finger, once the window has come to rest.
  void expectRoomForAll(const QQuickItem& item) {
    constexpr double smallestTarget = 24;
    const WindowLooks looks(item);
    int atRest = 0;
    driver.eventually([&] {
      atRest = looks.cutOffWords().empty() ? atRest + 1 : 0;
      return atRest == longAtRest;
    });
    EXPECT_EQ(looks.cutOffWords(), Words());
    EXPECT_EQ(looks.overlaps(), Words());
    EXPECT_EQ(looks.smallTargets(smallestTarget), Words());
    EXPECT_EQ(looks.tinyWords(), Words());
  }

  /// How many of the items with this name and a number are whole in sight, from the first.
  [[nodiscard]] int inSight(const std::string& name) {
    int count = 0;
    while (!place(name + std::to_string(count)).isEmpty()) {
      ++count;
    }
    return count;
  }

  /// Lines of notes that can be read without scrolling.
  [[nodiscard]] int lines() {
    const auto* const notes = driver.find("notesArea");
    const double line = notes->property("contentHeight").toDouble() / notes->property("lineCount").toInt();
    return static_cast<int>((notes->parentItem()->parentItem()->height() - 8) / line);
  }
};

TEST_F(Layout, InEditModeSevenStripsTheMasterSixSongsAndFourLinesOfNotesAreInSight) {
  addSongs();
  for (const int strips : {1, 11, 32}) {
    setStrips(strips);
    for (const QSize size : sizes) {
      resize(size.width(), size.height());
      const std::string name = "edit-" + std::to_string(strips) + "-" + std::to_string(size.width());
      SCOPED_TRACE(name);
      look(name);
      EXPECT_GE(inSight("strip"), std::min(strips, 7));
      EXPECT_FALSE(place("masterStrip").isEmpty());
      EXPECT_GE(inSight("songRow"), 6);
      EXPECT_GE(lines(), 4);
      expectRoomForAll(*window().contentItem());
    }
  }
}

TEST_F(Layout, TheFaderHasTheHeightThatAStripHasLeft) {
  resize(1280, 800);
  const auto height = [this](const char* name) { return place(name).height() / scale(); };
  ASSERT_TRUE(driver.eventually([&] { return height("crash0") > 0; }));
  EXPECT_LE(height("crash0"), 40);
  EXPECT_GE(height("fader0"), 200);
}

TEST_F(Layout, InLiveModeSevenStripsTheMasterSixSongsAndSixLinesOfNotesAreInSight) {
  addSongs();
  for (const int strips : {1, 11, 32}) {
    setStrips(strips);
    setLive(true);
    for (const QSize size : sizes) {
      resize(size.width(), size.height());
      const std::string name = "live-" + std::to_string(strips) + "-" + std::to_string(size.width());
      SCOPED_TRACE(name);
      look(name);
      EXPECT_GE(inSight("strip"), std::min(strips, 7));
      EXPECT_FALSE(place("masterStrip").isEmpty());
      EXPECT_GE(inSight("songRow"), 6);
      EXPECT_GE(lines(), 6);
      expectRoomForAll(*window().contentItem());
      for (const auto* played : {"fader0", "mute0", "solo0", "masterFader", "masterMute", "songRow0", "tempoField",
                                 "tapButton", "panicButton"}) {
        EXPECT_GE(place(played).width(), 44 * scale() - 1) << played;
        EXPECT_GE(place(played).height(), 44 * scale() - 1) << played;
      }
      for (const auto* read : {"stageSong", "nextSong"}) {
        EXPECT_GE(driver.value(read, "font").value<QFont>().pixelSize() * scale(), 28 * scale()) << read;
        EXPECT_FALSE(driver.value(read, "truncated").toBool()) << read;
      }
    }
    setLive(false);
  }
}

TEST_F(Layout, OnTheSmallestScreenEveryLanguageHasRoom) {
  addSongs();
  for (const int strips : {1, 11, 32}) {
    setStrips(strips);
    for (const bool isLive : {false, true}) {
      setLive(isLive);
      for (const QSize size : screens(1)) {
        resize(size.width(), size.height());
        for (const Language language : allLanguages) {
          speak(language);
          const std::string name = (isLive ? "live-" : "edit-") + std::to_string(strips) + "-" +
                                   std::to_string(size.width()) + "-" + std::string(code(language));
          SCOPED_TRACE(name);
          look(name);
          expectRoomForAll(*window().contentItem());
        }
      }
    }
    setLive(false);
  }
}

TEST_F(Layout, PagesAndPanelsHaveRoomInTheLongestLanguage) {
  addSongs();
  setStrips(11);
  speak(Language::french);
  driver.onLogic(fillPages);
  for (const bool isLive : {false, true}) {
    setLive(isLive);
    for (const QSize size : screens(2)) {
      resize(size.width(), size.height());
      for (const auto& page : openedPages()) {
        if (isLive && !page.opensInLiveMode) {
          continue;
        }
        const std::string name = (isLive ? "live-" : "edit-") + page.name + "-" + std::to_string(size.width());
        SCOPED_TRACE(name);
        driver.onLogic(page.open);
        ASSERT_TRUE(driver.eventually([&] { return driver.isShown(page.first); }));
        look(name);
        expectRoomForAll(*driver.find(page.name));
        EXPECT_FALSE(place("liveBanner").intersects(place(page.name)));
        EXPECT_EQ(place("stageSong").isEmpty(), !isLive);
        driver.onLogic(page.close);
        ASSERT_TRUE(driver.eventually([&] { return !driver.isShown(page.name); }));
      }
    }
  }
}

TEST_F(Layout, WhatIsCollectedCoversAndMovesNothing) {
  setStrips(11);
  speak(Language::french);
  resize(1280, 800);
  const double top = place("masterStrip").top();
  driver.onLogic([](Session& session) { session.collector().progress.set(0.4); });
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("collectingBar"); }));
  for (const bool hasProblem : {false, true}) {
    const std::string name = hasProblem ? "collecting-problem" : "collecting";
    SCOPED_TRACE(name);
    if (hasProblem) {
      driver.onLogic([](Session& session) { session.content().setlistFiles().loadSetlist("/nowhere/at-all.vrel"); });
      ASSERT_TRUE(driver.eventually([this] { return driver.isShown("problems"); }));
    }
    look(name);
    EXPECT_EQ(place("masterStrip").top(), top);
    EXPECT_FALSE(place("stopCollecting").isEmpty());
    EXPECT_EQ(WindowLooks(*window().contentItem()).overlaps(), Words());
    EXPECT_EQ(WindowLooks(*driver.find("collectingBar")).cutOffWords(), Words());
  }
}

TEST_F(Layout, MenusQuestionsTheModalAndTheFoldedKeyboardHaveRoomInEveryLanguage) {
  addSongs();
  setStrips(11);
  for (const Language language : allLanguages) {
    speak(language);
    const QSize size = sizes[static_cast<std::size_t>(language) % 3];
    resize(size.width(), size.height());
    const auto expectRoom = [&](const std::string& what, const QQuickItem& item) {
      const std::string name = what + "-" + std::string(code(language));
      SCOPED_TRACE(name);
      expectRoomForAll(item);
      keep(name);
    };
    const QQuickItem& all = *window().contentItem();
    constexpr int menus = 7;
    for (int menu = 0; menu < menus; ++menu) {
      driver.click("menu" + std::to_string(menu));
      ASSERT_TRUE(driver.eventually([this] { return hasMenu(); })) << menu;
      expectRoom("menu-" + std::to_string(menu), all);
      driver.key("Escape");
      ASSERT_TRUE(driver.eventually([this] { return !hasMenu(); })) << menu;
    }
    const auto expectRoomAbove = [&](const std::string& line) {
      ASSERT_TRUE(driver.eventually([&] { return driver.isShown(line); })) << line;
      expectRoom(line, all);
      driver.key("Escape");
      ASSERT_TRUE(driver.eventually([this] { return !hasMenu(); })) << line;
    };
    driver.rightClick("stripNumber0");
    expectRoomAbove("stripMenuLeft");
    driver.rightClick("songName1");
    expectRoomAbove("songMenuUp");
    driver.click("stripNumber0");
    expectRoomAbove("swatch0");
    driver.click("foldKeyboard");
    ASSERT_TRUE(driver.eventually([this] { return driver.session().isKeyboardFolded(); }));
    expectRoom("folded", all);
    driver.click("foldKeyboard");
    ASSERT_TRUE(driver.eventually([this] { return !driver.session().isKeyboardFolded(); }));
    window().close();
    ASSERT_TRUE(driver.eventually([this] { return driver.value("alertBox", "opacity").toDouble() == 1; }));
    expectRoom("question", *driver.find("alertBox"));
    driver.key("Escape");
    ASSERT_TRUE(driver.eventually([this] { return !alertIsShown(); }));
    driver.onLogic([language](Session& session) {
      session.state().beginLoadingSession(12, std::string(text(TextKey::loadingAudioUnits, language)));
    });
    ASSERT_TRUE(driver.eventually([this] { return driver.value("loadingModal", "opacity").toDouble() == 1; }));
    expectRoom("loading", *driver.find("loadingModal"));
    driver.onLogic([](Session& session) { session.state().finishLoadingSession(); });
    ASSERT_TRUE(driver.eventually([this] { return !driver.session().isLoading(); }));
  }
}

TEST_F(Layout, TheKeyboardFoldsToItsBarsByOnePressAndStaysSoInTheNextRun) {
  const auto height = [this] { return place("keyboardArea").height(); };
  ASSERT_TRUE(driver.eventually([&] { return height() > 100 * scale(); })) << height();
  const double unfolded = height();
  driver.click("foldKeyboard");
  EXPECT_TRUE(driver.eventually([&] { return height() < unfolded - 70 * scale(); }));
  driver.close();
  driver.open();
  EXPECT_TRUE(driver.session().isKeyboardFolded());
}

TEST_F(Layout, TheZoomFollowsItsKeysAndStaysInTheNextRun) {
  const double normal = scale();
  driver.key("ctrl+plus");
  driver.key("ctrl+plus");
  EXPECT_TRUE(driver.eventually([&] { return std::abs(scale() - 1.2 * normal) < 0.001; })) << scale();
  driver.key("ctrl+minus");
  EXPECT_TRUE(driver.eventually([&] { return std::abs(scale() - 1.1 * normal) < 0.001; })) << scale();
  driver.close();
  driver.open();
  EXPECT_NEAR(scale(), 1.1 * normal, 0.001);
  driver.key("ctrl+0");
  EXPECT_TRUE(driver.eventually([&] { return scale() == normal; })) << scale();
}

TEST_F(Layout, AMenuStaysInsideALargeWindow) {
  resize(2400, 1350);
  driver.rightClick("masterStrip");
  driver.rightClick("songName0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("songMenuRename"); }));
  EXPECT_FALSE(place("songMenuRename").isEmpty());
}

TEST_F(Layout, WhatHasFailedIsInSightInBothModes) {
  resize(1366, 768);
  setStrips(8);
  driver.onLogic([](Session& session) {
    const auto& strips = session.engine().channels();
    strips[0]->pluginPath.set("au:Maker:Grand Piano");
    strips[0]->pluginName.set("Grand Piano");
    strips[0]->status.set(ChannelStatus::running);
    strips[0]->effectSlots.set({{.pluginPath = "aucd:1:2:3", .pluginName = "Old Hall Reverb Deluxe"}});
    strips[0]->failedEffects.set({strips[0]->effectSlots.get().front().id});
    strips[6]->pluginPath.set("au:Maker:Tonewheel Organ");
    strips[6]->pluginName.set("Tonewheel Organ");
    strips[6]->status.set(ChannelStatus::crashed);
    session.content().selection().channelsViewVersion.set(session.content().selection().channelsViewVersion.get() + 1);
  });
  driver.onLogic([](Session& session) { session.state().activeMidiPortName.set("USB Stage Keyboard MIDI 1"); });
  for (const bool isLive : {false, true}) {
    setLive(isLive);
    for (const auto* const sign : {"failure0", "failure6", "audioOutput"}) {
      EXPECT_TRUE(driver.eventually([&] { return !place(sign).isEmpty(); })) << sign << (isLive ? " live" : " edit");
    }
    constexpr double roomForAName = 200;  // points
    EXPECT_GE(place("midiPort").width(), roomForAName * scale());
    look(std::string("failures ") + (isLive ? "live" : "edit"));
  }
  driver.onLogic([](Session& session) { session.content().effectRack().toggle(*session.engine().channels()[0]); });
  EXPECT_TRUE(driver.eventually([this] { return !place("reviveEffect0").isEmpty(); }));
  look("failures rack");
}

}  // namespace
}  // namespace vrel::app::test
