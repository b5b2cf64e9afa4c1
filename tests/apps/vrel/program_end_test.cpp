// SPDX-License-Identifier: GPL-3.0-or-later
// How the program ends: open questions, running work, and who requests it.

#include <gtest/gtest.h>
#include <unistd.h>

#include <QApplication>
#include <QCoreApplication>
#include <QEvent>
#include <QProcess>
#include <QQuickWindow>
#include <QString>
#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "apps/vrel/console_fixture.h"
#include "apps/vrel/whole_program.h"
#include "system/plugins/sandbox/processes.h"
#include "vrel/termination.h"

namespace vrel::app::test {
namespace {

class ProgramEnd : public ConsoleFixture {
 protected:
  void askToQuit() { driver.program().window.quickWindow()->close(); }

  bool asks() {
    return driver.eventually([this] { return alertIsShown(); });
  }

  /// Every command before has come through.
  void letCommandsPass() {
    driver.onLogic([](Session&) {});
  }
};

TEST_F(ProgramEnd, AnOpenQuestionEndsWithTheProgram) {
  askToQuit();
  ASSERT_TRUE(asks());
  driver.close();
  driver.open();
  EXPECT_FALSE(alertIsShown());
}

TEST_F(ProgramEnd, AnOpenFilePanelClosesWithTheProgram) {
  driver.key("ctrl+o");
  ASSERT_TRUE(driver.eventually([this] { return driver.isPanelShown(); }));
  driver.close();
  EXPECT_FALSE(driver.isPanelShown());
  driver.open();
  EXPECT_EQ(songNames(), std::vector<std::string>{"01. Untitled Song"});
}

TEST_F(ProgramEnd, AQuestionIsNotHiddenByAFilePanel) {
  driver.key("ctrl+o");
  ASSERT_TRUE(driver.eventually([this] { return driver.isPanelShown(); }));
  driver.program().systemEnds();
  ASSERT_TRUE(asks());
  ASSERT_TRUE(driver.eventually([this] { return !driver.isPanelShown(); }));
  driver.click("alertButton2");
  EXPECT_TRUE(driver.eventually([this] { return !alertIsShown(); }));
  EXPECT_EQ(songNames(), std::vector<std::string>{"01. Untitled Song"});
}

TEST_F(ProgramEnd, ASessionThatEndsAsksAsTheWindowDoes) {
  QEvent end(QEvent::Quit);
  QCoreApplication::sendEvent(qApp, &end);
  EXPECT_FALSE(end.isAccepted());
  ASSERT_TRUE(asks());
  driver.click("alertButton1");
  EXPECT_TRUE(driver.eventually([this] { return driver.hasQuit(); }));
}

TEST_F(ProgramEnd, RequestedTwiceTheQuestionIsShownOnce) {
  askToQuit();
  ASSERT_TRUE(asks());
  askToQuit();
  driver.program().systemEnds();
  letCommandsPass();
  driver.click("alertButton2");
  ASSERT_TRUE(driver.eventually([this] { return !alertIsShown(); }));
  letCommandsPass();
  EXPECT_FALSE(alertIsShown());
  EXPECT_FALSE(driver.hasQuit());
}

TEST_F(ProgramEnd, AQuestionInsideAnotherIsAnsweredFirstAndItsYesEndsBoth) {
  driver.key("ctrl+n");
  ASSERT_TRUE(asks());
  askToQuit();
  ASSERT_TRUE(driver.eventually([this] {
    return driver.value("alertMessage", "text").toString() == QStringLiteral("Guardar el setlist antes de salir?");
  }));
  driver.click("alertButton1");
  EXPECT_TRUE(driver.eventually([this] { return driver.hasQuit(); }));
  driver.close();
}

TEST_F(ProgramEnd, ASignalAsksAsTheWindowDoes) {
  const TerminationSignals signals([this] { driver.program().systemEnds(); });
  ::raise(SIGTERM);
  ASSERT_TRUE(asks());
  EXPECT_EQ(driver.value("alertMessage", "text").toString(), QStringLiteral("Guardar el setlist antes de salir?"));
  driver.click("alertButton1");
  EXPECT_TRUE(driver.eventually([this] { return driver.hasQuit(); }));
}

TEST_F(ProgramEnd, InstrumentsThatAreStillLoadingAreGoneWithIt) {
  for (int round = 0; round < 3; ++round) {
    driver.onLogic([](Session& session) { session.content().setlistFiles().loadSetlist(VREL_EXAMPLE_SETLIST); });
    ASSERT_TRUE(driver.eventually([] { return sandbox::childrenOf(::getpid()).size() > 1; }));
    driver.close();
    EXPECT_EQ(sandbox::childrenOf(::getpid()).size(), 1U) << "beside the X server";
    driver.open();
  }
}

/// Work that posts itself again, so that some is always left. It records on which thread the last of it was destroyed.
class Leftover {
 public:
  Leftover(LogicThread& logic, std::thread::id& endedOn) : logic_(logic), ended_(std::make_shared<Ended>(endedOn)) {}

  void operator()() const { logic_.post(*this); }

 private:
  struct Ended {
    explicit Ended(std::thread::id& thread) : endedOn(thread) {}
    ~Ended() { endedOn = std::this_thread::get_id(); }
    Ended(const Ended&) = delete;
    Ended& operator=(const Ended&) = delete;
    std::thread::id& endedOn;
  };

  LogicThread& logic_;
  std::shared_ptr<Ended> ended_;
};

TEST_F(ProgramEnd, WorkThatIsLeftGoesOnTheThreadThatWouldHaveRunIt) {
  const auto mainThread = driver.fromLogic<std::thread::id>([](Session&) { return std::this_thread::get_id(); });
  std::thread::id endedOn;
  driver.program().logic.post(Leftover(driver.program().logic, endedOn));
  driver.close();
  EXPECT_EQ(endedOn, mainThread);
}

TEST_F(WholeProgram, EndsWellWhenItsQuestionIsAnswered) {
  ASSERT_TRUE(opens());
  ASSERT_TRUE(asksOnQuit());
  press("Tab");
  press("space");
  ASSERT_TRUE(ends());
  EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
  EXPECT_EQ(program.exitCode(), 0);
}

TEST_F(WholeProgram, AsksAtTheFirstSignalAndEndsAtTheSecond) {
  ASSERT_TRUE(opens());
  program.terminate();
  ASSERT_TRUE(asks());
  EXPECT_EQ(program.state(), QProcess::Running);
  program.terminate();
  ASSERT_TRUE(ends());
  EXPECT_EQ(program.exitStatus(), QProcess::CrashExit);
}

}  // namespace
}  // namespace vrel::app::test
