// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/mpeg_packets.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "system/media/media_files.h"

namespace vrel::system::test {
namespace {

std::string contentOf(const std::string& name) {
  std::ifstream file(mediaFile(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// A file of these bytes.
struct WrittenFile {
  WrittenFile(const std::string& name, const std::string& bytes) : path(mediaFile(name)) {
    std::ofstream(path, std::ios::binary) << bytes;
  }
  ~WrittenFile() { std::filesystem::remove(path); }
  WrittenFile(const WrittenFile&) = delete;
  WrittenFile& operator=(const WrittenFile&) = delete;

  const std::string path;
};

TEST(MpegPackets, AreAsManyAsTheEncodersTagSaysAndHoldTheWholeFile) {
  const auto packets = findMpegPackets(mediaFile("tones.mp3"));
  ASSERT_TRUE(packets);
  EXPECT_EQ(packets->framesEach, 1152);
  EXPECT_EQ(packets->stated, packets->count);
  EXPECT_TRUE(packets->hold(144000));
  EXPECT_FALSE(packets->hold(packets->count * 1152 + 1));
}

TEST(MpegPackets, WithoutAnEncodersTagAreCountedFromTheFirst) {
  std::string bytes = contentOf("tones.mp3");
  const auto tag = bytes.find("Info");
  ASSERT_NE(tag, std::string::npos);
  bytes.replace(tag, 4, 4, '\0');
  const WrittenFile file("plain-packets.mp3", bytes + "TAG" + std::string(125, ' '));
  const auto packets = findMpegPackets(file.path);
  ASSERT_TRUE(packets);
  EXPECT_FALSE(packets->stated);
  EXPECT_EQ(packets->count, findMpegPackets(mediaFile("tones.mp3"))->count + 1);
}

TEST(MpegPackets, FewerThanStatedDoNotHoldTheFile) {
  const auto packets = findMpegPackets(mediaFile("lying.mp3"));
  ASSERT_TRUE(packets);
  EXPECT_FALSE(packets->hold(1));
}

TEST(MpegPackets, OfADamagedOrOtherFileAreUnknown) {
  const std::string whole = contentOf("tones.mp3");
  for (const std::size_t cut : {std::size_t{1}, std::size_t{100}, whole.size() / 2, whole.size() - 3}) {
    const WrittenFile file("cut-packets.mp3", whole.substr(0, whole.size() - cut));
    const auto packets = findMpegPackets(file.path);
    EXPECT_TRUE(!packets || !packets->hold(144000)) << cut;
  }
  std::string damaged = whole;
  damaged.replace(whole.size() / 2, 1000, 1000, '\0');
  const WrittenFile file("damaged-packets.mp3", damaged);
  EXPECT_FALSE(findMpegPackets(file.path));
  for (const char* const other : {"count.wav", "tones.ogg", "empty.wav", "text.wav", "absent.mp3", "stub-tones.mp3"}) {
    EXPECT_FALSE(findMpegPackets(mediaFile(other))) << other;
  }
}

TEST(MpegPackets, ADamagedFileIsAsLongAsWhatCanBeDecoded) {
  std::string damaged = contentOf("tones.mp3");
  damaged.replace(damaged.size() / 2, 1000, 1000, '\0');
  const WrittenFile written("damaged-middle.mp3", damaged);
  const auto file = opened("damaged-middle.mp3");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(static_cast<std::int64_t>(readAt(*file, 0, 400000)[0].size()), file->length());
}

}  // namespace
}  // namespace vrel::system::test
