// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QQuickWindow>
#include <QScreen>
#include <QWindow>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "apps/vrel/console_fixture.h"
#include "apps/vrel/window_looks.h"
#include "text/text.h"

namespace vrel::app::test {
namespace {

/// The windows of the Help menu.
class Help : public ConsoleFixture {
 protected:
  void choose(const std::string& menu, const std::string& line) {
    ASSERT_TRUE(driver.eventually([&] { return driver.isShown(menu); }));
    driver.click(menu);
    ASSERT_TRUE(driver.eventually([&] { return driver.isShown(line); }));
    driver.click(line);
  }

  [[nodiscard]] static std::vector<QQuickWindow*> open(const char* name) {
    std::vector<QQuickWindow*> windows;
    for (QWindow* const window : QGuiApplication::topLevelWindows()) {
      if (window->objectName() == QLatin1String(name) && window->isVisible()) {
        windows.push_back(qobject_cast<QQuickWindow*>(window));
      }
    }
    return windows;
  }

  [[nodiscard]] bool opens(const char* name) {
    return driver.eventually([name] { return open(name).size() == 1 && open(name)[0]->isActive(); });
  }
  [[nodiscard]] bool closes(const char* name) {
    return driver.eventually([name] { return open(name).empty(); });
  }

  void speak(Language language) {
    driver.onLogic([language](Session& session) { session.content().setLanguage(language); });
    ASSERT_TRUE(driver.eventually([&] { return driver.texts().language() == static_cast<int>(language); }));
  }
};

TEST_F(Help, ThereIsOneWindowInTheMiddleOfTheScreenInTheLanguageInWhichItWasShownLast) {
  choose("Help", "VREL Help");
  ASSERT_TRUE(opens("helpWindow"));
  QQuickWindow* const first = open("helpWindow")[0];
  EXPECT_EQ(first->title(), QLatin1String("VREL Help"));
  const QPoint off = first->geometry().center() - first->screen()->geometry().center();
  EXPECT_LE(std::abs(off.x()) + std::abs(off.y()), 60) << "but for the frame";
  EXPECT_EQ(driver.value("helpTitle", "text").toString(), QLatin1String("VREL Help"));
  EXPECT_EQ(driver.value("helpSection5", "text").toString(), QLatin1String("Plugins"));

  speak(Language::german);
  EXPECT_EQ(driver.value("helpTitle", "text").toString(), QLatin1String("VREL Help")) << "until it is shown again";
  driver.program().window.quickWindow()->requestActivate();
  choose("Hilfe", "VREL-Hilfe");
  ASSERT_TRUE(driver.eventually([this] { return driver.value("helpTitle", "text").toString() == "VREL-Hilfe"; }));
  ASSERT_TRUE(opens("helpWindow"));
  EXPECT_EQ(open("helpWindow")[0], first);
  EXPECT_EQ(WindowLooks(*first->contentItem()).cutOffWords(), std::vector<std::string>());

  driver.key("Escape");
  EXPECT_TRUE(closes("helpWindow"));
  choose("Hilfe", "VREL-Hilfe");
  ASSERT_TRUE(opens("helpWindow"));
  EXPECT_EQ(open("helpWindow")[0], first) << "closed, not released";
  open("helpWindow")[0]->close();
  EXPECT_TRUE(closes("helpWindow"));
  EXPECT_FALSE(driver.hasQuit());
}

TEST_F(Help, TheKeysOfLiveModeAreOnAPageAndWorkWhileItIsRead) {
  driver.onLogic([](Session& session) { session.content().liveMode().setLiveMode(true); });
  ASSERT_TRUE(driver.eventually([this] { return driver.session().isLive(); }));
  choose("Help", "Keys of Live Mode");
  ASSERT_TRUE(opens("liveKeysWindow"));
  EXPECT_EQ(driver.value("helpSection0", "text").toString(), QLatin1String("P / Space"));
  driver.key("1");
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).mute(); }));
  driver.key("Escape");
  EXPECT_TRUE(closes("liveKeysWindow"));
}

/// With a program of the desktop that opens files and folders.
class HelpFolder : public Help {
 protected:
  void SetUp() override {
    const auto programs = driver.home() / "bin";
    std::filesystem::create_directory(programs);
    std::ofstream(programs / "xdg-open") << "#!/bin/sh\necho \"$1\" >'" << opened().string() << "'\n";
    std::filesystem::permissions(programs / "xdg-open", std::filesystem::perms::owner_all);
    ::setenv("PATH", (programs.string() + ":" + path_).c_str(), 1);
    Help::SetUp();
  }
  ~HelpFolder() override { ::setenv("PATH", path_.c_str(), 1); }

  [[nodiscard]] std::filesystem::path opened() const { return driver.home() / "opened"; }

 private:
  const std::string path_ = std::getenv("PATH");
};

TEST_F(HelpFolder, OfLogsAndCopiesIsMadeAndGivenToTheDesktop) {
  choose("Help", "Folder of Logs and Copies");
  const auto folder = driver.home() / ".local" / "state" / "vrel";
  const auto given = [this] {
    std::string line;
    std::ifstream file(opened());
    std::getline(file, line);
    return line;
  };
  EXPECT_TRUE(driver.eventually([&] { return given() == "file://" + folder.string(); })) << given();
  EXPECT_TRUE(std::filesystem::is_directory(folder));
}

}  // namespace
}  // namespace vrel::app::test
