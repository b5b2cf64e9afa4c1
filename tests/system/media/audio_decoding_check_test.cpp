// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "system/media/decoding_check.h"
#include "system/media/media_files.h"

namespace vrel::system::test {
namespace {

TEST(AudioDecodingCheck, WholeFilesAreDecodedToTheirEnd) {
  for (const auto* name : {"count.wav", "count.aiff", "count.flac", "tones.ogg", "tones.mp3", "tones.m4a", "tones.aac",
                           "tones.opus", "tones-opus.webm", "tones-aac.mkv", "movie.mp4"}) {
    const auto failure = checkAudioDecoding(mediaFile(name));
    EXPECT_FALSE(failure) << name << ": " << (failure ? failure->reason : "");
  }
}

TEST(AudioDecodingCheck, AFileThatIsCutOffIsIncomplete) {
  for (const auto* name :
       {"cut-count.flac", "cut-count.wav", "cut-tones.mp3", "lying.wav", "lying.flac", "lying.aiff"}) {
    const auto failure = checkAudioDecoding(mediaFile(name));
    ASSERT_TRUE(failure) << name;
    EXPECT_EQ(failure->kind, DecodingFailure::Kind::incomplete) << name << ": " << failure->reason;
  }
}

TEST(AudioDecodingCheck, WhatIsNotAudioIsUnreadable) {
  for (const auto* name : {"text.wav", "empty.wav", "silent-movie.mp4", "missing.wav", "."}) {
    const auto failure = checkAudioDecoding(mediaFile(name));
    ASSERT_TRUE(failure) << name;
    EXPECT_EQ(failure->kind, DecodingFailure::Kind::unreadable) << name;
    EXPECT_FALSE(failure->reason.empty()) << name;
  }
}

}  // namespace
}  // namespace vrel::system::test
