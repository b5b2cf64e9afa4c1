// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <filesystem>

#include "system/media/clips/clip_files.h"
#include "system/media/decoding_check.h"

namespace vrel::system::test {
namespace {

TEST(ClipDecodingCheck, WholeClipsAreDecodedToTheirEnd) {
  for (const auto* name :
       {"count-h264.mkv", "count-h264.mp4", "count-hevc.mp4", "count-mjpeg.mov", "count-prores.mov", "count-vp9.webm",
        "alpha-vp9.webm", "one-picture.mp4", "short.mp4", "upright.png", "upright.jpg", "upright.webp"}) {
    const auto failure = checkClipDecoding(clipFile(name));
    EXPECT_FALSE(failure) << name << ": " << (failure ? failure->reason : "");
  }
}

TEST(ClipDecodingCheck, AClipThatIsCutOffIsIncomplete) {
  const auto cut = std::filesystem::path(testing::TempDir()) / "vrel-cut-clip.mov";
  std::filesystem::copy_file(clipFile("count-mjpeg.mkv"), cut, std::filesystem::copy_options::overwrite_existing);
  std::filesystem::resize_file(cut, std::filesystem::file_size(cut) / 2);
  const auto failure = checkClipDecoding(cut.string());
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->kind, DecodingFailure::Kind::incomplete) << failure->reason;
  std::filesystem::remove(cut);
}

TEST(ClipDecodingCheck, WhatIsNotAClipIsUnreadable) {
  for (const auto* name : {"text.mov", "empty.mp4", "only-sound.mp4", "only-header.mkv", "missing.mp4"}) {
    const auto failure = checkClipDecoding(clipFile(name));
    ASSERT_TRUE(failure) << name;
    EXPECT_EQ(failure->kind, DecodingFailure::Kind::unreadable) << name << ": " << failure->reason;
  }
}

}  // namespace
}  // namespace vrel::system::test
