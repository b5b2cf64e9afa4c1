// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>

#include "system/media/media_files.h"

namespace vrel::system::test {
namespace {

using testing::HasSubstr;
using testing::Values;

std::string refusal(const std::string& name) {
  AudioFiles files;
  const auto file = files.openForReading(mediaFile(name));
  return file.ok() ? "it opened" : file.error().description;
}

TEST(BadAudioFile, IsRefusedInWords) {
  EXPECT_THAT(refusal("missing.wav"), HasSubstr("No such file"));
  EXPECT_THAT(refusal("empty.wav"), HasSubstr("is empty"));
  EXPECT_THAT(refusal("text.wav"), HasSubstr("no audio"));
  EXPECT_THAT(refusal("silent-movie.mp4"), HasSubstr("has no audio stream"));
  EXPECT_THAT(refusal("rate-0.wav"), testing::Not("it opened"));
  EXPECT_THAT(refusal("."), HasSubstr("is not a regular file"));
}

TEST(BadAudioFile, ThatIsAPipeOrADeviceIsRefusedWithoutBeingOpened) {
  const auto pipe = std::filesystem::path(testing::TempDir()) / "vrel-audio-pipe.wav";
  std::filesystem::remove(pipe);
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const int watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  ASSERT_GE(::inotify_add_watch(watch, pipe.c_str(), IN_OPEN), 0);
  AudioFiles files;
  const auto file = files.openForReading(pipe.string());
  ASSERT_FALSE(file.ok());
  EXPECT_THAT(file.error().description, HasSubstr("is not a regular file"));
  std::array<char, 256> events{};
  EXPECT_LT(::read(watch, events.data(), events.size()), 0) << "it was opened";
  ::close(watch);
  std::filesystem::remove(pipe);
  const auto device = files.openForReading("/dev/zero");
  ASSERT_FALSE(device.ok());
  EXPECT_THAT(device.error().description, HasSubstr("is not a regular file"));
}

TEST(BadAudioFile, WithoutFramesOpensAndReadsNothing) {
  const auto file = opened("zero.wav");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->length(), 0);
  EXPECT_EQ(readAt(*file, 0, 100)[0].size(), 0U);
}

TEST(BadAudioFile, OfOneFrameReadsIt) {
  const auto file = opened("one.wav");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->length(), 1);
  EXPECT_EQ(readAt(*file, 0, 100)[0], std::vector{0.5F});
}

TEST(BadAudioFile, ThatListsOthersOpensNoneOfThem) {
  EXPECT_THAT(refusal("list.wav"), HasSubstr("no audio"));
  EXPECT_THAT(refusal("list.mp4"), HasSubstr("no audio"));
}

TEST(BadAudioFile, WithoutAStatedLengthHasTheLengthOfItsFrames) {
  const auto file = opened("untold.flac");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->length(), 96000);
  EXPECT_EQ(readAt(*file, 90000, 1)[0][0], countAt(90000));
}

TEST(BadAudioFile, ThatClaimsMoreThanItHoldsIsAsLongAsItIs) {
  constexpr std::int64_t lastPacket = 1152;  // the header says how much of it to trim, which is ignored
  for (const auto& [name, length] : {std::pair{"lying.wav", 1000},
                                     {"lying.aiff", 96000},
                                     {"lying.flac", 96000},
                                     {"lying.mp3", 144000},
                                     {"lying.m4a", 144000}}) {
    SCOPED_TRACE(name);
    const auto file = opened(name);
    ASSERT_NE(file, nullptr);
    EXPECT_GE(file->length(), length);
    EXPECT_LE(file->length(), length + lastPacket);
    EXPECT_EQ(static_cast<std::int64_t>(readAt(*file, 0, 400000)[0].size()), file->length());
  }
}

class CutFile : public testing::TestWithParam<std::string> {};

TEST_P(CutFile, PlaysWhatItHasOrIsRefused) {
  AudioFiles files;
  for (const std::string prefix : {"cut-", "stub-"}) {
    const auto file = files.openForReading(mediaFile(prefix + GetParam()));
    if (!file) {
      EXPECT_THAT(file.error().description, HasSubstr(GetParam()));
      continue;
    }
    EXPECT_LE(file.value()->length(), 144000);
    AVAudioPCMBuffer buffer(file.value()->processingFormat(), 150000);
    for (const std::int64_t start : {std::int64_t{0}, file.value()->length() / 2, file.value()->length()}) {
      file.value()->setFramePosition(start);
      const auto failure = file.value()->readIntoBuffer(buffer, 150000);
      EXPECT_LE(start + buffer.frameLength, file.value()->length());
      EXPECT_TRUE(failure || start + buffer.frameLength == file.value()->length());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Media, CutFile,
                         Values("count.wav", "count.flac", "tones.ogg", "tones.mp3", "tones.m4a", "tones-opus.webm"),
                         [](const auto& each) { return each.param.substr(each.param.find('.') + 1); });

class OpenFile : public testing::Test {
 protected:
  const CopiedFile copy{"count.wav", "open-file.wav"};
  const std::string path = copy.path;
  AudioFiles files;
};

TEST_F(OpenFile, ReadsOnWhenItsNameIsRemovedOrGivenToAnother) {
  const auto file = files.openForReading(path);
  ASSERT_TRUE(file.ok());
  std::filesystem::remove(path);
  EXPECT_EQ(readAt(*file.value(), 5000, 1)[0][0], countAt(5000));
  std::filesystem::copy_file(mediaFile("one.wav"), path);
  EXPECT_EQ(readAt(*file.value(), 90000, 1)[0][0], countAt(90000));
}

TEST_F(OpenFile, ReportsWhenItBecomesShorter) {
  const auto file = files.openForReading(path);
  ASSERT_TRUE(file.ok());
  std::filesystem::resize_file(path, std::filesystem::file_size(path) - std::uintmax_t{4} * 95000);
  AVAudioPCMBuffer buffer({48000, 2}, 500);
  file.value()->setFramePosition(800);
  const auto failure = file.value()->readIntoBuffer(buffer, 500);
  ASSERT_TRUE(failure);
  EXPECT_THAT(failure->description, HasSubstr("unexpected end of file"));
  EXPECT_EQ(buffer.frameLength, 200U);
}

}  // namespace
}  // namespace vrel::system::test
