// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QQuickItem>
#include <QQuickWindow>
#include <optional>
#include <string>
#include <vector>

#include "apps/vrel/console_fixture.h"
#include "apps/vrel/opened_pages.h"
#include "apps/vrel/window_looks.h"
#include "text/text.h"

namespace vrel::app::test {
namespace {

/// The window on a small screen.
class Legibility : public ConsoleFixture {
 protected:
  void SetUp() override {
    ConsoleFixture::SetUp();
    driver.program().window.quickWindow()->resize(1280, 720);
    ASSERT_TRUE(
        driver.eventually([this] { return driver.program().window.quickWindow()->size() == QSize(1280, 720); }));
  }

  void speak(Language language) {
    driver.onLogic([language](Session& session) { session.content().setLanguage(language); });
    ASSERT_TRUE(driver.eventually([&] { return driver.texts().language() == static_cast<int>(language); }));
  }

  void setLive(bool isLive) {
    driver.onLogic([isLive](Session& session) { session.content().liveMode().setLiveMode(isLive); });
    ASSERT_TRUE(driver.eventually([&] { return driver.session().isLive() == isLive; }));
  }

  /// The words that have no room, once the window has come to rest.
  [[nodiscard]] std::vector<std::string> cutOff() {
    constexpr int longAtRest = 20;  // looks in a row, several frames
    std::vector<std::string> words;
    int looks = 0;
    driver.eventually([&] {
      words = WindowLooks(*driver.program().window.quickWindow()->contentItem()).cutOffWords();
      looks = words.empty() ? looks + 1 : 0;
      return looks == longAtRest;
    });
    return words;
  }

  void expectRoomInEveryLanguage() {
    for (const Language language : allLanguages) {
      speak(language);
      EXPECT_EQ(cutOff(), std::vector<std::string>()) << code(language);
    }
  }
};

TEST_F(Legibility, NoWordOfTheConsoleIsCutOffInAnyLanguage) {
  expectRoomInEveryLanguage();
}

TEST_F(Legibility, NeitherIsOneInLiveMode) {
  setLive(true);
  expectRoomInEveryLanguage();
}

TEST_F(Legibility, NorInWhatTheModalAndTheLearnButtonSay) {
  driver.onLogic([](Session& session) {
    session.content().midiLearn().toggleMidiLearnMode();
    session.content().midiLearn().selectMidiLearnTarget({MidiControlKind::panic, std::nullopt});
    session.state().beginLoadingSession(12, std::string(text(TextKey::loadingAudioUnits, Language::german)));
  });
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("loadingModal"); }));
  expectRoomInEveryLanguage();
  driver.onLogic([](Session& session) { session.state().finishLoadingSession(); });
}

TEST_F(Legibility, NorOnAnyPageOrPanel) {
  driver.onLogic(fillPages);
  for (const auto& page : openedPages()) {
    SCOPED_TRACE(page.name);
    driver.onLogic(page.open);
    ASSERT_TRUE(driver.eventually([&] { return driver.isShown(page.first); }));
    expectRoomInEveryLanguage();
    driver.onLogic(page.close);
    ASSERT_TRUE(driver.eventually([&] { return !driver.isShown(page.name); }));
  }
}

TEST_F(Legibility, NorInTheMenus) {
  for (const Language language : allLanguages) {
    speak(language);
    const std::string file(text(TextKey::fileMenu, language));
    ASSERT_TRUE(driver.eventually([&] { return driver.isShown(file) && driver.isShown("menu6"); })) << file;
    for (int place = 0; place <= 6; ++place) {
      driver.click("menu" + std::to_string(place));
      EXPECT_EQ(cutOff(), std::vector<std::string>()) << place << " in " << code(language);
      driver.key("Escape");
    }
  }
}

TEST_F(Legibility, LongNamesOfSongsAndStripsTakeASecondLine) {
  driver.onLogic([](Session& session) {
    session.state().songs.modify(
        [](std::vector<SongConfig>& songs) { songs[0].name = "01. The Long Way Home, Acoustic"; });
    session.engine().channels()[0]->name.set("Electric Piano Soft");
  });
  ASSERT_TRUE(driver.eventually([this] {
    return driver.value("songName0", "lineCount").toInt() == 2 &&
           driver.value("stripNameShown0", "lineCount").toInt() == 2;
  }));
  EXPECT_EQ(cutOff(), std::vector<std::string>());
}

TEST_F(Legibility, AFaderKeepsALengthThatAFingerCanWorkWith) {
  setLive(true);
  driver.onLogic([](Session& session) { session.content().setlistFiles().loadSetlist("/nowhere/at-all.vrel"); });
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("problems"); }));
  EXPECT_GE(driver.value("fader0", "height").toDouble(), 100);
  EXPECT_GE(driver.value("mute0", "height").toDouble(), 44);
  EXPECT_GE(driver.value("mute0", "width").toDouble(), 44);
  EXPECT_GE(driver.value("solo0", "width").toDouble(), 44);
}

TEST_F(Legibility, InLiveModeThreeSongsAreInSight) {
  driver.onLogic([](Session& session) {
    session.state().songs.modify([](std::vector<SongConfig>& songs) { songs.resize(9, songs[0]); });
    session.state().songs.modify([](std::vector<SongConfig>& songs) {
      for (auto& song : songs) {
        song.id = Uuid::fresh();
      }
    });
    session.content().songSwitch().applySong(4);
  });
  setLive(true);
  ASSERT_TRUE(driver.eventually([this] { return driver.session().selectedSongIndex() == 4; }));
  const auto isInSight = [this](const char* row) {
    const auto* const item = driver.find(row);
    const auto* const list = driver.find("songList");
    if (item == nullptr || list == nullptr) {
      return false;
    }
    const QRectF place = item->mapRectToItem(list, item->boundingRect());
    return place.top() >= 0 && place.bottom() <= list->height();
  };
  EXPECT_TRUE(
      driver.eventually([&] { return isInSight("songRow3") && isInSight("songRow4") && isInSight("songRow5"); }));
}

TEST_F(Legibility, TheNotesAreReadFromTheirBeginning) {
  driver.click("notesArea");
  for (int line = 0; line < 20; ++line) {
    driver.key("Return");
  }
  const auto top = [this] {
    return driver.find("notesArea")->parentItem()->parentItem()->property("contentY").toDouble();
  };
  ASSERT_TRUE(driver.eventually([&] { return top() > 0; })) << "the caret is in sight";
  setLive(true);
  EXPECT_TRUE(driver.eventually([&] { return top() == 0; }));
}

}  // namespace
}  // namespace vrel::app::test
