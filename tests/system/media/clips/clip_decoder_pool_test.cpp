// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/clip_decoder_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
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

}  // namespace
}  // namespace vrel::system
