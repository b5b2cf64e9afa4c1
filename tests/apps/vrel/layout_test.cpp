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
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "apps/vrel/console_fixture.h"
#include "apps/vrel/window_looks.h"
#include "text/text.h"

namespace vrel::app::test {
namespace {

using Words = std::vector<std::string>;

constexpr std::array sizes{QSize(1280, 800), QSize(1366, 768), QSize(1920, 1080), QSize(3840, 2160)};

/// A panel over the setlist's column.
struct OpenedPanel {
  std::string name;
  std::string first;  // something in it
  bool opensInLiveMode;
  std::function<void(Session&)> open;
  std::function<void(Session&)> close;
};

const std::vector<OpenedPanel> openedPanels{
    {"instrumentPanel", "plugin0", false,
     [](Session& session) { session.content().instrumentSelector().open(*session.engine().channels()[0]); },
     [](Session& session) { session.content().instrumentSelector().cancel(); }},
    {"rackPanel", "rackEffect1", true,
     [](Session& session) { session.content().effectRack().toggle(*session.engine().masterChannel()); },
     [](Session& session) { session.content().effectRack().close(); }},
    {"learnedPanel", "learned1", true, [](Session& session) { session.content().learnedControls().isShown.set(true); },
     [](Session& session) { session.content().learnedControls().isShown.set(false); }},
};

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

  void offerPlugins() {
    driver.onLogic([](Session& session) {
      auto& state = session.state();
      constexpr std::uint32_t count = 30;
      std::vector<AVAudioUnitComponent> plugins;
      for (std::uint32_t code = 0; code < count; ++code) {
        plugins.push_back({code % 3 == 0 ? "Concert Grand with Sympathetic Resonance" : "Organ " + std::to_string(code),
                           "Maker " + std::to_string(code % 4),
                           {code % 5 == 0 ? componentTypeEffect : componentTypeMusicDevice, code, 20}});
      }
      state.scannedPlugins.set(plugins);
      state.favouritePlugins.set({"aucd:1635085685:1:20"});
      state.globalMidiControlAssignments.set({{{MidiControlKind::performanceExpression, std::nullopt}, {0xB0, 15, 127}},
                                              {{MidiControlKind::panic, std::nullopt}, {0x90, 15, 127}}});
      session.engine().masterChannel()->effectSlots.set(
          {AudioPluginSlot{.pluginPath = "aucd:1635083896:30:20", .pluginName = "Parametric Equaliser"},
           AudioPluginSlot{.pluginPath = "aucd:1635083896:31:20", .pluginName = "Plate"}});
    });
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
  resize(1280, 800);
  for (const int strips : {1, 11, 32}) {
    setStrips(strips);
    for (const bool isLive : {false, true}) {
      setLive(isLive);
      for (const Language language : allLanguages) {
        speak(language);
        const std::string name =
            (isLive ? "live-" : "edit-") + std::to_string(strips) + "-" + std::string(code(language));
        SCOPED_TRACE(name);
        look(name);
        expectRoomForAll(*window().contentItem());
      }
    }
    setLive(false);
  }
}

TEST_F(Layout, PanelsHaveRoomOnEveryScreen) {
  addSongs();
  setStrips(11);
  offerPlugins();
  for (const bool isLive : {false, true}) {
    setLive(isLive);
    for (const QSize size : sizes) {
      resize(size.width(), size.height());
      for (const auto& panel : openedPanels) {
        if (isLive && !panel.opensInLiveMode) {
          continue;
        }
        const std::string name =
            std::string(isLive ? "live-" : "edit-") + panel.name + "-" + std::to_string(size.width());
        SCOPED_TRACE(name);
        driver.onLogic(panel.open);
        ASSERT_TRUE(driver.eventually([&] { return driver.isShown(panel.first); }));
        look(name);
        expectRoomForAll(*driver.find(panel.name));
        EXPECT_FALSE(place("liveBanner").intersects(place(panel.name)));
        EXPECT_EQ(place("stageSong").isEmpty(), !isLive);
        driver.onLogic(panel.close);
        ASSERT_TRUE(driver.eventually([&] { return !driver.isShown(panel.name); }));
      }
    }
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
    for (const auto& [item, line] : {std::pair("stripNumber0", "stripMenuLeft"), {"songName1", "songMenuUp"}}) {
      driver.rightClick(item);
      ASSERT_TRUE(driver.eventually([&, wanted = line] { return driver.isShown(wanted); })) << line;
      expectRoom(line, all);
      driver.key("Escape");
      ASSERT_TRUE(driver.eventually([this] { return !hasMenu(); })) << line;
    }
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
