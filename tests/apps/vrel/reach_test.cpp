// SPDX-License-Identifier: GPL-3.0-or-later
// What must be at hand, whatever is open: panic, the caret and the keys, the panels for files.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QColor>
#include <QFileDialog>
#include <QQuickItem>
#include <QQuickWindow>
#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "apps/vrel/console_fixture.h"

namespace vrel::app::test {
namespace {

class Reach : public ConsoleFixture {
 protected:
  void holdANote() {
    driver.onLogic([](Session& session) { session.state().pressedNotes.set({60}); });
  }
  bool isSilenced() {
    return driver.eventually([this] {
      return driver.fromLogic<bool>([](Session& session) { return session.state().pressedNotes.get().empty(); });
    });
  }
  bool hasFocus(const std::string& name) { return driver.find(name) != nullptr && driver.find(name)->hasActiveFocus(); }
  void goLive() {
    driver.click("liveButton");
    ASSERT_TRUE(driver.eventually([this] { return driver.session().isLive(); }));
  }
  [[nodiscard]] static QFileDialog* panel() {
    for (auto* const widget : QApplication::topLevelWidgets()) {
      if (widget->isVisible() && widget->objectName() == QLatin1String("filePanel")) {
        return qobject_cast<QFileDialog*>(widget);
      }
    }
    return nullptr;
  }
  void askForFile() {
    driver.key("ctrl+o");
    ASSERT_TRUE(driver.eventually([this] { return driver.isPanelShown(); }));
  }
  void addSong(const std::string& name) {
    driver.onLogic([&](Session& session) {
      session.state().newSongName.set(name);
      session.content().songList().addSong();
    });
  }
};

TEST_F(Reach, PanicActsAtTheFirstPressWhileAMenuIsOpen) {
  driver.click("File");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("Open Setlist..."); }));
  holdANote();
  driver.click("panicButton");
  EXPECT_TRUE(isSilenced());
}

TEST_F(Reach, PanicActsAtTheFirstPressWhileAQuestionIsOpen) {
  driver.program().window.quickWindow()->close();
  ASSERT_TRUE(driver.eventually([this] { return alertIsShown(); }));
  holdANote();
  driver.click("panicButton");
  EXPECT_TRUE(isSilenced());
  EXPECT_TRUE(alertIsShown());
  driver.key("Escape");
  EXPECT_TRUE(driver.eventually([this] { return !alertIsShown(); }));
}

TEST_F(Reach, PanicActsAtTheFirstPressWhileAFileIsAskedFor) {
  askForFile();
  panel()->move(0, 200);
  holdANote();
  driver.click("panicButton");
  EXPECT_TRUE(isSilenced());
  EXPECT_TRUE(driver.isPanelShown());
  driver.cancelPanel();
}

TEST_F(Reach, InLiveModeTheKeysOfPanicActWhileAQuestionIsOpen) {
  goLive();
  driver.program().window.quickWindow()->close();
  ASSERT_TRUE(driver.eventually([this] { return alertIsShown(); }));
  for (const auto* key : {"p", "space"}) {
    holdANote();
    driver.key(key);
    EXPECT_TRUE(isSilenced()) << key;
  }
  EXPECT_TRUE(alertIsShown());
  driver.key("1");
  EXPECT_FALSE(driver.fromLogic<bool>([](Session& session) { return session.engine().channels()[0]->mute.get(); }));
}

TEST_F(Reach, InLiveModeTheTempoTakesItsDigitsAndGivesThemBackWithReturn) {
  goLive();
  driver.click("tempoField");
  driver.key("ctrl+a");
  driver.type("98");
  holdANote();
  driver.key("p");
  EXPECT_TRUE(isSilenced()) << "only the digits are its own";
  driver.key("Return");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().tempoBpm() == 98; }));
  EXPECT_FALSE(hasFocus("tempoField"));
  driver.key("1");
  EXPECT_TRUE(driver.eventually([this] {
    return driver.fromLogic<bool>([](Session& session) { return session.engine().channels()[0]->mute.get(); });
  }));
}

TEST_F(Reach, InLiveModeTheNotesTakeWhatIsTypedUntilEscape) {
  goLive();
  driver.click("notesArea");
  driver.type("p 1");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().songNotes() == QStringLiteral("p 1"); }));
  driver.key("Escape");
  holdANote();
  driver.key("p");
  EXPECT_TRUE(isSilenced());
  EXPECT_EQ(driver.session().songNotes(), QStringLiteral("p 1"));
}

TEST_F(Reach, TabLeavesTheNotesAndTypesNothingIntoThem) {
  driver.click("notesArea");
  driver.type("a");
  driver.key("Tab");
  EXPECT_TRUE(driver.eventually([this] { return !hasFocus("notesArea"); }));
  EXPECT_EQ(driver.value("notesArea", "text").toString(), QStringLiteral("a"));
}

TEST_F(Reach, APressOnEmptySpaceDropsTheCaret) {
  for (const auto* field : {"notesArea", "tempoField", "newSongField"}) {
    driver.click(field);
    ASSERT_TRUE(driver.eventually([&] { return hasFocus(field); })) << field;
    driver.click("songList", {0.5, 0.95});
    EXPECT_TRUE(driver.eventually([&] { return !hasFocus(field); })) << field;
  }
}

TEST_F(Reach, AMenuTitleDoesNotStayLitAfterEscape) {
  const auto ground = [this] {
    auto* const title = driver.find("menu0");
    auto* const item = title != nullptr ? title->property("background").value<QQuickItem*>() : nullptr;
    return item != nullptr ? item->property("color").value<QColor>() : QColor();
  };
  driver.click("menu0");
  ASSERT_TRUE(driver.eventually([&] { return ground().alpha() == 255; }));
  driver.key("Escape");
  EXPECT_TRUE(driver.eventually([&] { return ground().alpha() == 0; }));
}

TEST_F(Reach, SongsAreChosenRenamedAndListedByKeys) {
  addSong("Two");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("songRow1"); }));
  driver.find("songList")->forceActiveFocus(Qt::TabFocusReason);
  driver.key("Down");
  EXPECT_EQ(driver.session().selectedSongIndex(), 0) << "the arrows only move";
  driver.key("Return");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().selectedSongIndex() == 1; }));
  driver.key("shift+F10");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("songMenuRename"); }));
  driver.key("Escape");
  EXPECT_TRUE(driver.eventually([this] { return hasFocus("songList") && !driver.isShown("songMenuRename"); }));
  driver.key("F2");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("songNameField"); }));
}

TEST_F(Reach, ASongThatWasAddedIsInSight) {
  for (int song = 0; song < 40; ++song) {
    addSong("Song");
  }
  ASSERT_TRUE(driver.eventually([this] { return driver.value("songList", "count").toInt() == 41; }));
  driver.click("newSongField");
  driver.type("Last");
  driver.key("Return");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("songRow41"); }));
}

TEST_F(Reach, ASongInTheHandIsReadableAndGoesWithThePointerWithoutAJump) {
  addSong("Two");
  addSong("Three");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("songRow2"); }));
  auto* const window = driver.program().window.quickWindow();
  auto* const lifted = window->findChild<QQuickItem*>(QStringLiteral("liftedSong"));
  ASSERT_NE(lifted, nullptr);
  std::vector<qreal> places;
  QString name;
  bool isOpaque = true;
  const auto watch = QObject::connect(lifted, &QQuickItem::yChanged, lifted, [&] {
    if (lifted->isVisible()) {
      places.push_back(lifted->y());
      name = lifted->property("name").toString();
      isOpaque = isOpaque && lifted->opacity() == 1 && lifted->property("color").value<QColor>().alpha() == 255;
    }
  });
  driver.drag("songHandle2", "songHandle0");
  QObject::disconnect(watch);
  EXPECT_EQ(name, QStringLiteral("03. Three"));
  EXPECT_TRUE(isOpaque);
  ASSERT_GT(places.size(), 3U);
  EXPECT_TRUE(std::is_sorted(places.rbegin(), places.rend())) << "up, as the pointer";
}

TEST_F(Reach, AFilePanelIsInTheLanguageOfTheSessionBesideTheOpenSetlist) {
  const auto shows = driver.home() / "shows";
  std::filesystem::create_directory(shows);
  driver.onLogic([&](Session& session) {
    session.content().setlistFiles().writeSetlist(shows / "gig.vrel");
    session.content().setLanguage(Language::german);
  });
  ASSERT_TRUE(driver.eventually([this] { return driver.texts().language() == static_cast<int>(Language::german); }));
  askForFile();
  EXPECT_EQ(panel()->windowTitle(), QStringLiteral("Öffnen"));
  EXPECT_EQ(panel()->labelText(QFileDialog::Reject), QStringLiteral("Abbrechen"));
  EXPECT_EQ(panel()->directory().absolutePath().toStdString(), shows.string());
  for (const auto* const button : panel()->findChildren<QAbstractButton*>()) {
    if (button->isVisible()) {
      EXPECT_GE(button->height(), 44) << button->text().toStdString();
    }
  }
  driver.cancelPanel();
}

TEST_F(Reach, WhileAFileIsAskedForTheConsoleIsCoveredAndNoSecondPanelOpens) {
  askForFile();
  panel()->move(0, 200);
  const int before = driver.session().tempoBpm();
  driver.click("tempoUp");
  driver.program().window.quickWindow()->requestActivate();
  driver.key("ctrl+o");
  driver.onLogic([](Session& session) { session.content().setlistFiles().openSetlist(); });
  EXPECT_EQ(driver.session().tempoBpm(), before);
  int panels = 0;
  for (const auto* const widget : QApplication::topLevelWidgets()) {
    panels += widget->isVisible() && widget->objectName() == QLatin1String("filePanel") ? 1 : 0;
  }
  EXPECT_EQ(panels, 1);
  driver.cancelPanel();
}

}  // namespace
}  // namespace vrel::app::test
