// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/clip_factory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "simulation/virtual_time.h"
#include "system/media/clips/clip_files.h"

namespace vrel::system {
namespace {

using test::clipFile;
using test::countOf;

/// Real threads, on a clock that only the test advances.
class ClipPlayers : public testing::Test {
 protected:
  struct Clip {
    std::shared_ptr<AVQueuePlayer> player;
    std::shared_ptr<AVPlayerLooper> looper;
  };

  Clip make(const std::string& name) {
    Clip clip{factory.makeQueuePlayer(), nullptr};
    clip.looper = factory.makePlayerLooper(clip.player, factory.makePlayerItem(factory.makeAsset(clipFile(name))));
    return clip;
  }

  static bool waitUntil(const std::function<bool()>& isSo) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!isSo() && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return isSo();
  }

  void moveTo(double seconds) { clock.setNanoseconds(1'000'000'000 + static_cast<std::uint64_t>(seconds * 1e9)); }

  simulation::VirtualClock clock;
  ClipFactory factory{clock};
};

TEST_F(ClipPlayers, PrepareThemselvesAndLoop) {
  const auto clip = make("count-h264.mp4");
  ASSERT_TRUE(waitUntil([&] { return clip.player->copyPicture() != nullptr; }));
  clip.player->seekToTime(0, 0, 0);
  clip.player->play();
  EXPECT_EQ(countOf(clip.player->copyPicture()), 0);
  for (int index = 0; index < 60; ++index) {
    moveTo((index + 0.5) * 0.04);
    EXPECT_TRUE(waitUntil([&] { return countOf(clip.player->copyPicture()) == index % 25; })) << index;
  }
}

TEST_F(ClipPlayers, OneThatIsInsertedStaysOnItsLastPictureUntilItIsStartedAgain) {
  for (const auto& [name, last] : {std::pair("count-h264.mp4", 24), std::pair("short.mp4", 4)}) {
    moveTo(0);
    const auto player = factory.makeQueuePlayer();
    player->setActionAtItemEnd(AVPlayerActionAtItemEnd::pause);
    player->insertItem(factory.makePlayerItem(factory.makeAsset(clipFile(name))));
    ASSERT_TRUE(waitUntil([&] { return player->copyPicture() != nullptr; })) << name;
    player->seekToTime(0, 0, 0);
    player->play();
    EXPECT_EQ(countOf(player->copyPicture()), 0) << name;
    for (int index = 0; index < 40; ++index) {
      moveTo((index + 0.5) * 0.04);
      EXPECT_TRUE(waitUntil([&] { return countOf(player->copyPicture()) == std::min(index, last); })) << name << index;
    }
    moveTo(1000);
    EXPECT_EQ(countOf(player->copyPicture()), last) << name;
    player->seekToTime(0, 0, 0);
    player->play();
    EXPECT_EQ(countOf(player->copyPicture()), 0) << name;
  }
}

TEST_F(ClipPlayers, AStillStaysForAsLongAsItPlays) {
  const auto clip = make("upright.png");
  ASSERT_TRUE(waitUntil([&] { return clip.player->copyPicture() != nullptr; }));
  clip.player->seekToTime(0, 0, 0);
  clip.player->play();
  const auto picture = clip.player->copyPicture();
  for (const double seconds : {0.01, 0.05, 3.0, 10000.0}) {
    moveTo(seconds);
    EXPECT_EQ(clip.player->copyPicture(), picture) << seconds;
  }
}

TEST_F(ClipPlayers, ManyAtOnceKeepToTheirOwnClips) {
  std::vector<Clip> clips;
  for (int index = 0; index < 20; ++index) {
    clips.push_back(make(index % 2 == 0 ? "count-h264.mp4" : "text.mov"));
  }
  for (std::size_t index = 0; index < clips.size(); index += 2) {
    EXPECT_TRUE(waitUntil([&] { return countOf(clips[index].player->copyPicture()) == 0; }));
    clips[index].player->play();
  }
  moveTo(0.5);
  for (std::size_t index = 0; index < clips.size(); index += 2) {
    EXPECT_TRUE(waitUntil([&] { return countOf(clips[index].player->copyPicture()) == 12; }));
    EXPECT_EQ(clips[index + 1].player->copyPicture(), nullptr);
  }
}

TEST_F(ClipPlayers, GoAtAnyTimeAndOutliveTheirFactory) {
  auto own = std::make_unique<ClipFactory>(clock);
  const auto makeOwn = [&] {
    auto player = own->makeQueuePlayer();
    auto looper = own->makePlayerLooper(player, own->makePlayerItem(own->makeAsset(clipFile("count-vp9.webm"))));
    return Clip{player, looper};
  };
  for (int index = 0; index < 20; ++index) {
    const auto clip = makeOwn();
    clip.player->play();
  }
  const auto last = makeOwn();
  own.reset();
  EXPECT_TRUE(waitUntil([&] { return countOf(last.player->copyPicture()) == 0; }));
}

TEST_F(ClipPlayers, AnyAssetReportsTheEndOfItsLoad) {
  std::atomic<int> loaded{0};
  std::vector<std::shared_ptr<AVURLAsset>> assets;
  for (const auto* name : {"count-h264.mp4", "gone.mp4", "text.mov"}) {
    assets.push_back(factory.makeAsset(clipFile(name)));
    assets.back()->loadValuesAsynchronouslyForKeys({"playable", "duration", "tracks"}, [&] { ++loaded; });
  }
  EXPECT_TRUE(waitUntil([&] { return loaded == 3; }));
}

TEST_F(ClipPlayers, WithoutAnItemShowNothing) {
  const auto player = factory.makeQueuePlayer();
  player->setMuted(true);
  player->seekToTime(0, 0, 0);
  player->play();
  player->pause();
  EXPECT_EQ(player->copyPicture(), nullptr);
  EXPECT_EQ(player->currentItem(), nullptr);
}

TEST_F(ClipPlayers, FilesAreFoundByPath) {
  std::atomic<int> found{0};
  std::atomic<int> answered{0};
  for (const auto* name : {"text.mov", "gone.mp4"}) {
    factory.findFile(clipFile(name), [&](bool isThere) {
      found += isThere ? 1 : 0;
      ++answered;
    });
  }
  ASSERT_TRUE(waitUntil([&] { return answered == 2; }));
  EXPECT_EQ(found, 1);
}

TEST_F(ClipPlayers, ASummaryHasASmallFirstPictureAndTheLength) {
  std::atomic<bool> isThere{false};
  ClipSummary summary;
  factory.summarise(clipFile("count-h264.mp4"), [&](const ClipSummary& found) {
    summary = found;
    isThere = true;
  });
  ASSERT_TRUE(waitUntil([&] { return isThere.load(); }));
  EXPECT_TRUE(summary.isPlayable);
  EXPECT_NEAR(summary.seconds, 1, 0.1);
  EXPECT_GT(summary.width, 0U);
  EXPECT_LE(summary.width, 96U);
  EXPECT_LE(summary.height, 54U);
  EXPECT_EQ(summary.pixels.size(), summary.width * summary.height * 4);
}

TEST_F(ClipPlayers, ASummaryOfAStillSaysSoAndWhenItIsTooLarge) {
  const auto summaryOf = [this](const std::string& name) {
    std::atomic<bool> isThere{false};
    ClipSummary summary;
    factory.summarise(clipFile(name), [&](const ClipSummary& found) {
      summary = found;
      isThere = true;
    });
    EXPECT_TRUE(waitUntil([&] { return isThere.load(); }));
    return summary;
  };
  const auto photo = summaryOf("photo.jpg");
  EXPECT_TRUE(photo.isStill && photo.isPlayable && !photo.isTooLarge);
  EXPECT_EQ(photo.seconds, 0);
  EXPECT_EQ(photo.height, 54U);
  const auto large = summaryOf("too-large.png");
  EXPECT_TRUE(large.isStill && large.isTooLarge && !large.isPlayable);
  EXPECT_FALSE(summaryOf("short.mp4").isStill);
}

TEST_F(ClipPlayers, ASummaryOfWhatIsNotAClipSaysSo) {
  for (const std::string& path : {std::string("/nowhere.mp4"), std::string("/"), std::string(__FILE__)}) {
    std::atomic<bool> isThere{false};
    ClipSummary summary;
    factory.summarise(path, [&](const ClipSummary& found) {
      summary = found;
      isThere = true;
    });
    ASSERT_TRUE(waitUntil([&] { return isThere.load(); }));
    EXPECT_EQ(summary, ClipSummary()) << path;
  }
}

}  // namespace
}  // namespace vrel::system
