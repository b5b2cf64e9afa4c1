// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/vrel_app.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "console/editor_panels.h"
#include "shell/menu_commands.h"
#include "shell/shell_stage.h"

namespace vrel {
namespace {

class ScriptedWindow : public NSWindow {
 public:
  [[nodiscard]] bool isFullScreen() const override { return isInFullScreen; }
  [[nodiscard]] std::optional<NSScreen> screen() const override { return standsOn; }
  void setFrame(const ScreenRect& frame) override { frames.push_back(frame); }

  bool isInFullScreen = false;
  std::optional<NSScreen> standsOn;
  std::vector<ScreenRect> frames;
};

class VrelAppTest : public ShellStage {
 protected:
  VrelAppTest() {
    laptop = desktop.screenList[0];
    projector = desktop.screenList[1];
    window.standsOn = projector;
    hardware.record.clear();
  }

  /// The program as it is when a person sees it.
  void start() {
    app.windowResolved(window);
    app.contentDidAppear();
    settle();
    hardware.record.clear();
  }

  [[nodiscard]] Lines titles() const {
    Lines all;
    for (const auto& menu : menus.mainMenu()) {
      all.push_back(menu.title);
    }
    return all;
  }

  VrelApp app{{state, engine, content, menus, notifications, desktop, mainQueue}};
  ScriptedWindow window;
  NSScreen laptop;
  NSScreen projector;
};

TEST_F(VrelAppTest, TheDefaultSizeIsWhatMayBeUsedOfTheMainScreen) {
  EXPECT_EQ(defaultWindowSize(desktop.screenList), (WindowSize{1920, 1050}));
  desktop.screenList.clear();
  EXPECT_EQ(defaultWindowSize(desktop.screenList), (WindowSize{1440, 900}));
}

TEST_F(VrelAppTest, EditorsHaveRoomOnTheScreenOfTheWindow) {
  window.standsOn = projector;
  app.windowResolved(window);
  EXPECT_EQ(content.editorPanels().visibleFrame(), (NSSize{static_cast<double>(projector.visibleFrame.width),
                                                           static_cast<double>(projector.visibleFrame.height)}));
  window.standsOn = laptop;
  app.windowResolved(window);
  EXPECT_EQ(content.editorPanels().visibleFrame(),
            (NSSize{static_cast<double>(laptop.visibleFrame.width), static_cast<double>(laptop.visibleFrame.height)}));
}

TEST_F(VrelAppTest, TheWindowFillsItsScreenOnce) {
  app.windowResolved(window);
  EXPECT_TRUE(app.didApplyInitialWindowFrame());
  window.standsOn = laptop;
  app.windowResolved(window);
  EXPECT_EQ(window.frames, std::vector{projector.visibleFrame});
}

TEST_F(VrelAppTest, AWindowOnNoScreenFillsTheMainOne) {
  window.standsOn = std::nullopt;
  app.windowResolved(window);
  EXPECT_EQ(window.frames, std::vector{laptop.visibleFrame});
}

TEST_F(VrelAppTest, WithNoScreenAtAllTheFrameWaitsForOne) {
  window.standsOn = std::nullopt;
  desktop.screenList.clear();
  app.windowResolved(window);
  EXPECT_TRUE(window.frames.empty());
  EXPECT_FALSE(app.didApplyInitialWindowFrame());
  desktop.screenList = {laptop};
  app.windowResolved(window);
  EXPECT_EQ(window.frames, std::vector{laptop.visibleFrame});
}

TEST_F(VrelAppTest, AWindowInFullScreenKeepsItsFrameUntilItHasLeftIt) {
  window.isInFullScreen = true;
  app.windowResolved(window);
  EXPECT_TRUE(window.frames.empty());
  EXPECT_FALSE(app.didApplyInitialWindowFrame());
  window.isInFullScreen = false;
  app.windowResolved(window);
  EXPECT_EQ(window.frames, std::vector{projector.visibleFrame});
  EXPECT_TRUE(app.didApplyInitialWindowFrame());
}

TEST_F(VrelAppTest, TheMenusAreBuiltInTheTurnAfterTheWindowIsThere) {
  EXPECT_EQ(app.appDelegate().appState, nullptr);
  app.windowResolved(window);
  EXPECT_EQ(app.appDelegate().appState, &state);
  EXPECT_TRUE(menus.mainMenu().empty());
  mainQueue.runAll();
  EXPECT_EQ(titles(), (Lines{"VREL", "File", "Edit", "Mode", "Visual", "Settings", "Help"}));
}

TEST_F(VrelAppTest, TheAudioSettingsAreAppliedWhenTheContentComesUp) {
  state.audioOutputDeviceUID.set("uid-a");
  hardware.record.clear();
  app.contentDidAppear();
  EXPECT_EQ(hardware.record, (Lines{"device 3", "frames 128 on 3"}));
}

TEST_F(VrelAppTest, ANewSessionStartsWithOneSongOnStageAndNoFileOpen) {
  state.recentFiles.set({"/home/me/gig.vrel"});
  start();
  ASSERT_EQ(state.songs.get().size(), 1U);
  ASSERT_EQ(engine->channels().size(), 1U);
  EXPECT_EQ(engine->channels()[0]->name.get(), "Piano Lead");
  EXPECT_EQ(state.currentFilePath.get(), std::nullopt);
  EXPECT_TRUE(desktop.alerts.empty());
}

TEST_F(VrelAppTest, AChangeOfLanguageRebuildsEveryTitleWithoutTouchingTheAudioSettings) {
  start();
  state.language.set(Language::spanish);
  EXPECT_EQ(titles()[1], "File");
  mainQueue.runAll();
  EXPECT_EQ(titles(), (Lines{"VREL", "Archivo", "Edición", "Modo", "Visual", "Configuración", "Ayuda"}));
  EXPECT_EQ(itemFor(MenuAction::terminate).title, "Salir de VREL");
  EXPECT_EQ(hardware.record, Lines{});
}

TEST_F(VrelAppTest, AChangeOfTheAudioSettingsIsAppliedAtOnceAndShownInTheNextTurn) {
  start();
  state.audioIOBufferFrameSize.set(64);
  EXPECT_EQ(hardware.record, (Lines{"device 2", "frames 64 on 2"}));
  state.audioOutputDeviceUID.set("uid-a");
  EXPECT_EQ(hardware.record, (Lines{"device 2", "frames 64 on 2", "device 3", "frames 64 on 3"}));
  const auto checked = [this](std::size_t submenu) {
    for (const auto& item : menu(5).children[submenu].children) {
      if (item.isChecked) {
        return item.title;
      }
    }
    return std::string();
  };
  EXPECT_EQ(checked(0), "128 samples");
  EXPECT_EQ(checked(1), "System Default");
  mainQueue.runAll();
  EXPECT_EQ(checked(0), "64 samples");
  EXPECT_EQ(checked(1), "Alpha");
}

TEST_F(VrelAppTest, TheSettingThatIsThereAlreadyRestartsNothing) {
  start();
  state.audioIOBufferFrameSize.set(128);
  state.audioOutputDeviceUID.set(std::nullopt);
  EXPECT_EQ(hardware.record, Lines{});
}

TEST_F(VrelAppTest, QuitIsPutOffAndAskedInTheMainView) {
  start();
  state.isDirty.set(true);
  desktop.alertAnswers = {1};
  EXPECT_EQ(app.appDelegate().applicationShouldTerminate(), NSApplicationTerminateReply::NSTerminateLater);
  ASSERT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(desktop.alerts[0].messageText, "Guardar cambios en el setlist?");
  EXPECT_EQ(desktop.terminationReplies, std::vector{true});
}

TEST_F(VrelAppTest, QuitWithNoChangesStillAsksInMilderWords) {
  start();
  ASSERT_FALSE(state.isDirty.get());
  desktop.alertAnswers = {1};
  menus.perform(MenuAction::terminate);
  ASSERT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(desktop.alerts[0].messageText, "Guardar el setlist antes de salir?");
  EXPECT_EQ(desktop.alerts[0].informativeText, "Puedes guardar el setlist o salir sin guardar.");
  EXPECT_EQ(desktop.terminationReplies, std::vector{true});
}

TEST_F(VrelAppTest, CancelInTheAlertLeavesTheProgramRunning) {
  start();
  desktop.alertAnswers = {2};
  app.appDelegate().applicationShouldTerminate();
  EXPECT_EQ(desktop.terminationReplies, std::vector{false});
  desktop.alertAnswers = {1};
  app.appDelegate().applicationShouldTerminate();
  EXPECT_EQ(desktop.terminationReplies, (std::vector{false, true}));
}

TEST_F(VrelAppTest, ASecondRequestToQuitWaitsForTheSameAnswer) {
  start();
  desktop.whileAsking = [&] { app.appDelegate().applicationShouldTerminate(); };
  desktop.alertAnswers = {2};
  app.appDelegate().applicationShouldTerminate();
  EXPECT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(desktop.terminationReplies, std::vector{false});
}

TEST_F(VrelAppTest, ASystemThatEndsAsksAsAPersonDoesAndTakesTheAnswer) {
  start();
  desktop.alertAnswers = {2};
  app.systemEnds();
  ASSERT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(desktop.alerts[0].messageText, "Guardar el setlist antes de salir?");
  mainQueue.advance(VrelApp::systemTimeoutSeconds + 1);
  EXPECT_EQ(desktop.terminationReplies, std::vector{false});
}

TEST_F(VrelAppTest, ASystemThatEndsWaitsForAnAnswerAndThenDoesWithout) {
  start();
  std::vector<bool> inTime{false};
  desktop.whileAsking = [&] {
    mainQueue.advance(VrelApp::systemTimeoutSeconds - 1);
    inTime = desktop.terminationReplies;
    mainQueue.advance(1);
  };
  app.systemEnds();
  EXPECT_TRUE(inTime.empty());
  EXPECT_EQ(desktop.terminationReplies, (std::vector{true, false}));
}

TEST_F(VrelAppTest, ASystemThatEndsLeavesThePersonTimeToNameTheFile) {
  start();
  desktop.alertAnswers = {0};
  desktop.whileAsking = [&] {
    if (!desktop.savePanels.empty()) {
      mainQueue.advance(2 * VrelApp::systemTimeoutSeconds);
    }
  };
  desktop.savePanelAnswers = {"/home/me/gig.vrel"};
  app.systemEnds();
  EXPECT_EQ(desktop.savePanels.size(), 1U);
  EXPECT_TRUE(files.fileExists("/home/me/gig.vrel"));
  EXPECT_EQ(desktop.terminationReplies, std::vector{true});
}

TEST_F(VrelAppTest, ASystemThatEndsDuringALongSaveAsksBehindItAndDoesWithoutAnAnswer) {
  start();
  const std::filesystem::path gig = "/home/me/gig.vrel";
  const auto slow = state.recentFiles.changed.connect([this](const auto& /*files*/) {
    mainQueue.advance(VrelApp::systemTimeoutSeconds);
    EXPECT_TRUE(desktop.terminationReplies.empty());
  });
  desktop.whileAsking = [this] { mainQueue.advance(VrelApp::systemTimeoutSeconds); };
  background.whileWorking = [this] { app.systemEnds(); };
  EXPECT_TRUE(content.setlistFiles().writeSetlist(gig));
  EXPECT_TRUE(files.fileExists(gig));
  EXPECT_EQ(desktop.terminationReplies, (std::vector{true, false}));
}

TEST_F(VrelAppTest, ASystemThatEndsDoesNotWaitForAQuestionThatIsAlreadyOpen) {
  start();
  desktop.whileAsking = [&] {
    app.systemEnds();
    mainQueue.advance(VrelApp::systemTimeoutSeconds);
  };
  menus.perform(MenuAction::terminate);
  EXPECT_EQ(desktop.alerts.size(), 1U);
  EXPECT_EQ(desktop.terminationReplies, (std::vector{true, false}));
}

TEST(VrelAppDelegate, WithNobodyToAnswerTheProgramGoesOnWaitingAndMayAskAgain) {
  NSNotificationCenter notifications;
  VrelAppDelegate delegate(notifications);
  EXPECT_EQ(delegate.applicationShouldTerminate(), NSApplicationTerminateReply::NSTerminateLater);
  std::vector<NSNotificationCenter::Object> posted;
  const auto listening = notifications.addObserver(
      "vrel.requestTermination", [&](const NSNotificationCenter::Object& object) { posted.push_back(object); });
  delegate.applicationShouldTerminate();
  EXPECT_EQ(posted, std::vector<NSNotificationCenter::Object>{std::nullopt});
}

TEST_F(VrelAppTest, TheHelpMenuOpensItsWindowsInTheLanguageOfTheSessionAlsoInLiveMode) {
  start();
  state.language.set(Language::spanish);
  state.isLiveModeEnabled.set(true);
  menus.perform(MenuAction::showHelp);
  menus.perform(MenuAction::showLiveKeys);
  ASSERT_TRUE(content.help().isOpen.get() && content.liveKeysHelp().isOpen.get());
  EXPECT_EQ(content.help().view.get(), (VrelHelpView{HelpSubject::manual, Language::spanish, AppState::accentColor}));
  EXPECT_EQ(content.liveKeysHelp().view.get()->title(), "Teclas del Modo Live");
}

}  // namespace
}  // namespace vrel
