// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "visuals/projection_stage.h"

namespace vrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using enum LayerBlending;

class ProjectionView : public ProjectionStage {};

TEST_F(ProjectionView, TheFirstOfTwoClipsIsDrawnNormallyAndTheSecondMultipliesOverIt) {
  const auto channel = addClips({clip(60, "/a.mov"), clip(62, "/b.mov")});
  state.visualBlendMode.set(VisualBlendMode::multiply);
  openOn(projector);
  noteOn(62);
  noteOn(60);
  EXPECT_THAT(blendings(), ElementsAre(normal, multiply));
  EXPECT_EQ(window().scene().layers[0].player, playerOf(*channel, 62)->player)
      << "the first that was started lies below";
  EXPECT_EQ(window().scene().layers[1].key, playerOf(*channel, 60)->id);
}

TEST_F(ProjectionView, InTheModeNormalTheLaterClipCoversTheEarlier) {
  addClips({clip(60, "/a.mov"), clip(62, "/b.mov")});
  state.visualBlendMode.set(VisualBlendMode::normal);
  openOn(projector);
  noteOn(60);
  noteOn(62);
  EXPECT_THAT(blendings(), ElementsAre(normal, normal));
}

TEST_F(ProjectionView, EachModeDrawsAllClipsButTheFirst) {
  addClips({clip(60, "/a.mov"), clip(62, "/b.mov"), clip(64, "/c.mov")});
  openOn(projector);
  noteOn(60);
  noteOn(62);
  noteOn(64);
  for (const auto& [mode, blending] : {std::pair(VisualBlendMode::multiply, multiply),
                                       {VisualBlendMode::screen, screen},
                                       {VisualBlendMode::plusLighter, plusLighter},
                                       {VisualBlendMode::normal, normal}}) {
    state.visualBlendMode.set(mode);
    controller.updateContent();
    EXPECT_THAT(blendings(), ElementsAre(normal, blending, blending));
  }
}

TEST_F(ProjectionView, WithABackgroundAndNoClipThePlaceholderDoesNotShow) {
  openOn(projector);
  EXPECT_EQ(window().scene().placeholder, "VREL Stage");
  state.visualBackgroundVideoPath.set("/sea.mov");
  controller.updateContent();
  EXPECT_EQ(window().scene().placeholder, "");
  settle();
  EXPECT_NE(window().scene().background, nullptr);
  state.visualBackgroundVideoPath.set("");
  controller.updateContent();
  EXPECT_EQ(window().scene().placeholder, "VREL Stage");
  EXPECT_EQ(window().scene().background, nullptr);
}

TEST_F(ProjectionView, ThePlaceholderGoesWithTheFirstClipAndReturnsWithTheLast) {
  addClips({clip(60, "/a.mov")});
  openOn(projector);
  noteOn(60);
  EXPECT_EQ(window().scene().placeholder, "");
  noteOff(60);
  EXPECT_EQ(window().scene().placeholder, "") << "it still fades";
  mainQueue.advance(1);
  EXPECT_EQ(window().scene().placeholder, "VREL Stage");
  EXPECT_THAT(window().scene().layers, IsEmpty());
}

TEST_F(ProjectionView, AChangeOfTheBlendModeTakesEffectAtOnceAndRestartsNothing) {
  const auto channel = addClips({clip(60, "/a.mov"), clip(62, "/b.mov")});
  state.visualBackgroundVideoPath.set("/sea.mov");
  openOn(projector);
  noteOn(60);
  noteOn(62);
  const auto background = window().scene().background;
  const std::vector players{background, playerOf(*channel, 60)->player, playerOf(*channel, 62)->player};
  std::vector<simulation::VideoCalls> before;
  for (const auto& player : players) {
    before.push_back(recorded(player).calls);
  }
  state.visualBlendMode.set(VisualBlendMode::screen);
  controller.updateContent();
  EXPECT_THAT(blendings(), ElementsAre(normal, screen));
  EXPECT_EQ(window().scene().background, background);
  for (std::size_t index = 0; index < players.size(); ++index) {
    EXPECT_EQ(recorded(players[index]).calls, before[index]);
  }
}

TEST_F(ProjectionView, EachChangeOfAnOpacityIsHandedOnSoThatItCanBeFaded) {
  addClips({clip(60, "/a.mov"), clip(62, "/b.mov")});
  openOn(projector);
  noteOn(60);
  EXPECT_THAT(opacities(), ElementsAre(1.0));
  noteOn(62);
  noteOff(60);
  EXPECT_THAT(opacities(), ElementsAre(0.0, 1.0));
  noteOn(60);
  EXPECT_THAT(opacities(), ElementsAre(1.0, 1.0)) << "within the fade";
}

TEST_F(ProjectionView, AClipThatIsNotVisibleAnyMoreIsStillDrawnByItsOpacity) {
  const auto channel = addClips({clip(60, "/a.mov")});
  openOn(projector);
  noteOn(60);
  noteOff(60);
  mainQueue.advance(0.19);
  ASSERT_FALSE(playerOf(*channel, 60)->isVisible.get());
  EXPECT_THAT(opacities(), ElementsAre(0.0));
}

TEST_F(ProjectionView, TheClipsOfARemovedStripVanishWithNoFade) {
  const auto channel = addClips({clip(60, "/a.mov")});
  openOn(projector);
  noteOn(60);
  engine->removeChannel(*channel);
  EXPECT_THAT(window().scene().layers, IsEmpty());
}

using BackgroundVideo = ProjectionStage;

TEST_F(BackgroundVideo, IsSilentAndLoopsFromTheAppearanceOfTheWindow) {
  state.visualBackgroundVideoPath.set("/sea.mov");
  EXPECT_EQ(videos.playersMade, 0);
  openOn(projector);
  EXPECT_THAT(recorded(window().scene().background).calls,
              ElementsAre("at end none", "muted", "no wait", "loop", "play"));
  EXPECT_EQ(videos.lastAsset->path, "/sea.mov");
}

TEST_F(BackgroundVideo, OfAnotherFileReplacesTheOneBeforeAndTouchesNoClip) {
  const auto channel = addClips({clip(60, "/a.mov")});
  state.visualBackgroundVideoPath.set("/sea.mov");
  openOn(projector);
  noteOn(60);
  const auto sea = window().scene().background;
  const auto clipCalls = queuePlayerOf(*playerOf(*channel, 60)).calls;
  const auto layers = window().scene().layers;
  state.visualBackgroundVideoPath.set("/sky.mov");
  controller.updateContent();
  settle();
  EXPECT_FALSE(recorded(sea).isPlaying);
  EXPECT_NE(window().scene().background, sea);
  EXPECT_TRUE(recorded(window().scene().background).isPlaying);
  EXPECT_EQ(queuePlayerOf(*playerOf(*channel, 60)).calls, clipCalls);
  EXPECT_EQ(window().scene().layers, layers);
}

TEST_F(BackgroundVideo, ThatDoesNotExistLeavesBlackWithoutAWord) {
  state.visualBackgroundVideoPath.set("/gone.mov");
  openOn(projector);
  EXPECT_EQ(window().scene().background, nullptr);
  EXPECT_EQ(window().scene().placeholder, "") << "one is set";
  EXPECT_EQ(videos.playersMade, 0);
  EXPECT_THAT(console.lines, IsEmpty());
}

TEST_F(BackgroundVideo, ThatIsTakenAwayIsPausedAndReleased) {
  state.visualBackgroundVideoPath.set("/sea.mov");
  openOn(projector);
  const std::weak_ptr<AVQueuePlayer> sea = window().scene().background;
  const auto kept = sea.lock();
  state.visualBackgroundVideoPath.set(std::nullopt);
  controller.updateContent();
  EXPECT_EQ(recorded(kept).calls.back(), "pause");
  window().scenes.erase(window().scenes.begin(), window().scenes.end() - 1);
  EXPECT_EQ(kept.use_count(), 1);
}

TEST_F(BackgroundVideo, EndsWithTheWindowAndStartsAgainWithIt) {
  state.visualBackgroundVideoPath.set("/sea.mov");
  openOn(projector);
  const auto first = window().scene().background;
  window().pressCloseButton();
  EXPECT_FALSE(recorded(first).isPlaying);
  EXPECT_EQ(window().scene(), ProjectionScene{}) << "the window keeps no players while it is hidden";
  openOn(projector);
  const auto second = window().scene().background;
  EXPECT_NE(second, first);
  EXPECT_TRUE(recorded(second).isPlaying);
  controller.close();
  EXPECT_FALSE(recorded(second).isPlaying);
}

TEST_F(BackgroundVideo, InAFolderThatDoesNotAnswerHoldsUpNothingAndComesLate) {
  videos.silentPaths = {"/sea.mov"};
  addClips({clip(60, "/a.mov")});
  state.visualBackgroundVideoPath.set("/sea.mov");
  openOn(projector);
  EXPECT_EQ(window().scene().background, nullptr);
  EXPECT_EQ(window().scene().placeholder, "");
  noteOn(60);
  EXPECT_THAT(window().scene().layers, SizeIs(1));
  videos.silentPaths.clear();
  settle();
  ASSERT_NE(window().scene().background, nullptr);
  EXPECT_TRUE(recorded(window().scene().background).isPlaying);
}

TEST_F(BackgroundVideo, ThatIsReplacedWhileItIsLookedForNeverPlays) {
  videos.silentPaths = {"/sea.mov"};
  state.visualBackgroundVideoPath.set("/sea.mov");
  openOn(projector);
  state.visualBackgroundVideoPath.set("/sky.mov");
  controller.updateContent();
  settle();
  const auto sky = window().scene().background;
  ASSERT_NE(sky, nullptr);
  videos.silentPaths.clear();
  settle();
  EXPECT_EQ(window().scene().background, sky);
  EXPECT_EQ(videos.playersMade, 1);
  controller.close();
  videos.silentPaths = {"/sea.mov"};
  state.visualBackgroundVideoPath.set("/sea.mov");
  openOn(projector);
  controller.close();
  videos.silentPaths.clear();
  settle();
  EXPECT_EQ(videos.playersMade, 1) << "nor after the window has gone";
}

}  // namespace
}  // namespace vrel
