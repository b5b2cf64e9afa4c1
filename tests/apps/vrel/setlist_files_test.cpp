// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QMessageBox>
#include <QQuickWindow>
#include <QTimer>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "apps/vrel/console_fixture.h"
#include "system/files/user_folders.h"
#include "system/plugins/sandboxed_node.h"

namespace vrel::app::test {
namespace {

using Names = std::vector<std::string>;

std::string textOf(const std::filesystem::path& file) {
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

class SetlistFile : public ConsoleFixture {
 protected:
  /// The window manager closes the window, and the question is open.
  void askToQuit() {
    driver.program().window.quickWindow()->close();
    ASSERT_TRUE(driver.eventually([this] { return alertIsShown(); }));
  }

  void load(const std::filesystem::path& setlist) {
    driver.onLogic([&](Session& session) { session.content().setlistFiles().loadSetlist(setlist); });
  }

  /// A copy of the example: its first song has two instruments in processes of their own.
  [[nodiscard]] std::filesystem::path example() const {
    const auto copy = driver.home() / "example.vrel";
    std::filesystem::copy_file(VREL_EXAMPLE_SETLIST, copy);
    return copy;
  }

  const std::filesystem::path file = driver.home() / "gig.vrel";
};

TEST_F(SetlistFile, SavingOnTheWayOutAsksForAFileWhereThereIsNoneAndThenEnds) {
  askToQuit();
  driver.click("alertButton0");
  driver.answerPanel(file);
  EXPECT_TRUE(driver.eventually([this] { return driver.hasQuit(); }));
  EXPECT_NE(textOf(file).find("01. Untitled Song"), std::string::npos);
}

TEST_F(SetlistFile, APanelThatIsCancelledOnTheWayOutKeepsTheProgram) {
  askToQuit();
  driver.click("alertButton0");
  driver.cancelPanel();
  ASSERT_TRUE(driver.eventually([this] { return !driver.isPanelShown(); }));
  driver.program().window.quickWindow()->requestActivate();
  driver.click("tempoUp");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().tempoBpm() == 121; }));
  EXPECT_FALSE(driver.hasQuit());
  EXPECT_FALSE(alertIsShown());
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(SetlistFile, UnsavedEditsOfARunThatWasKilledAreOfferedByTheirSongsAndOpened) {
  const auto folder = system::userUnsavedFolder();
  const std::string killedRun = "999999999-1";
  std::filesystem::create_directories(folder);
  std::filesystem::copy_file(VREL_EXAMPLE_SETLIST, folder / (killedRun + ".vrel"));
  std::ofstream(folder / (killedRun + ".path")) << file.string();
  driver.program().offerUnsavedEdits();
  ASSERT_TRUE(driver.eventually([this] { return alertIsShown(); }));
  driver.onLogic([](Session& session) { EXPECT_EQ(session.state().songs.get().size(), 1U); });
  driver.click("alertButton0");
  EXPECT_TRUE(driver.eventually([this] { return songNames().size() == 3; }));
  driver.onLogic([this](Session& session) {
    EXPECT_EQ(session.state().currentFilePath.get(), file);
    EXPECT_TRUE(session.state().isDirty.get());
  });
  EXPECT_FALSE(std::filesystem::exists(file)) << "nothing but a save writes there";
  driver.close();
  std::filesystem::remove_all(folder);
  driver.open();
}

TEST_F(SetlistFile, ANameWithoutAnExtensionGetsOne) {
  askToQuit();
  driver.click("alertButton0");
  driver.answerPanel(driver.home() / "evening");
  EXPECT_TRUE(driver.eventually([this] { return driver.hasQuit(); }));
  EXPECT_TRUE(std::filesystem::exists(driver.home() / "evening.vrel"));
}

TEST_F(SetlistFile, DotsInANameAreNotAnExtension) {
  askToQuit();
  driver.click("alertButton0");
  driver.answerPanel(driver.home() / "01. Friday 20.11");
  EXPECT_TRUE(driver.eventually([this] { return driver.hasQuit(); }));
  EXPECT_TRUE(std::filesystem::exists(driver.home() / "01. Friday 20.11.vrel"));
  EXPECT_FALSE(std::filesystem::exists(driver.home() / "01. Friday 20.11"));
}

TEST_F(SetlistFile, AnExistingOneIsNotReplacedUnaskedUnderAnUnfinishedName) {
  const auto existing = driver.home() / "01. Friday.vrel";
  std::ofstream(existing) << "mine";
  askToQuit();
  driver.click("alertButton0");
  // The question has a loop of its own, in which the driver waits until it is answered.
  bool isAskedAbout = false;
  QTimer answering;
  QObject::connect(&answering, &QTimer::timeout, [&isAskedAbout] {
    if (auto* const question = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
      isAskedAbout = question->text().contains(QStringLiteral("01. Friday.vrel"));
      question->button(QMessageBox::No)->click();
    }
  });
  answering.start(20);
  driver.answerPanel(driver.home() / "01. Friday");
  EXPECT_TRUE(driver.eventually([&isAskedAbout] { return isAskedAbout; }));
  EXPECT_TRUE(driver.isPanelShown());
  EXPECT_EQ(textOf(existing), "mine");
  EXPECT_FALSE(driver.hasQuit());
}

TEST_F(SetlistFile, ThePanelAndItsListOfPlacesAreInTheLanguageOfTheSession) {
  driver.onLogic([](Session& session) { session.content().setLanguage(Language::spanish); });
  ASSERT_TRUE(driver.eventually([this] { return driver.texts().language() == static_cast<int>(Language::spanish); }));
  askToQuit();
  driver.click("alertButton0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isPanelShown(); }));
  QComboBox* places = nullptr;
  for (QWidget* const window : QApplication::topLevelWidgets()) {
    places = places == nullptr ? window->findChild<QComboBox*>(QStringLiteral("lookInCombo")) : places;
  }
  ASSERT_NE(places, nullptr);
  places->showPopup();
  QStringList listed;
  for (int row = 0; row < places->count(); ++row) {
    listed.append(places->itemText(row));
  }
  places->hidePopup();
  EXPECT_TRUE(listed.contains(QStringLiteral("Equipo"))) << listed.join(QLatin1Char('|')).toStdString();
  EXPECT_FALSE(listed.contains(QStringLiteral("Computer")));
  driver.cancelPanel();
}

TEST_F(SetlistFile, ADamagedFileLeavesEverythingAndTheLineSaysWhereItsCopiesAre) {
  for (int save = 0; save < 2; ++save) {  // the second keeps a copy of the first
    driver.onLogic([this](Session& session) { session.content().setlistFiles().writeSetlist(file); });
  }
  std::ofstream(file) << "{ \"songs\": [";
  driver.click("tempoUp");
  ASSERT_TRUE(driver.eventually([this] { return driver.session().tempoBpm() == 121; }));
  load(file);
  EXPECT_TRUE(driver.eventually([this] {
    return driver.session().problem().startsWith(QStringLiteral("Earlier versions of it are kept in "));
  })) << driver.session().problem().toStdString();
  EXPECT_TRUE(driver.isShown("problems"));
  const std::filesystem::path copies = driver.session().problem().section(QStringLiteral(" in "), -1).toStdString();
  EXPECT_TRUE(std::filesystem::is_directory(copies)) << copies;
  EXPECT_EQ(songNames(), Names{"01. Untitled Song"});
  EXPECT_EQ(driver.session().tempoBpm(), 121);
}

TEST_F(SetlistFile, TheNewestCopyOfADamagedOneIsOpenedByAButtonAndSavedToItsPlace) {
  for (int save = 0; save < 2; ++save) {  // the second keeps a copy of the first
    driver.onLogic([this](Session& session) { session.content().setlistFiles().writeSetlist(file); });
  }
  std::ofstream(file) << "{ \"songs\": [";
  EXPECT_FALSE(driver.isShown("openNewestCopy"));
  load(file);
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("openNewestCopy"); }));
  driver.click("openNewestCopy");
  ASSERT_TRUE(driver.eventually([this] { return alertIsShown(); }));
  driver.click("alertButton1");
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("openNewestCopy"); }));
  EXPECT_TRUE(driver.session().isDirty());
  EXPECT_EQ(driver.session().fileName(), QStringLiteral("gig.vrel"));
  driver.onLogic([](Session& session) { session.content().setlistFiles().saveSetlist(); });
  EXPECT_TRUE(driver.eventually([this] { return !driver.session().isDirty(); }));
  EXPECT_NE(textOf(file).find("01. Untitled Song"), std::string::npos);
}

TEST_F(SetlistFile, AKeptVersionIsRestoredFromItsPage) {
  for (const unsigned tempo : {90U, 91U, 92U}) {
    driver.onLogic([&](Session& session) {
      session.content().tempo().setTempo(tempo);
      session.content().setlistFiles().writeSetlist(file);
    });
  }
  driver.onLogic([](Session& session) { session.content().keptCopies().open(); });
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("copiesPanel") && driver.isShown("restore1"); }));
  driver.click("restore1");
  ASSERT_TRUE(driver.eventually([this] { return alertIsShown(); }));
  driver.click("alertButton1");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().tempoBpm() == 90 && driver.session().isDirty(); }));
  EXPECT_FALSE(driver.isShown("copiesPanel"));
  EXPECT_EQ(driver.session().fileName(), QStringLiteral("gig.vrel"));
}

TEST_F(SetlistFile, IsCheckedByARunBesideTheConsoleAndThePageSaysWhatWasFound) {
  driver.onLogic([](Session& session) { session.content().setlistChecker().open(); });
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("checked1"); }));
  EXPECT_EQ(driver.value("checkStatus", "text").toString(), QStringLiteral("Errors: 0, warnings: 1"));
  EXPECT_TRUE(driver.session().fileName().isEmpty());
  driver.click("checkPanelClose");
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("checkPanel"); }));
}

TEST_F(SetlistFile, OnceItsInstrumentsAreLoadedNothingCoversTheStrips) {
  load(example());
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("strip1"); }));
  EXPECT_TRUE(
      driver.eventually([this] { return !driver.isShown("loadingModal") && driver.session().remainingLoads() == 0; }));
  EXPECT_EQ(driver.session().fileName(), QStringLiteral("example.vrel"));
}

TEST_F(SetlistFile, APluginThatCrashesIsShownOnItsStripAndTheOthersRunOn) {
  load(example());
  const auto isRunning = [this](std::size_t strip) {
    return driver.fromLogic<bool>([strip](Session& session) {
      const auto& channels = session.engine().channels();
      return channels.size() == 2 && channels[strip]->status.get() == ChannelStatus::running;
    });
  };
  ASSERT_TRUE(driver.eventually([&] { return isRunning(0) && isRunning(1); }));
  const int process = driver.fromLogic<int>([](Session& session) {
    const auto* const node = dynamic_cast<SandboxedNode*>(session.engine().channels()[0]->instrumentNode.get().get());
    return node != nullptr ? node->processId() : 0;
  });
  ASSERT_GT(process, 1);
  ::kill(process, SIGKILL);
  EXPECT_TRUE(driver.eventually([&] { return driver.isShown("failure0"); }));
  EXPECT_TRUE(driver.eventually([&] { return driver.strip(0).statusText() == QStringLiteral("CRASHED"); }));
  EXPECT_FALSE(driver.isShown("failure1"));
  EXPECT_TRUE(isRunning(1));
}

}  // namespace
}  // namespace vrel::app::test
