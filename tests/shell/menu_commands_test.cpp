// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "document/setlist_coding.h"
#include "shell/menu_commands.h"
#include "shell/shell_stage.h"

namespace vrel {
namespace {

class MenuCommands : public ShellStage {
 protected:
  MenuCommands() {
    raiseMenus();
    hardware.record.clear();
  }

  [[nodiscard]] simulation::SimulatedProjectionWindow& window() { return *windows.windows.back(); }

  static std::vector<MidiControlAssignment> learned() {
    return {{{MidiControlKind::panic, std::nullopt}, {0xB0, 0, 1}}};
  }
};

TEST_F(MenuCommands, ThoseOfTheMainViewArePassedOnByNameAndRebuildTheBarAfterwards) {
  state.globalMidiControlAssignments.set(learned());
  mainQueue.runAll();
  // The main view itself would ask for files.
  NSNotificationCenter center;
  VrelMenuController controller({center, mainQueue, desktop, content.liveMode(), content.midiLearn(), projection});
  controller.rebuildMenus(state, engine);
  int rebuilds = 0;
  const auto counting = controller.menusRebuilt.connect([&] { ++rebuilds; });
  for (const std::string action : {"newSetlist", "openSetlist", "clearRecentSetlists", "saveSetlist", "saveSetlistAs",
                                   "copyChannel", "cutChannel", "pasteChannel", "duplicateChannel", "clearMidiLearn"}) {
    std::vector<NSNotificationCenter::Object> posted;
    const auto listening = center.addObserver(
        "vrel." + action, [&](const NSNotificationCenter::Object& object) { posted.push_back(object); });
    rebuilds = 0;
    controller.perform(action);
    EXPECT_EQ(posted, std::vector<NSNotificationCenter::Object>{std::nullopt}) << action;
    EXPECT_EQ(rebuilds, 0) << action;
    mainQueue.runAll();
    EXPECT_EQ(rebuilds, 1) << action;
  }
}

TEST_F(MenuCommands, EveryActionIsFoundByItsOwnName) {
  for (std::size_t index = 0; index < menuActionCount; ++index) {
    const auto action = static_cast<MenuAction>(index);
    EXPECT_EQ(menuActionNamed(menuCommand(action).name), action) << menuCommand(action).name;
  }
  EXPECT_EQ(menuActionNamed(""), std::nullopt);
}

TEST_F(MenuCommands, ANotificationHasTheNameOfItsAction) {
  std::size_t count = 0;
  for (std::size_t index = 0; index < menuActionCount; ++index) {
    const MenuCommand& command = menuCommand(static_cast<MenuAction>(index));
    if (const auto* const posted = std::get_if<MenuCommand::Notification>(&command.handler)) {
      ++count;
      const auto plain = command.name.substr(0, command.name.find(':'));
      EXPECT_EQ(posted->name, "vrel." + std::string(plain));
    }
  }
  EXPECT_EQ(count, 18U);
}

TEST_F(MenuCommands, ARecentFileIsPassedOnWithItsPath) {
  std::vector<NSNotificationCenter::Object> posted;
  const auto listening = notifications.addObserver(
      "vrel.openRecentSetlist", [&](const NSNotificationCenter::Object& object) { posted.push_back(object); });
  menus.perform(MenuAction::openRecentSetlist, "/home/me/gig.vrel");
  menus.perform(MenuAction::openRecentSetlist);
  EXPECT_EQ(posted, std::vector<NSNotificationCenter::Object>{"/home/me/gig.vrel"});
}

TEST_F(MenuCommands, AfterASetlistLoadTheRecentListInTheMenuShowsTheFileFirst) {
  SetlistFile setlist;
  setlist.songs.emplace_back();
  const std::filesystem::path gig = "/home/me/gig.vrel";
  files.files[gig] = encodeSetlist(setlist).value();
  state.recentFiles.set({"/home/me/older.vrel"});
  mainQueue.runAll();
  desktop.openPanelAnswers = {gig};
  desktop.alertAnswers = {1};
  menus.perform(MenuAction::openSetlist);
  settle();
  const auto& recent = menu(1).children[2].children;
  ASSERT_EQ(recent.size(), 3U);
  EXPECT_EQ(recent[0].title, "gig.vrel");
  EXPECT_EQ(recent[0].representedObject, gig.string());
  EXPECT_EQ(recent[1].title, "older.vrel");
}

TEST_F(MenuCommands, AModeIsTakenOnlyWhenItIsNotTheModeYet) {
  menus.perform(MenuAction::modeEdit);
  EXPECT_FALSE(state.isLiveModeEnabled.get());
  EXPECT_EQ(desktop.focusClearings, 0);
  menus.perform(MenuAction::modeLive);
  EXPECT_TRUE(state.isLiveModeEnabled.get());
  EXPECT_EQ(desktop.focusClearings, 1);
  menus.perform(MenuAction::modeLive);
  EXPECT_EQ(desktop.focusClearings, 1);
  mainQueue.runAll();
  EXPECT_TRUE(itemFor(MenuAction::modeLive).isChecked);
  menus.perform(MenuAction::modeEdit);
  EXPECT_FALSE(state.isLiveModeEnabled.get());
}

TEST_F(MenuCommands, LearnGoesOnAndOffAgain) {
  menus.perform(MenuAction::toggleLearn);
  content.midiLearn().selectMidiLearnTarget({MidiControlKind::panic, std::nullopt});
  EXPECT_TRUE(state.isMidiLearnMode.get());
  mainQueue.runAll();
  EXPECT_TRUE(itemFor(MenuAction::toggleLearn).isChecked);
  menus.perform(MenuAction::toggleLearn);
  EXPECT_FALSE(state.isMidiLearnMode.get());
  EXPECT_EQ(content.midiLearn().pendingMidiLearnTarget.get(), std::nullopt);
}

TEST_F(MenuCommands, ABlendModeIsTakenByItsTextAndTheProjectionRefreshedAtOnce) {
  menus.perform(MenuAction::openVisualProjection, "1");
  const auto scenes = window().scenes.size();
  menus.perform(MenuAction::selectVisualBlendMode, "multiply");
  menus.perform(MenuAction::selectVisualBlendMode, "darken");
  EXPECT_EQ(window().scenes.size(), scenes + 1);
  EXPECT_EQ(state.visualBlendMode.get(), VisualBlendMode::multiply);
  mainQueue.runAll();
  EXPECT_TRUE(itemFor(MenuAction::selectVisualBlendMode).isChecked);
}

TEST_F(MenuCommands, ABackgroundVideoIsChosenAmongMoviesAndTakenAwayAgain) {
  videos.paths = {"/home/me/sea.mp4"};
  menus.perform(MenuAction::openVisualProjection, "1");
  desktop.openPanelAnswers = {"/home/me/sea.mp4"};
  menus.perform(MenuAction::chooseVisualBackgroundVideo);
  ASSERT_EQ(desktop.openPanels.size(), 1U);
  EXPECT_EQ(desktop.openPanels[0].allowedType, FileType::movie);
  while (videos.answerSearch()) {
  }
  mainQueue.runAll();
  EXPECT_NE(window().scene().background, nullptr);
  EXPECT_EQ(itemFor(MenuAction::noop).title, "sea.mp4");
  menus.perform(MenuAction::clearVisualBackgroundVideo);
  EXPECT_EQ(state.visualBackgroundVideoPath.get(), std::nullopt);
  EXPECT_EQ(window().scene().background, nullptr);
  mainQueue.runAll();
  EXPECT_EQ(itemFor(MenuAction::noop).title, "");
}

TEST_F(MenuCommands, TheProjectionIsNotOpenedByABlendModeOrABackground) {
  desktop.openPanelAnswers = {"/home/me/sea.mp4"};
  menus.perform(MenuAction::chooseVisualBackgroundVideo);
  menus.perform(MenuAction::selectVisualBlendMode, "normal");
  EXPECT_TRUE(windows.windows.empty());
  EXPECT_EQ(videos.playersMade, 0);
}

TEST_F(MenuCommands, ACancelledPanelLeavesTheBackgroundVideo) {
  state.visualBackgroundVideoPath.set("/home/me/sea.mp4");
  menus.perform(MenuAction::chooseVisualBackgroundVideo);
  EXPECT_EQ(desktop.openPanels.size(), 1U);
  EXPECT_EQ(state.visualBackgroundVideoPath.get(), "/home/me/sea.mp4");
}

TEST_F(MenuCommands, TheProjectionOpensInFullScreenOnTheScreenOfTheItemOrOnTheMainOne) {
  menus.perform(MenuAction::openVisualProjection, "wall");
  EXPECT_TRUE(windows.windows.empty());
  menus.perform(MenuAction::openVisualProjection, "1");
  EXPECT_EQ(window().frame, desktop.screenList[1].visibleFrame);
  EXPECT_TRUE(window().isFullScreen());
  menus.perform(MenuAction::openVisualProjection, "2");
  EXPECT_EQ(window().frame, desktop.screenList[0].visibleFrame);
  EXPECT_EQ(windows.windows.size(), 1U);
}

TEST_F(MenuCommands, TheScreenIsLookedUpWhenItIsChosen) {
  desktop.screenList = {desktop.screenList[0], {"Wall", {0, 1080, 800, 600}, {0, 1080, 800, 600}}};
  menus.perform(MenuAction::openVisualProjection, "1");
  EXPECT_EQ(window().frame, (ScreenRect{0, 1080, 800, 600})) << "not the one that the bar was built with";
}

TEST_F(MenuCommands, WithoutAnyScreenTheProjectionOpensAllTheSame) {
  desktop.screenList.clear();
  menus.perform(MenuAction::openVisualProjection, "0");
  EXPECT_TRUE(projection.isOpen());
  EXPECT_EQ(window().frame, ScreenRect{});
}

TEST_F(MenuCommands, ThoseOfTheProjectionAreEnabledWithNoneOpenAndThenDoNothing) {
  const MenuBar before = menus.mainMenu();
  for (const MenuAction action : {MenuAction::toggleVisualProjectionFullscreen, MenuAction::closeVisualProjection,
                                  MenuAction::toggleProjectionBlackout, MenuAction::toggleProjectionTestPicture}) {
    EXPECT_TRUE(itemFor(action).isEnabled);
    menus.perform(action);
  }
  mainQueue.runAll();
  EXPECT_EQ(menus.mainMenu(), before);
  EXPECT_TRUE(windows.windows.empty());
}

TEST_F(MenuCommands, AnOpenProjectionTogglesItsFullScreenAndCloses) {
  menus.perform(MenuAction::openVisualProjection, "1");
  menus.perform(MenuAction::toggleVisualProjectionFullscreen);
  EXPECT_FALSE(window().isFullScreen());
  menus.perform(MenuAction::toggleVisualProjectionFullscreen);
  EXPECT_TRUE(window().isFullScreen());
  menus.perform(MenuAction::closeVisualProjection);
  EXPECT_FALSE(projection.isOpen());
  EXPECT_EQ(window().calls.back(), "close");
}

TEST_F(MenuCommands, BlackoutAndTestPictureGoOnAndOffAndEndWithTheProjection) {
  menus.perform(MenuAction::openVisualProjection, "1");
  for (const MenuAction action : {MenuAction::toggleProjectionBlackout, MenuAction::toggleProjectionTestPicture}) {
    mainQueue.runAll();
    EXPECT_FALSE(itemFor(action).isChecked);
    menus.perform(action);
    mainQueue.runAll();
    EXPECT_TRUE(itemFor(action).isChecked);
  }
  EXPECT_TRUE(window().scene().isBlack);
  EXPECT_EQ(window().scene().testPicture, "Projector\n1280 × 720");
  menus.perform(MenuAction::toggleProjectionBlackout);
  EXPECT_FALSE(window().scene().isBlack);
  menus.perform(MenuAction::closeVisualProjection);
  mainQueue.runAll();
  EXPECT_FALSE(itemFor(MenuAction::toggleProjectionTestPicture).isChecked);
}

TEST_F(MenuCommands, TheBlackoutIsLearntByItsEntryAndThenPressedOnTheHardware) {
  setSongs({SongConfig{}});
  state.selectedSongIndex.set(0);
  menus.perform(MenuAction::openVisualProjection, "1");
  menus.perform(MenuAction::toggleLearn);
  menus.perform(MenuAction::toggleProjectionBlackout);
  EXPECT_FALSE(projection.isBlack.get());
  content.midiLearn().handleMidiControlMessage(0xB0, 64, 127);
  EXPECT_FALSE(state.isMidiLearnMode.get());
  EXPECT_FALSE(projection.isBlack.get());
  for (const bool isBlack : {true, false}) {
    content.midiLearn().handleMidiControlMessage(0xB0, 64, 0);
    content.midiLearn().handleMidiControlMessage(0xB0, 64, 127);
    EXPECT_EQ(projection.isBlack.get(), isBlack);
  }
  menus.perform(MenuAction::closeVisualProjection);
  content.midiLearn().handleMidiControlMessage(0xB0, 64, 0);
  content.midiLearn().handleMidiControlMessage(0xB0, 64, 127);
  EXPECT_FALSE(projection.isBlack.get());
  EXPECT_EQ(content.learnedControls().all().back().control, "Blackout");
}

TEST_F(MenuCommands, WhatTheProgramHasIsReachedThroughItsHooks) {
  Lines reached;
  menus.hooks.showHelp = [&] { reached.emplace_back("help"); };
  menus.hooks.showLiveKeys = [&] { reached.emplace_back("keys"); };
  menus.hooks.openStateFolder = [&] { reached.emplace_back("folder"); };
  menus.hooks.collectSetlist = [&] { reached.emplace_back("collect"); };
  menus.hooks.terminate = [&] { reached.emplace_back("quit"); };
  for (const MenuAction action : {MenuAction::showHelp, MenuAction::showLiveKeys, MenuAction::openStateFolder,
                                  MenuAction::collectSetlist, MenuAction::terminate}) {
    menus.perform(action);
  }
  EXPECT_EQ(reached, (Lines{"help", "keys", "folder", "collect", "quit"}));
}

TEST_F(MenuCommands, ABufferSizeIsKeptAndAppliedAtOnce) {
  menus.perform(MenuAction::selectAudioBufferSize, "512");
  EXPECT_EQ(state.audioIOBufferFrameSize.get(), 512U);
  EXPECT_EQ(hardware.record, (Lines{"device 2", "frames 512 on 2"}));
  mainQueue.runAll();
  EXPECT_TRUE(menu(5).children[0].children[4].isChecked);
}

TEST_F(MenuCommands, ABufferSizeThatTheMenuDoesNotHaveIsPassedOver) {
  for (const char* const size : {"", "0", "100", "-128", "128 samples", "4294967424"}) {
    menus.perform(MenuAction::selectAudioBufferSize, size);
  }
  EXPECT_EQ(state.audioIOBufferFrameSize.get(), 128U);
  EXPECT_EQ(hardware.record, Lines{});
}

TEST_F(MenuCommands, AnOutputIsKeptAndAppliedAtOnceAndSoIsTheSystems) {
  menus.perform(MenuAction::selectAudioOutput, "uid-a");
  EXPECT_EQ(state.audioOutputDeviceUID.get(), "uid-a");
  menus.perform(MenuAction::selectSystemAudioOutput);
  EXPECT_EQ(state.audioOutputDeviceUID.get(), std::nullopt);
  menus.perform(MenuAction::selectAudioOutput);
  EXPECT_EQ(hardware.record, (Lines{"device 3", "frames 128 on 3", "device 2", "frames 128 on 2"}));
}

TEST_F(MenuCommands, AnItemIsCarriedOutThoughTheBarHasItNoMore) {
  hardware.list.erase(hardware.list.begin() + 1);
  menus.rebuildMenus(state, engine);
  EXPECT_EQ(menu(5).children[1].children.size(), 2U);
  menus.perform(MenuAction::selectAudioOutput, "uid-a");
  EXPECT_EQ(state.audioOutputDeviceUID.get(), "uid-a");
}

TEST_F(MenuCommands, AnItemThatHasBeenDisabledSinceItWasShownDoesNothing) {
  state.recentFiles.set({"/home/me/gig.vrel"});
  mainQueue.runAll();
  ASSERT_TRUE(itemFor(MenuAction::clearRecentSetlists).isEnabled);
  state.isLiveModeEnabled.set(true);
  menus.perform(MenuAction::clearRecentSetlists);
  EXPECT_EQ(state.recentFiles.get().size(), 1U);
  state.isLiveModeEnabled.set(false);
  menus.perform(MenuAction::clearRecentSetlists);
  EXPECT_EQ(state.recentFiles.get().size(), 0U);
}

TEST_F(MenuCommands, UnknownActionsAndRowsDoNothing) {
  menus.perform(MenuAction::noop);
  menus.perform("formatDisk");
  menus.perform("");
  mainQueue.runAll();
  EXPECT_EQ(rebuildCount, 0);
}

TEST_F(MenuCommands, SeveralCommandsOfOneTurnMakeOneRebuildAfterIt) {
  menus.perform(MenuAction::modeLive);
  menus.perform(MenuAction::toggleLearn);
  menus.perform(MenuAction::selectVisualBlendMode, "normal");
  EXPECT_EQ(rebuildCount, 0);
  mainQueue.runAll();
  EXPECT_EQ(rebuildCount, 1);
  menus.perform(MenuAction::toggleLearn);
  mainQueue.runAll();
  EXPECT_EQ(rebuildCount, 2);
}

TEST_F(MenuCommands, WhatChangesElsewhereIsShownAfterItsTurn) {
  content.liveMode().setLiveMode(true);
  EXPECT_TRUE(itemFor(MenuAction::modeEdit).isChecked);
  mainQueue.runAll();
  EXPECT_TRUE(itemFor(MenuAction::modeLive).isChecked);
  content.midiLearn().toggleMidiLearnMode();
  mainQueue.runAll();
  EXPECT_TRUE(itemFor(MenuAction::toggleLearn).isChecked);
  content.liveMode().setLiveMode(false);
  setSongs({SongConfig{.midiControlAssignments = learned()}});
  mainQueue.runAll();
  EXPECT_TRUE(itemFor(MenuAction::clearMidiLearn).isEnabled);
}

TEST_F(MenuCommands, AnEditOfASongLeavesTheBarAlone) {
  setSongs({SongConfig{.name = "One"}});
  mainQueue.runAll();
  EXPECT_EQ(rebuildCount, 0);
}

TEST_F(MenuCommands, DoNothingBeforeTheBarWasBuilt) {
  VrelMenuController unbuilt(menuCollaborators());
  unbuilt.perform(MenuAction::modeLive);
  unbuilt.rebuildMenusSoon();
  mainQueue.runAll();
  EXPECT_FALSE(state.isLiveModeEnabled.get());
  EXPECT_TRUE(unbuilt.mainMenu().empty());
}

TEST_F(MenuCommands, DoNothingOnceTheEngineIsGone) {
  auto other = AudioEngine::make({nodes, units, mainQueue, queues, clock, propertyLists, console});
  mainQueue.runAll();
  menus.rebuildMenus(state, other);
  other.reset();
  rebuildCount = 0;
  Lines reached;
  menus.hooks.showHelp = [&] { reached.emplace_back("help"); };
  const auto listening =
      notifications.addObserver("vrel.pasteChannel", [&](const auto&) { reached.emplace_back("paste"); });
  for (const auto& [action, object] :
       std::vector<std::pair<MenuAction, std::string>>{{MenuAction::showHelp, ""},
                                                       {MenuAction::openVisualProjection, "0"},
                                                       {MenuAction::pasteChannel, ""},
                                                       {MenuAction::modeLive, ""},
                                                       {MenuAction::toggleLearn, ""},
                                                       {MenuAction::selectVisualBlendMode, "normal"},
                                                       {MenuAction::chooseVisualBackgroundVideo, ""},
                                                       {MenuAction::selectAudioBufferSize, "64"},
                                                       {MenuAction::selectAudioOutput, "uid-a"}}) {
    menus.perform(action, object);
  }
  mainQueue.runAll();
  EXPECT_EQ(reached, Lines{});
  EXPECT_FALSE(projection.isOpen());
  EXPECT_EQ(rebuildCount, 0);
  EXPECT_FALSE(state.isLiveModeEnabled.get());
  EXPECT_FALSE(state.isMidiLearnMode.get());
  EXPECT_EQ(state.visualBlendMode.get(), VisualBlendMode::plusLighter);
  EXPECT_TRUE(desktop.openPanels.empty());
  EXPECT_EQ(state.audioIOBufferFrameSize.get(), 128U);
  EXPECT_EQ(state.audioOutputDeviceUID.get(), std::nullopt);
}

TEST_F(MenuCommands, ARebuildThatIsQueuedWhenTheMenusGoIsDropped) {
  auto shortLived = std::make_unique<VrelMenuController>(menuCollaborators());
  int rebuilds = 0;
  const auto counting = shortLived->menusRebuilt.connect([&] { ++rebuilds; });
  shortLived->rebuildMenusSoon(state, engine);
  shortLived.reset();
  mainQueue.runAll();
  EXPECT_EQ(rebuilds, 0);
}

}  // namespace
}  // namespace vrel
