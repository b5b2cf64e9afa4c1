// SPDX-License-Identifier: GPL-3.0-or-later
// How the program ends: what stands at that time, what is under way, and who asks for it.

#include <gtest/gtest.h>
#include <unistd.h>

#include <QApplication>
#include <QColor>
#include <QCoreApplication>
#include <QEvent>
#include <QImage>
#include <QPixmap>
#include <QProcess>
#include <QProcessEnvironment>
#include <QQuickWindow>
#include <QScreen>
#include <QString>
#include <QStringList>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "console_fixture.h"
#include "sandbox/processes.h"
#include "vrel/end_signals.h"

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
    driver.onLogic([](Program&) {});
  }
};

TEST_F(ProgramEnd, AQuestionThatStandsEndsWithTheProgram) {
  askToQuit();
  ASSERT_TRUE(asks());
  driver.close();
  driver.open();
  EXPECT_FALSE(alertIsShown());
}

TEST_F(ProgramEnd, AFilePanelThatStandsGoesWithTheProgram) {
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

TEST_F(ProgramEnd, AskedForTwiceTheQuestionStandsOnce) {
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
  const EndSignals signals([this] { driver.program().systemEnds(); });
  ::raise(SIGTERM);
  ASSERT_TRUE(asks());
  EXPECT_EQ(driver.value("alertMessage", "text").toString(), QStringLiteral("Guardar el setlist antes de salir?"));
  driver.click("alertButton1");
  EXPECT_TRUE(driver.eventually([this] { return driver.hasQuit(); }));
}

TEST_F(ProgramEnd, InstrumentsThatAreStillLoadingAreGoneWithIt) {
  for (int round = 0; round < 3; ++round) {
    driver.onLogic([](Program& program) { program.content().setlistFiles().loadSetlist(VREL_EXAMPLE_SETLIST); });
    ASSERT_TRUE(driver.eventually([] { return sandbox::childrenOf(::getpid()).size() > 1; }));
    driver.close();
    EXPECT_EQ(sandbox::childrenOf(::getpid()).size(), 1U) << "beside the X server";
    driver.open();
  }
}

/// Work that posts itself again, so that some is always left. It tells on which thread the last of it went.
class Leftover {
 public:
  Leftover(LogicSide& logic, std::thread::id& endedOn) : logic_(logic), ended_(std::make_shared<Ended>(endedOn)) {}

  void operator()() const { logic_.post(*this); }

 private:
  struct Ended {
    explicit Ended(std::thread::id& thread) : endedOn(thread) {}
    ~Ended() { endedOn = std::this_thread::get_id(); }
    Ended(const Ended&) = delete;
    Ended& operator=(const Ended&) = delete;
    std::thread::id& endedOn;
  };

  LogicSide& logic_;
  std::shared_ptr<Ended> ended_;
};

TEST_F(ProgramEnd, WorkThatIsLeftGoesOnTheThreadThatWouldHaveRunIt) {
  const auto mainThread = driver.fromLogic<std::thread::id>([](Program&) { return std::this_thread::get_id(); });
  std::thread::id endedOn;
  driver.program().logic.post(Leftover(driver.program().logic, endedOn));
  driver.close();
  EXPECT_EQ(endedOn, mainThread);
}

/// The program as it is built, in a process of its own on the same screen.
class WholeProgram : public testing::Test {
 protected:
  WholeProgram() {
    program.setStandardOutputFile(QString::fromStdString(driver.home() / "vrel.log"));
    program.setProcessChannelMode(QProcess::MergedChannels);
    // What the libraries under the window keep is known, and told to the tests' own process only.
    auto environment = QProcessEnvironment::systemEnvironment();
    const QString sanitizer = QStringLiteral("ASAN_OPTIONS");
    environment.insert(sanitizer, environment.value(sanitizer) + QStringLiteral(":detect_leaks=0"));
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(VREL_PROGRAM), QStringList());
  }

  ~WholeProgram() override {
    program.kill();
    program.waitForFinished();
  }

  /// By its one control that shines red from afar, until a question dims it.
  [[nodiscard]] static bool showsPanic() {
    const QImage corner = QGuiApplication::primaryScreen()->grabWindow(0, 1140, 50, 300, 100).toImage();
    int red = 0;
    for (int y = 0; y < corner.height(); ++y) {
      for (int x = 0; x < corner.width(); ++x) {
        const QColor color = corner.pixelColor(x, y);
        red += color.red() > 180 && color.green() < 80 && color.blue() < 80 ? 1 : 0;
      }
    }
    return red > 1000;
  }

  bool opens() {
    return driver.eventually([] { return showsPanic(); });
  }
  bool asks() {
    return driver.eventually([] { return !showsPanic(); });
  }
  bool ends() {
    return driver.eventually([this] { return program.state() == QProcess::NotRunning; });
  }
  /// There is no window manager to give the window the keyboard.
  static void press(const std::string& key) {
    const std::string window = "xdotool search --onlyvisible --name VREL";
    EXPECT_EQ(std::system((window + " windowfocus key " + key + " 2>/dev/null").c_str()), 0);
  }

  ConsoleDriver driver;  // the screen and a home
  QProcess program;
};

TEST_F(WholeProgram, EndsWellWhenItsQuestionIsAnswered) {
  ASSERT_TRUE(opens());
  // It may not have its menus yet.
  ASSERT_TRUE(driver.eventually([] {
    press("ctrl+q");
    return !showsPanic();
  }));
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
