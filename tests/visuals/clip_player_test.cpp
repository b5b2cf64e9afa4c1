// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "visuals/visual_stage.h"

namespace vrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ClipPlayer : public VisualStage {
 protected:
  std::shared_ptr<VrelVisualClipPlayer> make(const std::string& path) {
    return VrelVisualClipPlayer::make(clip(60, path), videos, mainQueue);
  }
};

TEST_F(ClipPlayer, IsNotMadeWithoutAPath) {
  EXPECT_EQ(make(""), nullptr);
  EXPECT_EQ(videos.playersMade, 0);
  EXPECT_THAT(console.lines, IsEmpty());
}

TEST_F(ClipPlayer, IsConfiguredInOrderThenLooped) {
  const auto player = make("/a.mov");
  EXPECT_THAT(queuePlayerOf(*player).calls, ElementsAre("at end none", "muted", "no wait", "loop"));
  EXPECT_EQ(player->note, 60);
  EXPECT_EQ(player->filePath, "/a.mov");
  EXPECT_EQ(player->opacity.get(), 0.0);
  EXPECT_FALSE(player->isVisible.get());
  EXPECT_NE(player->looper, nullptr);
  EXPECT_NE(player->id, make("/a.mov")->id);
}

TEST_F(ClipPlayer, ThatHoldsItsLastPicturePlaysOnceAndPausesAtTheEnd) {
  auto mapping = clip(60, "/a.mov");
  mapping.holdsLastPicture = true;
  const auto player = VrelVisualClipPlayer::make(mapping, videos, mainQueue);
  EXPECT_THAT(queuePlayerOf(*player).calls, ElementsAre("at end pause", "muted", "no wait", "insert"));
  EXPECT_EQ(player->looper, nullptr);
  player->prepare(nullptr);
  videos.finishLoads();
  mainQueue.runAll();
  EXPECT_EQ(queuePlayerOf(*player).item->forwardBuffer, 0.1);
}

TEST_F(ClipPlayer, WarmUpReadsASecondAssetAndThenBuffersATenthOfASecond) {
  const auto player = make("/a.mov");
  const auto templateAsset = videos.lastAsset;
  bool completed = false;
  player->prepare([&] { completed = true; });
  EXPECT_NE(videos.lastAsset, templateAsset);
  EXPECT_EQ(videos.lastAsset->path, "/a.mov");
  EXPECT_THAT(videos.lastAsset->loadedKeys, ElementsAre("playable", "duration", "tracks"));
  videos.finishLoads();
  EXPECT_FALSE(completed) << "it is reported on the main queue";
  EXPECT_EQ(queuePlayerOf(*player).item->forwardBuffer, 0);
  mainQueue.runAll();
  EXPECT_TRUE(completed);
  EXPECT_EQ(queuePlayerOf(*player).item->forwardBuffer, 0.1);
}

TEST_F(ClipPlayer, WarmUpWithoutAnItemCompletes) {
  const auto player = make("/a.mov");
  queuePlayerOf(*player).item = nullptr;
  bool completed = false;
  player->prepare([&] { completed = true; });
  videos.finishLoads();
  mainQueue.runAll();
  EXPECT_TRUE(completed);
}

TEST_F(ClipPlayer, WarmUpKeepsNothingAlive) {
  auto player = make("/a.mov");
  const std::weak_ptr<VrelVisualClipPlayer> weak = player;
  bool completed = false;
  player->prepare([&] { completed = true; });
  player.reset();
  EXPECT_TRUE(weak.expired());
  videos.finishLoads();
  mainQueue.runAll();
  EXPECT_TRUE(completed);
}

TEST_F(ClipPlayer, StartRewindsAndPlaysWithNothingInBetween) {
  const auto player = make("/a.mov");
  auto& queue = queuePlayerOf(*player);
  queue.calls.clear();
  player->start();
  EXPECT_THAT(queue.calls, ElementsAre("seek 0 0 0", "play"));
  EXPECT_EQ(player->opacity.get(), 1.0);
  EXPECT_TRUE(player->isVisible.get());
}

TEST_F(ClipPlayer, FadeOutStopsAndRewindsAfter180Milliseconds) {
  const auto player = make("/a.mov");
  auto& queue = queuePlayerOf(*player);
  player->start();
  queue.calls.clear();
  player->fadeOut();
  EXPECT_EQ(player->opacity.get(), 0.0);
  mainQueue.advance(0.179);
  EXPECT_TRUE(player->isVisible.get());
  EXPECT_THAT(queue.calls, IsEmpty());
  mainQueue.advance(0.002);
  EXPECT_FALSE(player->isVisible.get());
  EXPECT_THAT(queue.calls, ElementsAre("pause", "seek 0 0 0"));
}

TEST_F(ClipPlayer, AStartWithinTheFadeCancelsTheStop) {
  const auto player = make("/a.mov");
  player->start();
  player->fadeOut();
  mainQueue.advance(0.1);
  player->start();
  mainQueue.advance(1);
  EXPECT_TRUE(player->isVisible.get());
  EXPECT_TRUE(queuePlayerOf(*player).isPlaying);
}

TEST_F(ClipPlayer, FadeOutKeepsNothingAlive) {
  auto player = make("/a.mov");
  const std::weak_ptr<VrelVisualClipPlayer> weak = player;
  player->fadeOut();
  player.reset();
  EXPECT_TRUE(weak.expired());
  mainQueue.advance(1);
}

}  // namespace
}  // namespace vrel
