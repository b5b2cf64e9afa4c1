// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/desktop/window_desktop.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "system/dispatch/main_loop.h"

namespace vrel::system {
namespace {

/// A window that records requests.
class AskedWindow final : public WindowServices {
 public:
  std::vector<PanelAnswer> panels;
  std::vector<std::string> suggestedNames;
  int activations = 0;
  int focusClearings = 0;
  int quits = 0;

  void showOpenPanel(const NSOpenPanel& /*panel*/, PanelAnswer answer) override { panels.push_back(std::move(answer)); }
  void showSavePanel(const NSSavePanel& panel, PanelAnswer answer) override {
    suggestedNames.push_back(panel.suggestedName);
    panels.push_back(std::move(answer));
  }
  void cancelPanels() override {
    for (const auto& answer : std::exchange(panels, {})) {
      answer(std::nullopt);
    }
  }
  void activate() override { ++activations; }
  void clearFocus() override { ++focusClearings; }
  void quit() override { ++quits; }
};

class WindowDesktopTest : public testing::Test {
 protected:
  static NSAlert question(const std::string& text) {
    return {NSAlert::Style::warning, text, "", {"Guardar", "No guardar", "Cancelar"}};
  }

  MainLoop loop;
  AskedWindow window;
  WindowDesktop desktop{loop, window};
};

using Button = std::optional<std::size_t>;

TEST_F(WindowDesktopTest, AnAlertIsShownUntilItIsAnsweredAndOtherWorkGoesOn) {
  bool otherWorkRan = false;
  EXPECT_FALSE(desktop.isAlertShown());
  loop.async([&] {
    EXPECT_EQ(desktop.shownAlert.get(), question("?"));
    EXPECT_TRUE(desktop.isAlertShown());
    otherWorkRan = true;
  });
  loop.async([&] { desktop.answerAlert(1); });
  EXPECT_EQ(desktop.runModal(question("?")), Button(1));
  EXPECT_TRUE(otherWorkRan);
  EXPECT_EQ(desktop.shownAlert.get(), std::nullopt);
}

TEST_F(WindowDesktopTest, AnAlertThatIsDismissedHasNoAnswer) {
  loop.async([&] { desktop.answerAlert(std::nullopt); });
  EXPECT_EQ(desktop.runModal(question("?")), std::nullopt);
}

TEST_F(WindowDesktopTest, AButtonThatIsNotThereAnswersNothing) {
  loop.async([&] {
    desktop.answerAlert(3);
    desktop.answerAlert(2);
    desktop.answerAlert(0);  // too late
  });
  EXPECT_EQ(desktop.runModal(question("?")), Button(2));
  desktop.answerAlert(0);  // no question is open
}

TEST_F(WindowDesktopTest, AQuestionInsideAQuestionIsAnsweredFirst) {
  std::vector<std::string> shown;
  const auto connection = desktop.shownAlert.changed.connect(
      [&](const std::optional<NSAlert>& alert) { shown.push_back(alert ? alert->messageText : ""); });
  Button inner;
  loop.async([&] {
    loop.async([&] { desktop.answerAlert(0); });
    inner = desktop.runModal(question("inner"));
    loop.async([&] { desktop.answerAlert(2); });
  });
  EXPECT_EQ(desktop.runModal(question("outer")), Button(2));
  EXPECT_EQ(inner, Button(0));
  EXPECT_EQ(shown, (std::vector<std::string>{"outer", "inner", "outer", ""}));
}

TEST_F(WindowDesktopTest, APanelBringsItsFileBackOnTheMainQueue) {
  loop.async([&] { loop.async([&] { window.panels.at(0)("/gig.vrel"); }); });
  EXPECT_EQ(desktop.runModal(NSSavePanel{FileType::setlist, "Untitled.vrel"}), std::filesystem::path("/gig.vrel"));
  EXPECT_EQ(window.suggestedNames, std::vector<std::string>{"Untitled.vrel"});
  loop.async([&] { window.panels.at(1)(std::nullopt); });
  EXPECT_EQ(desktop.runModal(NSOpenPanel{}), std::nullopt);
}

TEST_F(WindowDesktopTest, APanelIsNotOpenedASecondTime) {
  std::optional<std::filesystem::path> second = "/none";
  loop.async([&] {
    second = desktop.runModal(NSSavePanel{});
    loop.async([&] { window.panels.at(0)("/gig.vrel"); });
  });
  EXPECT_EQ(desktop.runModal(NSOpenPanel{}), std::filesystem::path("/gig.vrel"));
  EXPECT_EQ(second, std::nullopt);
  EXPECT_EQ(window.panels.size(), 1U);
}

TEST_F(WindowDesktopTest, TheEndOfTheProgramCancelsAllQuestions) {
  loop.async([&] { desktop.cancelQuestions(); });
  EXPECT_EQ(desktop.runModal(question("?")), std::nullopt);
}

TEST_F(WindowDesktopTest, AQuestionThatComesAfterTheEndIsNotEvenShown) {
  desktop.cancelQuestions();
  int changes = 0;
  const auto counting = desktop.shownAlert.changed.connect([&](const auto&) { ++changes; });
  EXPECT_EQ(desktop.runModal(question("?")), std::nullopt);
  EXPECT_EQ(desktop.runModal(NSOpenPanel{}), std::nullopt);
  EXPECT_EQ(desktop.runModal(NSSavePanel{}), std::nullopt);
  EXPECT_EQ(changes, 0);
  EXPECT_TRUE(window.panels.empty());
}

TEST_F(WindowDesktopTest, APanelThatIsOpenAtTheEndIsCancelledAndItsLateFileIsIgnored) {
  loop.async([&] { desktop.cancelQuestions(); });
  EXPECT_EQ(desktop.runModal(NSOpenPanel{}), std::nullopt);
  ASSERT_EQ(window.panels.size(), 1U);
  window.panels[0]("/gig.vrel");
  EXPECT_EQ(desktop.runModal(NSOpenPanel{}), std::nullopt);
}

TEST_F(WindowDesktopTest, AnAlertCancelsAPanelThatWouldCoverIt) {
  Button answer;
  loop.async([&] {
    loop.async([&] {
      EXPECT_TRUE(window.panels.empty());
      desktop.answerAlert(2);
    });
    answer = desktop.runModal(question("?"));
  });
  EXPECT_EQ(desktop.runModal(NSOpenPanel{}), std::nullopt);
  EXPECT_EQ(answer, Button(2));
}

TEST_F(WindowDesktopTest, TheEndCancelsAQuestionInsideAQuestion) {
  Button inner = 0;
  loop.async([&] {
    loop.async([&] { desktop.cancelQuestions(); });
    inner = desktop.runModal(question("inner"));
  });
  EXPECT_EQ(desktop.runModal(question("outer")), std::nullopt);
  EXPECT_EQ(inner, std::nullopt);
  EXPECT_EQ(desktop.shownAlert.get(), std::nullopt);
}

TEST_F(WindowDesktopTest, OnlyAYesEndsTheProgram) {
  desktop.replyToApplicationShouldTerminate(false);
  EXPECT_EQ(window.quits, 0);
  desktop.replyToApplicationShouldTerminate(true);
  EXPECT_EQ(window.quits, 1);
  desktop.makeNothingFirstResponder();
  EXPECT_EQ(window.focusClearings, 1);
  desktop.setScreens({{"left", {0, 0, 800, 600}}});
  EXPECT_EQ(desktop.screens().size(), 1U);
}

}  // namespace
}  // namespace vrel::system
