// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "visuals/projection_stage.h"

namespace vrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ProjectionWindowController : public ProjectionStage {};

TEST_F(ProjectionWindowController, OpensOneBlackWindowInFullScreenOnTheScreen) {
  EXPECT_FALSE(controller.isOpen());
  controller.open(projector, true);
  EXPECT_TRUE(controller.isOpen());
  EXPECT_THAT(window().calls, ElementsAre("style 15", "behavior 132", "content", "frame 1920 0 1280 700 drawn", "front",
                                          "toggle full screen"));
  EXPECT_EQ(window().title, "Visual Projection");
  EXPECT_EQ(window().minSize, (NSSize{640, 360}));
  EXPECT_TRUE(window().isFullScreen());
  EXPECT_EQ(desktop.activations, 1) << "the program is made the active one";
}

TEST_F(ProjectionWindowController, OpeningOnAnotherScreenMovesTheWindowAndKeepsTheClipsRunning) {
  const auto channel = addClips({clip(60, "/a.mov")});
  state.visualBackgroundVideoPath.set("/sea.mov");
  openOn(laptop);
  noteOn(60);
  const auto clipCalls = queuePlayerOf(*playerOf(*channel, 60)).calls;
  const auto background = window().scene().background;
  window().calls.clear();
  openOn(projector);
  EXPECT_THAT(windows.windows, SizeIs(1));
  EXPECT_THAT(window().calls, ElementsAre("content", "frame 1920 0 1280 700 drawn", "front"))
      << "it is in full screen already";
  EXPECT_EQ(queuePlayerOf(*playerOf(*channel, 60)).calls, clipCalls);
  EXPECT_EQ(window().scene().background, background);
  EXPECT_THAT(opacities(), ElementsAre(1.0));
}

TEST_F(ProjectionWindowController, WithoutAScreenTheFrameStays) {
  openOn(projector);
  window().calls.clear();
  controller.open(std::nullopt, true);
  EXPECT_THAT(window().calls, ElementsAre("content", "front"));
}

TEST_F(ProjectionWindowController, AScreenWithAnEmptyFrameIsReplacedByTheMainOne) {
  controller.open(NSScreen{"HDMI-2", {5, 6, 7, 8}, {5, 6, 0, 8}, "", ""}, false);
  EXPECT_EQ(window().frame, laptop.visibleFrame);
  desktop.screenList.clear();
  window().calls.clear();
  controller.open(NSScreen{"HDMI-2", {5, 6, 7, 8}}, false);
  EXPECT_THAT(window().calls, ElementsAre("content", "front"));
}

TEST_F(ProjectionWindowController, NotInFullScreenItOpensAsAWindow) {
  controller.open(projector, false);
  EXPECT_FALSE(window().isFullScreen());
  controller.open(projector, true);
  EXPECT_TRUE(window().isFullScreen());
  controller.open(projector, false);
  EXPECT_TRUE(window().isFullScreen()) << "an opening never leaves full screen";
}

TEST_F(ProjectionWindowController, AToggleOfFullScreenWithNoWindowFirstOpensTheWindow) {
  controller.toggleFullScreen();
  EXPECT_TRUE(controller.isOpen());
  EXPECT_EQ(window().frame, laptop.visibleFrame) << "the main screen";
  EXPECT_TRUE(window().isFullScreen());
  controller.toggleFullScreen();
  EXPECT_FALSE(window().isFullScreen());
  EXPECT_THAT(windows.windows, SizeIs(1));
}

TEST_F(ProjectionWindowController, ClosedByCommandItIsForgotten) {
  openOn(projector);
  controller.close();
  EXPECT_FALSE(controller.isOpen());
  EXPECT_EQ(window().calls.back(), "close");
  controller.close();
  openOn(projector);
  EXPECT_THAT(windows.windows, SizeIs(2));
}

TEST_F(ProjectionWindowController, ClosedByItsButtonItIsHiddenAndUsedAgain) {
  openOn(projector);
  window().pressCloseButton();
  EXPECT_FALSE(controller.isOpen());
  EXPECT_EQ(window().calls.back(), "clear") << "its next scene is a first one";
  window().calls.clear();
  controller.updateContent();
  EXPECT_THAT(window().calls, IsEmpty());
  controller.open(projector, true);
  EXPECT_THAT(windows.windows, SizeIs(1));
  EXPECT_TRUE(window().isShown);
  EXPECT_EQ(window().scene().placeholder, "VREL Stage");
}

TEST_F(ProjectionWindowController, AToggleAfterItsButtonShowsItWhereItWas) {
  openOn(projector);
  window().pressCloseButton();
  window().calls.clear();
  controller.toggleFullScreen();
  EXPECT_THAT(window().calls, ElementsAre("content", "front", "toggle full screen"));
  window().pressCloseButton();
  desktop.screenList = {laptop};
  controller.toggleFullScreen();
  EXPECT_EQ(window().frame, laptop.visibleFrame) << "its screen is gone";
}

TEST_F(ProjectionWindowController, ClosingChangesNothingOfTheClips) {
  const auto channel = addClips({clip(60, "/a.mov")});
  openOn(projector);
  noteOn(60);
  const auto calls = queuePlayerOf(*playerOf(*channel, 60)).calls;
  controller.close();
  EXPECT_EQ(queuePlayerOf(*playerOf(*channel, 60)).calls, calls);
  EXPECT_THAT(shownNotes(), ElementsAre(60));
}

TEST_F(ProjectionWindowController, ClipsRunWithoutAWindowAndShowWhenItOpens) {
  const auto channel = addClips({clip(60, "/a.mov")});
  noteOn(60);
  EXPECT_TRUE(queuePlayerOf(*playerOf(*channel, 60)).isPlaying);
  openOn(projector);
  EXPECT_THAT(window().scenes, SizeIs(1));
  EXPECT_THAT(opacities(), ElementsAre(1.0));
}

TEST_F(ProjectionWindowController, AWatcherSeesTheStageWithTheWindowAndWithoutIt) {
  addClips({clip(60, "/a.mov")});
  state.visualBackgroundVideoPath.set("/sea.mov");
  std::vector<ProjectionScene> seen;
  controller.setWatcher([&](const ProjectionScene& scene) { seen.push_back(scene); });
  settle();
  ASSERT_FALSE(seen.empty());
  EXPECT_FALSE(controller.isOpen()) << "watching opens nothing";
  EXPECT_THAT(windows.windows, IsEmpty());
  const auto background = seen.back().background;
  EXPECT_NE(background, nullptr);
  noteOn(60);
  EXPECT_THAT(seen.back().layers, SizeIs(1));
  openOn(projector);
  EXPECT_EQ(window().scene(), seen.back());
  EXPECT_EQ(window().scene().background, background) << "one video for both";
  controller.setBlack(true);
  EXPECT_TRUE(seen.back().isBlack) << "it sees what the audience sees";
  controller.close();
  EXPECT_FALSE(seen.back().isBlack);
  EXPECT_TRUE(recorded(background).isPlaying);
  controller.setWatcher(nullptr);
  EXPECT_FALSE(recorded(background).isPlaying);
  const auto scenes = seen.size();
  noteOff(60);
  EXPECT_EQ(seen.size(), scenes);
}

TEST_F(ProjectionWindowController, AWindowGoesOnWhenItsWatcherLeaves) {
  openOn(projector);
  int seen = 0;
  controller.setWatcher([&](const ProjectionScene& /*scene*/) { ++seen; });
  EXPECT_EQ(seen, 1);
  controller.setWatcher(nullptr);
  EXPECT_TRUE(controller.isOpen());
  EXPECT_EQ(window().scene().placeholder, "VREL Stage");
}

TEST_F(ProjectionWindowController, ASwitchOfTheLanguageRetitlesTheWindow) {
  openOn(projector);
  state.language.set(Language::spanish);
  EXPECT_EQ(window().title, "Proyeccion visual");
}

TEST_F(ProjectionWindowController, WhereNoWindowCanBeMadeNothingHappens) {
  VrelVisualProjectionWindowController none{{state, visuals(), desktop, mainQueue, &videos, nullptr}};
  none.open(projector, true);
  none.toggleFullScreen();
  none.updateContent();
  none.screensChanged();
  none.close();
  EXPECT_FALSE(none.isOpen());
}

TEST_F(ProjectionWindowController, BlackAndTheTestPictureCoverAllAndTheClipsRunOn) {
  addClips({clip(60, "/a.mov")});
  openOn(projector);
  noteOn(60);
  controller.setBlack(true);
  EXPECT_TRUE(window().scene().isBlack);
  EXPECT_THAT(opacities(), ElementsAre(1.0));
  controller.setBlack(false);
  controller.setTestPictureShown(true);
  EXPECT_FALSE(window().scene().isBlack);
  EXPECT_EQ(window().scene().testPicture, "Beamer (HDMI-1)\n1280 × 720");
  openOn(laptop);
  EXPECT_EQ(window().scene().testPicture, "Panel (eDP-1)\n1920 × 1080");
}

TEST_F(ProjectionWindowController, BlackAndTheTestPictureEndWithItAndNeverBeginWithoutIt) {
  controller.setBlack(true);
  controller.setTestPictureShown(true);
  openOn(projector);
  EXPECT_FALSE(window().scene().isBlack);
  EXPECT_EQ(window().scene().testPicture, "");
  controller.setBlack(true);
  controller.setTestPictureShown(true);
  window().pressCloseButton();
  EXPECT_FALSE(controller.isBlack.get());
  EXPECT_FALSE(controller.isTestPictureShown.get());
  openOn(projector);
  controller.setBlack(true);
  controller.close();
  EXPECT_FALSE(controller.isBlack.get());
}

using ProjectionScreens = ProjectionStage;

TEST_F(ProjectionScreens, ItStaysBlackWhileItIsAway) {
  openOn(projector);
  controller.setBlack(true);
  setScreens({laptop});
  setScreens({laptop, projector});
  EXPECT_TRUE(window().scene().isBlack);
}

TEST_F(ProjectionScreens, TheTestPictureFollowsTheSizeOfTheScreen) {
  openOn(projector);
  controller.setTestPictureShown(true);
  NSScreen larger = projector;
  larger.frame.width = 1600;
  larger.frame.height = 900;
  window().isOn = larger;
  setScreens({laptop, larger});
  EXPECT_EQ(window().scene().testPicture, "Beamer (HDMI-1)\n1600 × 900");
}

TEST_F(ProjectionScreens, TheTestPictureCountsThePixelsOfAScaledScreen) {
  NSScreen scaled = projector;
  scaled.scale = 1.5;
  desktop.screenList = {laptop, scaled};
  openOn(scaled);
  controller.setTestPictureShown(true);
  EXPECT_EQ(window().scene().testPicture, "Beamer (HDMI-1)\n1920 × 1080");
}

TEST_F(ProjectionScreens, ItLeavesWithItsScreenAndNeverFallsOnTheConsoles) {
  openOn(projector);
  window().calls.clear();
  setScreens({laptop});
  EXPECT_THAT(window().calls, ElementsAre("out"));
  EXPECT_TRUE(controller.isOpen());
  setScreens({laptop});
  EXPECT_THAT(window().calls, ElementsAre("out"));
}

TEST_F(ProjectionScreens, ItIsBackAsItWasWithItsScreen) {
  addClips({clip(60, "/a.mov")});
  state.visualBackgroundVideoPath.set("/sea.mov");
  openOn(projector);
  const auto background = window().scene().background;
  setScreens({laptop});
  noteOn(60);
  window().calls.clear();
  const NSScreen moved{"HDMI-1", {-1280, 0, 1280, 700}, {-1280, 0, 1280, 720}, "Beamer", "77"};
  setScreens({moved, laptop});
  EXPECT_THAT(window().calls, ElementsAre("frame -1280 0 1280 700 drawn", "front"));
  EXPECT_TRUE(window().isFullScreen());
  EXPECT_EQ(window().scene().background, background);
  EXPECT_TRUE(recorded(background).isPlaying);
  EXPECT_THAT(opacities(), ElementsAre(1.0)) << "clips have run on";
}

TEST_F(ProjectionScreens, AWindowThatWasMadeSmallIsBackWhereItWas) {
  controller.open(projector, false);
  window().isOn = projector;
  setScreens({laptop});
  window().calls.clear();
  setScreens({laptop, projector});
  EXPECT_THAT(window().calls, ElementsAre("front"));
  EXPECT_FALSE(window().isFullScreen());
}

TEST_F(ProjectionScreens, FullScreenThatIsLostWhileItIsAwayIsEnteredAgain) {
  openOn(projector);
  setScreens({laptop});
  window().mask = 15;
  setScreens({laptop, projector});
  EXPECT_TRUE(window().isFullScreen());
}

TEST_F(ProjectionScreens, AScreenIsRememberedByNameModelAndSerialNumber) {
  openOn(projector);
  setScreens({laptop});
  NSScreen other = projector;
  other.serialNumber = "78";
  setScreens({laptop, other});
  EXPECT_FALSE(window().isShown);
  other = projector;
  other.model = "Monitor";
  setScreens({laptop, other});
  EXPECT_FALSE(window().isShown);
  other = projector;
  other.name = "DP-1";
  setScreens({laptop, other});
  EXPECT_FALSE(window().isShown);
  setScreens({projector, other, laptop});
  EXPECT_TRUE(window().isShown);
}

TEST_F(ProjectionScreens, WhatIsDoneWhileItIsAwayHoldsWhenItIsBack) {
  openOn(projector);
  setScreens({laptop});
  controller.toggleFullScreen();
  state.visualBlendMode.set(VisualBlendMode::multiply);
  controller.updateContent();
  controller.open(std::nullopt, false);
  EXPECT_FALSE(window().isShown);
  setScreens({laptop, projector});
  EXPECT_FALSE(window().isFullScreen());
  setScreens({laptop});
  controller.open(std::nullopt, true);
  EXPECT_FALSE(window().isShown);
  setScreens({laptop, projector});
  EXPECT_TRUE(window().isFullScreen());
}

TEST_F(ProjectionScreens, ClosedWhileItIsAwayItStaysClosed) {
  openOn(projector);
  setScreens({laptop});
  controller.close();
  setScreens({laptop, projector});
  EXPECT_FALSE(window().isShown);
  EXPECT_THAT(windows.windows, SizeIs(1));
}

TEST_F(ProjectionScreens, OpenedElsewhereWhileItIsAwayItStaysThere) {
  openOn(projector);
  setScreens({laptop});
  openOn(laptop);
  EXPECT_TRUE(window().isShown);
  window().calls.clear();
  setScreens({laptop, projector});
  EXPECT_THAT(window().calls, IsEmpty());
}

TEST_F(ProjectionScreens, ItFollowsTheScreenThatAPersonHasDraggedItTo) {
  controller.open(projector, false);
  window().isOn = laptop;
  setScreens({laptop, projector});
  setScreens({laptop});
  EXPECT_TRUE(window().isShown) << "its own screen is still there";
}

TEST_F(ProjectionScreens, OtherScreensComeAndGoWithoutIt) {
  openOn(projector);
  window().calls.clear();
  setScreens({projector});
  setScreens({laptop, projector});
  EXPECT_THAT(window().calls, IsEmpty());
}

}  // namespace
}  // namespace vrel
