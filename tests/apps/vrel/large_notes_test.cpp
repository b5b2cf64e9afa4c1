// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "apps/vrel/console_fixture.h"

namespace vrel::app::test {
namespace {

/// The large notes of two songs, the first many pages long.
class LargeNotesPage : public ConsoleFixture {
 protected:
  void SetUp() override {
    ConsoleFixture::SetUp();
    driver.onLogic([](Session& session) {
      session.state().songs.modify([](std::vector<SongConfig>& songs) {
        songs.push_back(songs[0]);
        songs.back().id = Uuid::fresh();
        songs.back().songNotes = "Second verse in G";
      });
      std::string lines;
      for (int line = 0; line < 200; ++line) {
        lines += "Line " + std::to_string(line) + "\n";
      }
      session.content().setSongNotes(lines);
    });
  }

  void open() {
    driver.key("ctrl+shift+n");
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("largeNotesPage"); }));
    ASSERT_TRUE(driver.eventually([this] { return range() > 1000; }));
  }

  [[nodiscard]] double place() const { return driver.value("largeNotes", "contentY").toDouble(); }
  [[nodiscard]] double range() const { return driver.value("largeNotes", "range").toDouble(); }
  [[nodiscard]] bool isAt(double wanted) {
    return driver.eventually([&] { return std::abs(place() - wanted) < 1; });
  }
  void move(std::uint8_t value) {
    driver.onLogic([value](Session& session) { session.engine().routeMIDI(0xB0, 4, value); });
  }
};

TEST_F(LargeNotesPage, AreScrolledByALearnedControlAndByKeysAndChangeTheirSize) {
  EXPECT_FALSE(driver.isShown("largeNotesPage")) << "at first";
  open();
  driver.click("learnButton");
  driver.click("largeNotes");
  ASSERT_TRUE(driver.eventually([this] { return driver.isWaitingFor(window::learn_kind::Kind::NotesPosition, -1); }));
  move(0);
  EXPECT_TRUE(driver.eventually([this] { return !driver.session().isLearning(); }));
  for (const int value : {127, 64, 0}) {
    move(static_cast<std::uint8_t>(value));
    EXPECT_TRUE(isAt(range() * value / 127)) << value << " " << place();
  }
  driver.key("End");
  EXPECT_TRUE(isAt(range()));
  driver.key("Prior");
  EXPECT_LT(place(), range());
  driver.key("Home");
  driver.key("Next");
  EXPECT_GT(place(), 100);
  driver.click("largerNotes");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().notesTextSize() == 46; }));
  driver.click("smallerNotes");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().notesTextSize() == 40; }));
  driver.key("Escape");
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("largeNotesPage"); }));
}

TEST_F(LargeNotesPage, InLiveModeTheStageKeysWorkAndTheNotesFollowTheSong) {
  driver.click("liveButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.session().isLive(); }));
  open();
  EXPECT_TRUE(driver.isShown("stageSong")) << "the banner";
  driver.onLogic([](Session& session) { session.state().sustainPedalValue.set(1); });
  driver.key("1");
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).mute(); }));
  driver.key("p");
  EXPECT_EQ(driver.fromLogic<float>([](Session& session) { return session.state().sustainPedalValue.get(); }), 0);
  driver.onLogic([](Session& session) { session.state().sustainPedalValue.set(1); });
  driver.click("panicButton");
  EXPECT_EQ(driver.fromLogic<float>([](Session& session) { return session.state().sustainPedalValue.get(); }), 0);
  driver.onLogic([](Session& session) { session.content().largeNotes().position.set(0.5F); });
  EXPECT_TRUE(isAt(range() / 2));
  driver.key("Down");
  EXPECT_TRUE(driver.eventually(
      [this] { return driver.value("largeNotesWords", "text").toString() == QStringLiteral("Second verse in G"); }));
  EXPECT_TRUE(isAt(0));
  ASSERT_TRUE(driver.eventually([this] { return !driver.session().isLoading() && !driver.isShown("loadingModal"); }));
  driver.key("Escape");
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("largeNotesPage"); }));
  EXPECT_TRUE(driver.session().isLive());
}

TEST_F(LargeNotesPage, CloseForAPageOfTheMenusWhichWouldOpenBelowThem) {
  open();
  driver.onLogic([](Session& session) { session.content().songControlPage().isShown.set(true); });
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("largeNotesPage"); }));
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("songControlPanel"); }));
  driver.key("ctrl+shift+n");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("largeNotesPage"); })) << "over that page";
}

}  // namespace
}  // namespace vrel::app::test
