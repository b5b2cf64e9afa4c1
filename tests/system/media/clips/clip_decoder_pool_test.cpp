// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/clip_decoder_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <iterator>
#include <memory>
#include <string>
#include <thread>

#include "system/media/clips/clip_files.h"

namespace vrel::system {
namespace {

using test::clipFile;
using test::countOf;

/// Any step of more than a millisecond hangs; those of a test hang until its end.
class DecoderPool : public testing::Test {
 protected:
  ~DecoderPool() override { answer_.set_value(); }

  void readSilently(const std::string& path) {
    pool.post(path, [this, answered = answered_](const std::atomic<bool>& /*isOver*/) {
      ++hanging;
      answered.wait();
    });
  }

  /// Plays a clip to its fifteenth picture, which is not among those that are kept.
  void playsOn(const std::string& name) {
    const auto clip = pool.open(clipFile(name));
    while (!clip->isPrepared()) {
      std::this_thread::yield();
    }
    clip->rewind();
    clip->play(10);
    const auto showsAt = [&](double seconds, int count) {
      for (int taken = -1; taken != count;) {
        taken = countOf(clip->picture(10 + seconds));
        pool.wake();
        std::this_thread::yield();
      }
    };
    for (int picture = 0; picture < 15; ++picture) {
      showsAt((picture + 0.5) * 0.04, picture);
    }
    pool.retire(clip);
  }

 private:
  std::promise<void> answer_;
  std::shared_future<void> answered_ = answer_.get_future().share();

 protected:
  std::atomic<int> hanging{0};
  ClipDecoderPool pool{std::chrono::milliseconds(1)};
};

TEST_F(DecoderPool, ClipsPlayBesideFilesThatHang) {
  for (int file = 0; file < 100; ++file) {
    readSilently("/silent/" + std::to_string(file));
  }
  playsOn("count-h264.mp4");
  EXPECT_GE(hanging, 1);
  EXPECT_LE(hanging, 2) << "what else lies there is left alone";
}

TEST_F(DecoderPool, SeveralFoldersMayHangAtATime) {
  for (int folder = 0; folder < 6; ++folder) {
    readSilently("/silent/" + std::to_string(folder) + "/file");
  }
  while (hanging < 6) {
    std::this_thread::yield();
  }
  playsOn("count-vp9.webm");
}

TEST(DecoderPools, ThreadsThatTookThePlaceOfOthersEnd) {
  const auto threads = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), std::filesystem::directory_iterator());
  };
  const auto before = threads();
  ClipDecoderPool pool(std::chrono::milliseconds(1));
  std::promise<void> answer;
  const std::shared_future<void> answered = answer.get_future().share();
  std::atomic<int> hanging{0};
  constexpr int folders = 10;
  for (int folder = 0; folder < folders; ++folder) {
    pool.post("/silent/" + std::to_string(folder) + "/file", [&hanging, answered](const std::atomic<bool>& /*isOver*/) {
      ++hanging;
      answered.wait();
    });
  }
  while (hanging < folders) {
    std::this_thread::yield();
  }
  EXPECT_GT(threads(), before + folders);
  answer.set_value();
  while (threads() > before + 3) {
    std::this_thread::yield();
  }
}

TEST_F(DecoderPool, AStepThatComputesForLongDoesNotHang) {
  std::promise<bool> isPassed;
  pool.post("/busy/file", [&](const std::atomic<bool>& /*isOver*/) {
    const auto computeUntil = [](std::chrono::steady_clock::duration longest, const std::atomic<bool>& isEnough) {
      const auto end = std::chrono::steady_clock::now() + longest;
      while (!isEnough && std::chrono::steady_clock::now() < end) {
      }
    };
    std::atomic<bool> hasRun{false};
    std::atomic<bool> isEnded{false};
    computeUntil(std::chrono::milliseconds(20), isEnded);
    pool.post("/busy/other", [&](const std::atomic<bool>& /*isOver*/) {
      hasRun = true;
      isEnded.wait(false);
    });
    computeUntil(std::chrono::seconds(20), hasRun);
    isPassed.set_value(hasRun);
    isEnded = true;
    isEnded.notify_all();
  });
  EXPECT_TRUE(isPassed.get_future().get()) << "what else lies in its folder goes on";
}

}  // namespace
}  // namespace vrel::system
