// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QFont>
#include <QImage>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRectF>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "apps/vrel/console_fixture.h"

namespace vrel::app::test {
namespace {

struct Named {
  std::string name;
  QRectF place;  // in the window, pixels
};

/// What has room in the window. With VREL_SCREENSHOTS in the environment, each look is kept as a picture in that
/// folder.
class Layout : public ConsoleFixture {
 protected:
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

  void look(const std::string& name) {
    driver.eventually([this] { return driver.value("loadingModal", "opacity").toDouble() == 0; });
    if (const char* const folder = std::getenv("VREL_SCREENSHOTS")) {
      EXPECT_TRUE(window().grabWindow().save(QString::fromStdString(std::string(folder) + "/" + name + ".png")));
    }
  }

  /// Where an item is in the window, pixels; empty when it cannot be seen whole.
  [[nodiscard]] QRectF place(const std::string& name) {
    const auto* const item = driver.find(name);
    if (item == nullptr) {
      return {};
    }
    const QRectF here = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
    for (const auto* above = item->parentItem(); above != nullptr; above = above->parentItem()) {
      if (above->clip() &&
          !above->mapRectToScene(QRectF(0, 0, above->width(), above->height())).adjusted(-1, -1, 1, 1).contains(here)) {
        return {};
      }
    }
    return QRectF(QPointF(), window().size()).adjusted(-1, -1, 1, 1).contains(here) ? here : QRectF();
  }

  /// How many of the items with this name and a number are whole in sight, from the first.
  [[nodiscard]] int inSight(const std::string& name) {
    int count = 0;
    while (!place(name + std::to_string(count)).isEmpty()) {
      ++count;
    }
    return count;
  }

  [[nodiscard]] std::vector<std::string> tinyTexts() {
    std::vector<std::string> found;
    visit(*window().contentItem(), [&](const QQuickItem& item) {
      constexpr double smallest = 11;
      if (item.inherits("QQuickText") && !item.property("text").toString().isEmpty() &&
          item.property("font").value<QFont>().pixelSize() * scale() < smallest) {
        found.push_back(item.property("text").toString().toStdString());
      }
    });
    return found;
  }

  /// The controls that a pointer or a finger presses.
  [[nodiscard]] std::vector<Named> targets() {
    std::vector<Named> found;
    visit(*window().contentItem(), [&](const QQuickItem& item) {
      const bool isTarget = item.inherits("QQuickAbstractButton") || item.inherits("QQuickTextField") ||
                            (item.activeFocusOnTab() && !item.inherits("QQuickScrollBar"));
      if (isTarget && !place(item.objectName().toStdString()).isEmpty()) {
        found.push_back(
            {item.objectName().toStdString(), item.mapRectToScene(QRectF(0, 0, item.width(), item.height()))});
      }
    });
    return found;
  }

  [[nodiscard]] std::vector<std::string> smallTargets(double points) {
    std::vector<std::string> small;
    for (const auto& target : targets()) {
      if (target.place.width() < points * scale() - 1 || target.place.height() < points * scale() - 1) {
        small.push_back(target.name);
      }
    }
    return small;
  }

  [[nodiscard]] std::vector<std::string> overlappingTargets() {
    std::vector<std::string> overlapping;
    const auto all = targets();
    for (std::size_t one = 0; one < all.size(); ++one) {
      for (std::size_t other = one + 1; other < all.size(); ++other) {
        const QRectF common = all[one].place.intersected(all[other].place);
        if (common.width() > 1 && common.height() > 1) {
          overlapping.push_back(all[one].name + " and " + all[other].name);
        }
      }
    }
    return overlapping;
  }

  /// Lines of notes that can be read without scrolling.
  [[nodiscard]] int lines() {
    const auto* const notes = driver.find("notesArea");
    const double line = notes->property("contentHeight").toDouble() / notes->property("lineCount").toInt();
    return static_cast<int>((notes->parentItem()->parentItem()->height() - 8) / line);
  }

 private:
  template <typename Action>
  static void visit(const QQuickItem& item, const Action& action) {
    if (!item.isVisible() || item.opacity() == 0) {
      return;
    }
    action(item);
    const auto children = item.childItems();
    for (const QQuickItem* child : children) {
      visit(*child, action);
    }
  }
};

TEST_F(Layout, InEditModeSevenStripsTheMasterSixSongsAndFourLinesOfNotesAreInSight) {
  addSongs();
  for (const int strips : {1, 11, 32}) {
    setStrips(strips);
    for (const QSize size : {QSize(1280, 800), QSize(1366, 768), QSize(1920, 1080), QSize(3840, 2160)}) {
      resize(size.width(), size.height());
      const std::string name = "edit-" + std::to_string(strips) + "-" + std::to_string(size.width());
      SCOPED_TRACE(name);
      look(name);
      EXPECT_GE(inSight("strip"), std::min(strips, 7));
      EXPECT_FALSE(place("masterStrip").isEmpty());
      EXPECT_GE(inSight("songRow"), 6);
      EXPECT_GE(lines(), 4);
      EXPECT_EQ(tinyTexts(), std::vector<std::string>());
      EXPECT_EQ(overlappingTargets(), std::vector<std::string>());
      EXPECT_EQ(smallTargets(24), std::vector<std::string>());
    }
  }
}

TEST_F(Layout, InLiveModeSevenStripsTheMasterSixSongsAndSixLinesOfNotesAreInSight) {
  addSongs();
  for (const int strips : {1, 11, 32}) {
    setStrips(strips);
    setLive(true);
    for (const QSize size : {QSize(1280, 800), QSize(1366, 768), QSize(1920, 1080), QSize(3840, 2160)}) {
      resize(size.width(), size.height());
      const std::string name = "live-" + std::to_string(strips) + "-" + std::to_string(size.width());
      SCOPED_TRACE(name);
      look(name);
      EXPECT_GE(inSight("strip"), std::min(strips, 7));
      EXPECT_FALSE(place("masterStrip").isEmpty());
      EXPECT_GE(inSight("songRow"), 6);
      EXPECT_GE(lines(), 6);
      EXPECT_EQ(tinyTexts(), std::vector<std::string>());
      EXPECT_EQ(overlappingTargets(), std::vector<std::string>());
      EXPECT_EQ(smallTargets(24), std::vector<std::string>());
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
  for (const bool isLive : {false, true}) {
    setLive(isLive);
    for (const auto* const sign : {"failure0", "failure6"}) {
      EXPECT_TRUE(driver.eventually([&] { return !place(sign).isEmpty(); })) << sign << (isLive ? " live" : " edit");
    }
    look(std::string("failures ") + (isLive ? "live" : "edit"));
  }
  driver.onLogic([](Session& session) { session.content().effectRack().toggle(*session.engine().channels()[0]); });
  EXPECT_TRUE(driver.eventually([this] { return !place("reviveEffect0").isEmpty(); }));
  look("failures rack");
}

}  // namespace
}  // namespace vrel::app::test
