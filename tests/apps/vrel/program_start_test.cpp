// SPDX-License-Identifier: GPL-3.0-or-later
// How the program starts from outside, a second time too, and what a run leaves in the state folder.

#include <gtest/gtest.h>

#include <QProcess>
#include <QQuickWindow>
#include <QStringList>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "apps/vrel/whole_program.h"
#include "vrel/ui_thread.h"

namespace vrel::app::test {
namespace {

namespace fs = std::filesystem;

/// Started with a setlist.
class ProgramStart : public WholeProgram {
 protected:
  void SetUp() override {
    fs::copy_file(VREL_EXAMPLE_SETLIST, driver.home() / "first.vrel");
    fs::copy_file(VREL_EXAMPLE_SETLIST, driver.home() / "second.vrel");
    WholeProgram::SetUp();
  }

  [[nodiscard]] QStringList arguments() override {
    return {QString::fromStdString((driver.home() / "first.vrel").string())};
  }

  [[nodiscard]] fs::path state() const { return driver.home() / ".local" / "state" / "vrel"; }

  static std::string textOf(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  /// What this ends with is in the folder of the logs.
  [[nodiscard]] std::vector<fs::path> logs(const std::string& ending) const {
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(state() / "logs")) {
      if (entry.path().string().ends_with(ending)) {
        found.push_back(entry.path());
      }
    }
    return found;
  }

  [[nodiscard]] bool isRecent(const std::string& file) const {
    return textOf(state() / "recent_setlists.json").find(file) != std::string::npos;
  }
  bool hasOpened(const std::string& file) {
    return driver.eventually([&] { return isRecent(file); });
  }
};

TEST_F(ProgramStart, OpensItsSetlistAndASecondStartHandsOverAnotherWhichIsAskedAbout) {
  ASSERT_TRUE(opens());
  ASSERT_TRUE(hasOpened("first.vrel"));
  QProcess second;
  second.setProcessEnvironment(program.processEnvironment());
  second.setWorkingDirectory(QString::fromStdString(driver.home().string()));
  second.start(QStringLiteral(VREL_PROGRAM), {QStringLiteral("second.vrel")});
  ASSERT_TRUE(second.waitForFinished());
  EXPECT_EQ(second.exitStatus(), QProcess::NormalExit);
  EXPECT_EQ(second.exitCode(), 0) << second.readAllStandardError().toStdString();
  EXPECT_TRUE(driver.eventually([this] {
    // It may be the loading of the first that dims the window: then the keys do nothing.
    if (showsPanic() && !showsWords()) {
      press("Tab");
      press("space");
    }
    return isRecent("second.vrel");
  }));
  EXPECT_EQ(program.state(), QProcess::Running);
}

TEST_F(ProgramStart, ARunThatCrashesLeavesItsLogAndATrace) {
  ASSERT_TRUE(opens());
  ASSERT_EQ(logs(".log").size(), 1U);
  EXPECT_NE(textOf(logs(".log")[0]).find(" VREL "), std::string::npos);
  EXPECT_TRUE(logs(".crash").empty());
  ::kill(static_cast<pid_t>(program.processId()), SIGABRT);
  ASSERT_TRUE(ends());
  EXPECT_EQ(program.exitStatus(), QProcess::CrashExit);
  ASSERT_EQ(logs(".crash").size(), 1U);
  EXPECT_EQ(textOf(logs(".crash")[0]).substr(0, 7), "SIGABRT");
}

TEST(StartOfTheWindow, IsHeldUpByNothingThatTheLogicWaitsFor) {
  ConsoleDriver driver;  // the screen
  UiThread window([](auto) {}, [](auto) {});
  window.open();
  EXPECT_TRUE(driver.eventually([&] { return window.quickWindow() != nullptr && window.quickWindow()->isExposed(); }));
  EXPECT_EQ(ConsoleDriver::takeQmlWarnings(), std::vector<std::string>());
}

}  // namespace
}  // namespace vrel::app::test
