// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/playback_cache.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "simulation/simulated_audio_files.h"
#include "simulation/virtual_time.h"

namespace vrel {
namespace {

constexpr std::uint64_t fileBytes = 4800 * sizeof(float);

/// Mono files of 4800 frames, each sample its number in 1/10000.
class DecodedAhead : public testing::Test {
 protected:
  DecodedAhead() {
    for (const std::string name : {"/a", "/b", "/c"}) {
      auto& sound = files.sounds[name];
      sound.channels.resize(1);
      for (int frame = 0; frame < 4800; ++frame) {
        sound.channels[0].push_back(sampleAt(frame));
      }
      files.identities[name] = "first";
    }
  }

  static float sampleAt(std::int64_t frame) { return static_cast<float>(frame) / 10000.0F; }

  void decode(PlaybackCache& cache, std::vector<PlaybackCache::Range> wanted) {
    cache.decodeAhead(std::move(wanted));
    for (const char* queue : {"vrel.playback.decoder.1", "vrel.playback.decoder.2"}) {
      queues.queue(queue).runAll();
    }
    files.openCount = 0;
  }

  simulation::SimulatedAudioFiles files;
  simulation::CrankedQueueFactory queues;
};

TEST_F(DecodedAhead, ARangeIsPlayedWithoutOpeningItsFile) {
  PlaybackCache cache(files, queues);
  decode(cache, {{"/a", 0.025, 0.075}});
  const auto playback = cache.prepared({"/a", 0.025, 0.075});
  ASSERT_TRUE(playback);
  EXPECT_EQ(files.openCount, 0);
  EXPECT_EQ(playback->duration, 0.1);
  EXPECT_EQ(playback->range, (PlaybackRange{0.025, 0.075, 1200, 2400}));
  EXPECT_EQ(playback->buffer->frameLength, 2400U);
  EXPECT_EQ(playback->meterPeaks.size(), 4U);
  EXPECT_EQ(playback->file->length(), 4800);
  AVAudioPCMBuffer buffer(playback->file->processingFormat(), 100U);
  playback->file->setFramePosition(1300);
  ASSERT_FALSE(playback->file->readIntoBuffer(buffer, 100));
  EXPECT_EQ(buffer.frameLength, 100U);
  EXPECT_EQ(buffer.floatChannelData()[0][7], sampleAt(1307));
  playback->file->setFramePosition(3590);
  ASSERT_FALSE(playback->file->readIntoBuffer(buffer, 100));
  EXPECT_EQ(buffer.frameLength, 10U) << "the range ends there";
}

TEST_F(DecodedAhead, EachUserHasAPositionOfItsOwnInTheSameMemory) {
  PlaybackCache cache(files, queues);
  decode(cache, {{"/a", 0, 0}});
  const auto one = cache.prepared({"/a", 0, 0});
  const auto other = cache.prepared({"/a", 0, 0});
  ASSERT_TRUE(one && other);
  EXPECT_EQ(one->buffer, other->buffer);
  one->file->setFramePosition(100);
  EXPECT_EQ(other->file->framePosition(), 0);
}

TEST_F(DecodedAhead, TheTimesOfALoadedChannelAreThoseOfItsRecord) {
  PlaybackCache cache(files, queues);
  decode(cache, {{"/a", 0, 0}});
  const auto playback = cache.prepared({"/a", 0, 0.1});
  ASSERT_TRUE(playback);
  EXPECT_EQ(playback->range, (PlaybackRange{0, 0.1, 0, 4800}));
  EXPECT_FALSE(cache.prepared({"/a", 0, 0.05}));
}

TEST_F(DecodedAhead, AFileThatWasChangedIsNotTakenFromMemory) {
  PlaybackCache cache(files, queues);
  decode(cache, {{"/a", 0, 0}});
  files.identities["/a"] = "second";
  EXPECT_FALSE(cache.prepared({"/a", 0, 0}));
  files.identities.erase("/a");
  EXPECT_FALSE(cache.prepared({"/a", 0, 0}));
}

TEST_F(DecodedAhead, WhatIsChangedIsDecodedAgainAtTheNextCall) {
  PlaybackCache cache(files, queues);
  decode(cache, {{"/a", 0, 0}});
  files.identities["/a"] = "second";
  EXPECT_FALSE(cache.prepared({"/a", 0, 0}));
  decode(cache, {{"/a", 0, 0}});
  EXPECT_TRUE(cache.prepared({"/a", 0, 0}));
}

TEST_F(DecodedAhead, WhatDoesNotFitIsLeftOutAndTheFirstOnesCome) {
  PlaybackCache cache(files, queues, 2 * fileBytes);
  decode(cache, {{"/a", 0, 0}, {"/b", 0, 0}, {"/c", 0, 0}});
  EXPECT_TRUE(cache.prepared({"/a", 0, 0}));
  EXPECT_TRUE(cache.prepared({"/b", 0, 0}));
  EXPECT_FALSE(cache.prepared({"/c", 0, 0}));
  decode(cache, {{"/c", 0, 0}, {"/a", 0, 0}, {"/b", 0, 0}});
  EXPECT_TRUE(cache.prepared({"/c", 0, 0}));
  EXPECT_TRUE(cache.prepared({"/a", 0, 0}));
  EXPECT_FALSE(cache.prepared({"/b", 0, 0})) << "it is wanted last";
}

TEST_F(DecodedAhead, WhatIsNotWantedAnyMoreGoes) {
  PlaybackCache cache(files, queues);
  decode(cache, {{"/a", 0, 0}});
  decode(cache, {{"/b", 0, 0}});
  EXPECT_FALSE(cache.prepared({"/a", 0, 0}));
}

TEST_F(DecodedAhead, WhatIsDecodedIsNotDecodedAgain) {
  PlaybackCache cache(files, queues);
  decode(cache, {{"/a", 0, 0}});
  cache.decodeAhead({{"/a", 0, 0.1}, {"/a", 0, 0}});
  queues.queue("vrel.playback.decoder.1").runAll();
  EXPECT_EQ(files.openCount, 0);
}

TEST_F(DecodedAhead, WhatCannotBeReadIsNotPrepared) {
  PlaybackCache cache(files, queues);
  files.sounds["/a"].readFailure = Error{"bad sector"};
  files.identities["/missing"] = "first";
  decode(cache, {{"/a", 0, 0}, {"/missing", 0, 0}, {"/b", 0, 0}});
  EXPECT_FALSE(cache.prepared({"/a", 0, 0}));
  EXPECT_FALSE(cache.prepared({"/missing", 0, 0}));
  EXPECT_TRUE(cache.prepared({"/b", 0, 0}));
}

}  // namespace
}  // namespace vrel
