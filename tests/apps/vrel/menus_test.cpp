// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QQuickWindow>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "apps/vrel/console_fixture.h"

namespace vrel::app::test {
namespace {

using Names = std::vector<std::string>;

class Menus : public ConsoleFixture {
 protected:
  void SetUp() override {
    ConsoleFixture::SetUp();
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("File"); }));
  }

  void choose(const std::string& menu, const std::string& line) {
    driver.click(menu);
    driver.click(line);
  }

  bool asks() {
    return driver.eventually([this] { return alertIsShown(); });
  }
  bool asksForFile() {
    return driver.eventually([this] { return driver.isPanelShown(); });
  }
  void answer(const std::string& button) {
    driver.click(button);
    ASSERT_TRUE(driver.eventually([this] { return !alertIsShown(); }));
  }
  bool showsFile(const char* name) {
    return driver.eventually([&] { return driver.session().fileName() == QLatin1String(name); });
  }

  /// A setlist of one song of this name, on disk.
  [[nodiscard]] std::filesystem::path setlistWith(const std::string& song) {
    auto path = driver.home() / (song + ".vrel");
    driver.onLogic([&](Session& session) {
      session.state().songs.modify([&](std::vector<SongConfig>& songs) { songs.at(0).name = song; });
      session.content().setlistFiles().writeSetlist(path);
      session.content().setlistFiles().newSetlist(false);
    });
    return path;
  }

  static constexpr const char* save = "alertButton0";
  static constexpr const char* doNotSave = "alertButton1";
  static constexpr const char* cancel = "alertButton2";
};

TEST_F(Menus, SaveAsAsksForAFileAndSaveKeepsToIt) {
  choose("File", "Save As...");
  driver.answerPanel(driver.home() / "gig.vrel");
  EXPECT_TRUE(showsFile("gig.vrel"));
  driver.click("mute0");
  ASSERT_TRUE(driver.eventually([this] { return driver.session().isDirty(); }));
  choose("File", "Save");
  EXPECT_TRUE(driver.eventually([this] { return !driver.session().isDirty(); }));
  EXPECT_FALSE(driver.isPanelShown());
}

TEST_F(Menus, OpenChoosesFirstAndAsksAfter) {
  const auto path = setlistWith("Ballad");
  choose("File", "Open Setlist...");
  driver.answerPanel(path);
  ASSERT_TRUE(asks());
  answer(cancel);
  EXPECT_EQ(songNames(), Names{"01. Untitled Song"});
  choose("File", "Open Setlist...");
  driver.answerPanel(path);
  ASSERT_TRUE(asks());
  answer(doNotSave);
  EXPECT_TRUE(showsFile("Ballad.vrel"));
  EXPECT_EQ(songNames(), Names{"Ballad"});
}

TEST_F(Menus, TheGuardSavesWhatIsGivenUp) {
  (void)setlistWith("Ballad");
  driver.key("ctrl+shift+s");
  driver.answerPanel(driver.home() / "gig.vrel");
  ASSERT_TRUE(showsFile("gig.vrel"));
  driver.click("tempoUp");
  driver.key("ctrl+n");
  ASSERT_TRUE(asks());
  answer(save);
  EXPECT_TRUE(showsFile(""));
  driver.onLogic(
      [this](Session& session) { session.content().setlistFiles().loadSetlist(driver.home() / "gig.vrel"); });
  EXPECT_TRUE(driver.eventually([this] { return driver.session().tempoBpm() == 121; }));
}

TEST_F(Menus, ARecentSetlistIsOpenedFromItsMenu) {
  (void)setlistWith("Ballad");
  driver.click("File");
  driver.click("Open Recent");
  driver.click("Ballad.vrel");
  ASSERT_TRUE(asks());
  answer(doNotSave);
  EXPECT_TRUE(showsFile("Ballad.vrel"));
  EXPECT_EQ(songNames(), Names{"Ballad"});
}

TEST_F(Menus, TheKeysOfTheFileMenuWork) {
  for (const auto* key : {"ctrl+s", "ctrl+shift+s", "ctrl+o"}) {
    driver.key(key);
    ASSERT_TRUE(asksForFile()) << key;
    driver.cancelPanel();
    ASSERT_TRUE(driver.eventually([this] { return !driver.isPanelShown(); })) << key;
    driver.program().window.quickWindow()->requestActivate();
    ASSERT_TRUE(driver.eventually([this] { return driver.program().window.quickWindow()->isActive(); }));
  }
  for (const auto* key : {"ctrl+n", "ctrl+q"}) {
    driver.key(key);
    ASSERT_TRUE(asks()) << key;
    answer(cancel);
  }
  EXPECT_FALSE(driver.hasQuit());
  driver.key("ctrl+q");
  ASSERT_TRUE(asks());
  driver.click(doNotSave);
  EXPECT_TRUE(driver.eventually([this] { return driver.hasQuit(); }));
}

TEST_F(Menus, ModeAndLearnHaveKeysOfTheirOwn) {
  driver.key("ctrl+shift+m");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().isLearning(); }));
  driver.key("ctrl+shift+m");
  EXPECT_TRUE(driver.eventually([this] { return !driver.session().isLearning(); }));
  driver.key("ctrl+shift+l");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().isLive(); }));
  driver.key("ctrl+shift+e");
  EXPECT_TRUE(driver.eventually([this] { return !driver.session().isLive(); }));
}

// A save that is held would push every older copy out, and each is work that notes have to wait for.
TEST_F(Menus, AKeyThatIsHeldActsOnce) {
  driver.click("strip0", {0.5, 0.2});
  driver.holdKey("ctrl+d");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("strip1"); }));
  const auto strips =
      driver.fromLogic<std::size_t>([](Session& session) { return session.engine().channels().size(); });
  EXPECT_EQ(strips, 2U);
}

TEST_F(Menus, InLiveModeWhatArrangesTheSetlistIsDisabledAndDoesNothing) {
  driver.key("ctrl+shift+l");
  ASSERT_TRUE(driver.eventually([this] { return driver.session().isLive(); }));
  for (const auto* key : {"ctrl+n", "ctrl+o", "ctrl+shift+s"}) {
    driver.key(key);
  }
  driver.click("File");
  for (const auto* line : {"New Setlist", "Open Setlist...", "Save As..."}) {
    ASSERT_TRUE(driver.eventually([&] { return driver.isShown(line); })) << line;
    EXPECT_FALSE(driver.value(line, "enabled").toBool()) << line;
  }
  EXPECT_TRUE(driver.value("Save", "enabled").toBool());
  driver.click("New Setlist");
  driver.key("Escape");
  // What comes after all of these has come through.
  driver.click("masterMute");
  ASSERT_TRUE(driver.eventually([this] {
    return driver.fromLogic<bool>([](Session& session) { return session.engine().masterChannel()->mute.get(); });
  }));
  EXPECT_FALSE(alertIsShown());
  EXPECT_FALSE(driver.isPanelShown());
}

}  // namespace
}  // namespace vrel::app::test
