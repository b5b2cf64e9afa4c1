// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/clip_stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "system/media/clips/clip_files.h"

namespace vrel::system {
namespace {

using test::clipFile;
using test::countOf;
using testing::Each;

/// A clip whose decoding is stepped by the test: no threads, no real time.
class ClipStreams : public testing::Test {
 protected:
  /// Steps decoding until it is idle.
  static void settle(ClipStream& stream) {
    for (int steps = 0; stream.request() != ClipStream::Request::nothing; ++steps) {
      ASSERT_LT(steps, 1000) << "decoding never becomes idle";
      stream.step();
    }
  }

  static void start(ClipStream& stream, double now) {
    stream.rewind();
    stream.play(now);
  }

  /// The numbers of the pictures at the middle of each 25th of a second, decoding in between.
  static std::vector<int> watch(ClipStream& stream, double from, int pictures) {
    std::vector<int> counts;
    for (int index = 0; index < pictures; ++index) {
      settle(stream);
      counts.push_back(countOf(stream.picture(from + (index + 0.5) * 0.04)));
    }
    return counts;
  }

  static std::vector<int> repeatedFrom(int first, int length, int pictures) {
    std::vector<int> counts;
    for (int index = 0; index < pictures; ++index) {
      counts.push_back((first + index) % length);
    }
    return counts;
  }
  static std::vector<int> repeated(int length, int pictures) { return repeatedFrom(0, length, pictures); }

  const std::atomic<bool> isOver{false};
};

TEST_F(ClipStreams, APreparedClipHoldsItsFirstPicturesAndNoMore) {
  ClipStream stream(clipFile("count-h264.mp4"), isOver);
  EXPECT_FALSE(stream.isPrepared());
  settle(stream);
  EXPECT_TRUE(stream.isPrepared());
  EXPECT_GT(stream.keptByteCount(), 8U * 64 * 48 * 3 / 2 - 1);
  EXPECT_LT(stream.keptByteCount(), ClipStream::keptBytes);
  stream.rewind();
  EXPECT_EQ(countOf(stream.picture(5)), 0);
}

TEST_F(ClipStreams, OfLargePicturesHoldsFewerButOneAtLeast) {
  ClipStream fewer(clipFile("many-lines.mkv"), isOver);
  settle(fewer);
  constexpr std::size_t picture = std::size_t{3840} * 2160 * 3 / 2;
  EXPECT_GE(fewer.keptByteCount(), 2 * picture);
  EXPECT_LT(fewer.keptByteCount(), ClipStream::keptBytes + picture);
  start(fewer, 0);
  EXPECT_THAT(watch(fewer, 0, 12), Each(testing::Ge(0)));
  ClipStream one(clipFile("most-lines.mkv"), isOver);
  settle(one);
  EXPECT_GT(one.keptByteCount(), ClipStream::keptBytes);
  EXPECT_LT(one.keptByteCount(), 3 * ClipStream::keptBytes);
}

TEST_F(ClipStreams, ATruncatedClipRepeatsWhatIsThere) {
  ClipStream stream(clipFile("truncated.mp4"), isOver);
  settle(stream);
  start(stream, 0);
  const auto counts = watch(stream, 0, 100);
  const auto length = 1 + *std::max_element(counts.begin(), counts.end());
  EXPECT_GT(length, static_cast<int>(ClipStream::keptPictures));
  EXPECT_LT(length, 25);
  EXPECT_EQ(std::vector(counts.end() - 3 * length, counts.end()),
            repeatedFrom(counts[counts.size() - 3 * length], length, 3 * length));
}

TEST_F(ClipStreams, AStartShowsTheFirstPictureBeforeAnythingIsDecoded) {
  ClipStream stream(clipFile("count-h264.mp4"), isOver);
  settle(stream);
  start(stream, 10);
  for (int count = 0; count < static_cast<int>(ClipStream::keptPictures); ++count) {
    EXPECT_EQ(countOf(stream.picture(10 + (count + 0.5) * 0.04)), count) << "without a step";
  }
}

TEST_F(ClipStreams, LoopsWithoutASeam) {
  for (const auto* name : {"count-h264.mp4", "count-vp9.webm", "lying-long.mp4", "lying-short.mkv", "with-sound.mp4"}) {
    ClipStream stream(clipFile(name), isOver);
    settle(stream);
    start(stream, 100);
    EXPECT_EQ(watch(stream, 100, 110), repeated(25, 110)) << name;
  }
}

TEST_F(ClipStreams, AShortClipLoopsWithoutBeingDecodedAgain) {
  ClipStream stream(clipFile("short.mp4"), isOver);
  settle(stream);
  start(stream, 0);
  EXPECT_EQ(stream.request(), ClipStream::Request::nothing);
  EXPECT_EQ(watch(stream, 0, 23), repeated(5, 23));
}

TEST_F(ClipStreams, OnePictureStaysForAsLongAsItPlays) {
  ClipStream stream(clipFile("one-picture.mp4"), isOver);
  settle(stream);
  start(stream, 0);
  EXPECT_THAT(watch(stream, 0, 10), Each(0));
}

TEST_F(ClipStreams, ALargeStillIsDecodedOnce) {
  ClipStream stream(clipFile("large.png"), isOver);
  settle(stream);
  ASSERT_GT(stream.keptByteCount(), ClipStream::keptBytes);
  start(stream, 0);
  const auto first = stream.picture(0);
  ASSERT_NE(first, nullptr);
  for (int count = 0; count < 10; ++count) {
    EXPECT_EQ(stream.picture(count * 0.5), first);
    EXPECT_EQ(stream.request(), ClipStream::Request::nothing) << count;
  }
}

TEST_F(ClipStreams, ShowsUnevenPicturesUntilTheNextIsDue) {
  ClipStream stream(clipFile("uneven.mkv"), isOver);
  settle(stream);
  start(stream, 0);
  for (int count = 0; count < 25; ++count) {
    settle(stream);
    EXPECT_EQ(countOf(stream.picture(count * count / 100.0 + 0.002)), count);
    settle(stream);
    if (count == 24) {
      break;
    }
    EXPECT_EQ(countOf(stream.picture((count + 1) * (count + 1) / 100.0 - 0.002)), count);
  }
}

TEST_F(ClipStreams, ARestartBeginsWithTheFirstPictureAndFollowsOn) {
  ClipStream stream(clipFile("count-h264.mp4"), isOver);
  settle(stream);
  start(stream, 0);
  watch(stream, 0, 20);
  start(stream, 1);
  EXPECT_EQ(countOf(stream.picture(1)), 0);
  EXPECT_EQ(watch(stream, 1, 40), repeated(25, 40));
}

TEST_F(ClipStreams, APauseHoldsThePictureAndARewoundPauseTheFirst) {
  ClipStream stream(clipFile("count-h264.mp4"), isOver);
  settle(stream);
  start(stream, 0);
  EXPECT_EQ(watch(stream, 0, 13).back(), 12);
  stream.pause(0.51);
  settle(stream);
  EXPECT_EQ(countOf(stream.picture(9)), 12);
  stream.rewind();
  EXPECT_EQ(countOf(stream.picture(9)), 0);
  EXPECT_EQ(stream.request(), ClipStream::Request::nothing) << "the codec is suspended";
}

TEST_F(ClipStreams, AClipStartedUnpreparedCountsFromItsFirstPicture) {
  ClipStream stream(clipFile("count-h264.mp4"), isOver);
  start(stream, 0);
  EXPECT_EQ(stream.picture(0.3), nullptr);
  EXPECT_EQ(stream.request(), ClipStream::Request::decoding) << "it comes before what is only prepared";
  settle(stream);
  EXPECT_EQ(countOf(stream.picture(5)), 0);
  EXPECT_EQ(watch(stream, 5, 40), repeated(25, 40));
}

TEST_F(ClipStreams, AnUndecodableClipShowsNothingAndRequestsNothing) {
  for (const auto& name : test::filesWithoutPictures()) {
    ClipStream stream(clipFile(name), isOver);
    settle(stream);
    start(stream, 0);
    EXPECT_EQ(stream.picture(0.1), nullptr) << name;
    EXPECT_EQ(stream.request(), ClipStream::Request::nothing) << name;
    EXPECT_EQ(stream.keptByteCount(), 0U);
  }
}

/// A clip of a megabyte, so that a reader has most of it still on the disk, playing from a file of its own.
class ChangedWhileItPlays : public ClipStreams, public testing::WithParamInterface<const char*> {
 protected:
  ChangedWhileItPlays() {
    std::filesystem::copy_file(clipFile(GetParam()), path, std::filesystem::copy_options::overwrite_existing);
    settle(stream);
    start(stream, 0);
    EXPECT_EQ(watch(stream, 0, 10), repeated(25, 10));
  }
  ~ChangedWhileItPlays() override { std::filesystem::remove(path); }

  void overwriteWith(const std::string& bytes) { std::ofstream(path, std::ios::trunc | std::ios::binary) << bytes; }

  const std::string path = testing::TempDir() + "changed-" + std::to_string(::getpid()) + "-" + GetParam();
  ClipStream stream{path, isOver};
};

INSTANTIATE_TEST_SUITE_P(All, ChangedWhileItPlays, testing::Values("large-mjpeg.mkv", "large-h264.mp4"));

TEST_P(ChangedWhileItPlays, ARemovedFilePlaysOn) {
  std::filesystem::remove(path);
  EXPECT_EQ(watch(stream, 0.4, 65), repeatedFrom(10, 25, 65));
}

TEST_P(ChangedWhileItPlays, AFileReplacedByNamePlaysOnAsItWas) {
  std::filesystem::copy_file(clipFile("upright.mp4"), path + ".new", std::filesystem::copy_options::overwrite_existing);
  std::filesystem::rename(path + ".new", path);
  EXPECT_EQ(watch(stream, 0.4, 65), repeatedFrom(10, 25, 65));
  start(stream, 10);
  EXPECT_EQ(watch(stream, 10, 40), repeated(25, 40)) << "also from a new start";
}

TEST_P(ChangedWhileItPlays, OfAFileCutToNothingWhatIsKeptGoesOn) {
  overwriteWith("");
  const auto counts = watch(stream, 0.4, 100);
  EXPECT_THAT(counts, Each(testing::Ge(0))) << "never black";
  const std::vector<int> last(counts.end() - 24, counts.end());
  EXPECT_EQ(last, repeatedFrom(last.front(), static_cast<int>(ClipStream::keptPictures), 24)) << "and it moves";
  start(stream, 10);
  EXPECT_EQ(watch(stream, 10, 8), repeated(8, 8));
}

TEST_P(ChangedWhileItPlays, CutToNothingAndWithoutALooperItStaysOnTheLastKeptPicture) {
  overwriteWith("");
  stream.setLooping(false);
  start(stream, 10);
  EXPECT_EQ(watch(stream, 10, 8), repeated(8, 8));
  EXPECT_THAT(watch(stream, 11, 5), Each(7));
  EXPECT_EQ(stream.request(), ClipStream::Request::nothing);
}

TEST_P(ChangedWhileItPlays, OverwrittenItIsNeverBlack) {
  const auto moving = [](const std::string& name) {
    std::ifstream file(clipFile(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  for (const auto& bytes :
       {moving("count-vp9.webm"), moving("large-mjpeg.mkv").substr(7), std::string(2'000'000, 'x')}) {
    overwriteWith(bytes);
    for (int index = 0; index < 60; ++index) {
      settle(stream);
      ASSERT_NE(stream.picture(0.4 + index * 0.04), nullptr) << index;
    }
    start(stream, 10);
    EXPECT_EQ(countOf(stream.picture(10)), 0);
    start(stream, 0);
  }
}

TEST_F(ClipStreams, DecodingThatLagsShowsPicturesLateAndInOrder) {
  ClipStream stream(clipFile("count-h264.mp4"), isOver);
  settle(stream);
  start(stream, 0);
  EXPECT_EQ(countOf(stream.picture(0.9)), 7) << "the last that is there";
  settle(stream);
  EXPECT_EQ(countOf(stream.picture(0.9 + 0.06)), 8) << "and on from it";
}

TEST_F(ClipStreams, WithoutALooperStaysOnItsLastPicture) {
  ClipStream stream(clipFile("count-h264.mp4"), isOver);
  settle(stream);
  stream.setLooping(false);
  start(stream, 0);
  EXPECT_EQ(watch(stream, 0, 40).back(), 24);
  settle(stream);
}

TEST_F(ClipStreams, AtTheRateOfAScreenTheSeamOfALoopHasNoDoubleOrMissingPicture) {
  for (const double rate : {24.0, 50.0, 60.0, 144.0}) {
    ClipStream stream(clipFile("count-h264.mp4"), isOver);
    settle(stream);
    start(stream, 100);
    for (int refresh = 0; refresh < 4 * static_cast<int>(rate); ++refresh) {
      const double seconds = (refresh + 0.37) / rate;  // never where two pictures meet
      settle(stream);
      ASSERT_EQ(countOf(stream.picture(100 + seconds)), static_cast<int>(seconds / 0.04) % 25)
          << "refresh " << refresh << " of " << rate;
    }
  }
}

TEST_F(ClipStreams, TakersOfDifferentRatesEachGetWhatIsDueForThem) {
  ClipStream stream(clipFile("count-h264.mp4"), isOver);
  settle(stream);
  start(stream, 0);
  int slow = 0;
  int quick = 0;
  // One asks for what its next refresh will show, 1/24 of a second ahead, the other for what is due now.
  for (double now = 0.001; now < 2.5; now += 1.0 / 144) {
    settle(stream);
    if (now >= slow / 24.0) {
      const double ahead = (slow + 1) / 24.0 + 0.001;
      ASSERT_EQ(countOf(stream.picture(ahead)), static_cast<int>(ahead / 0.04) % 25) << ahead;
      ++slow;
    }
    ASSERT_EQ(countOf(stream.picture(now)), static_cast<int>(now / 0.04) % 25) << now;
    ++quick;
  }
  EXPECT_EQ(slow, 60);
  EXPECT_GT(quick, 350);
}

TEST_F(ClipStreams, SeveralTakersCostNoMorePicturesOfMemory) {
  ClipStream stream(clipFile("count-h264.mp4"), isOver);
  settle(stream);
  stream.setForwardBuffer(1000);
  start(stream, 0);
  settle(stream);
  EXPECT_EQ(countOf(stream.picture(0.22)), 5);
  EXPECT_EQ(countOf(stream.picture(0.19)), 4);
  settle(stream);
  // 1.0 is due: all that was decoded, which is 16 pictures from the oldest that a taker may want.
  EXPECT_EQ(countOf(stream.picture(0.99)), 4 + static_cast<int>(ClipStream::aheadPictures));
}

TEST_F(ClipStreams, DecodesNoFurtherAheadThanItIsAllowed) {
  ClipStream stream(clipFile("count-h264.mp4"), isOver);
  settle(stream);
  stream.setForwardBuffer(1000);
  start(stream, 0);
  settle(stream);
  // All that was decoded is due at once; what was not comes later.
  EXPECT_EQ(countOf(stream.picture(0.96)), static_cast<int>(ClipStream::aheadPictures) - 1);
}

}  // namespace
}  // namespace vrel::system
