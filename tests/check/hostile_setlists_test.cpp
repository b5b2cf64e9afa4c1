// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "check/checked_songs.h"
#include "check/report_coding.h"
#include "check/setlist_check.h"
#include "document/setlist_coding.h"

namespace vrel {
namespace {

CheckReport checkBytes(const std::string& bytes) {
  const auto setlist = readSetlist(bytes);
  EXPECT_TRUE(setlist) << setlist.error().description;
  const std::vector<AVAudioUnitComponent> none;
  const MediaStates whole;
  return setlist ? checkSetlist(setlist.value(), {none, none, whole, whole}) : CheckReport{};
}

TEST(HostileSetlists, AnEmptyDocumentHasNoSongs) {
  EXPECT_EQ(kindsOf(checkBytes("{}").findings), std::vector({FindingKind::noSongs}));
  EXPECT_EQ(kindsOf(checkBytes("[]").findings), std::vector({FindingKind::noSongs})) << "of the oldest form";
}

TEST(HostileSetlists, ASongWithoutAnythingIsOneWithoutSound) {
  const auto report = checkBytes(R"({"songs":[{}, {"channels":[{}]}]})");
  ASSERT_EQ(report.pages.size(), 2U);
  EXPECT_EQ(kindsOf(report.pages[0].findings), std::vector({FindingKind::noSound}));
  EXPECT_EQ(kindsOf(report.pages[1].findings), std::vector({FindingKind::noSound}));
}

TEST(HostileSetlists, UnknownFieldsArePassedOver) {
  const auto report = checkBytes(
      R"({"tomorrow":1,"songs":[{"name":"A","tomorrow":{},"channels":[{"plugin_path":"x","tomorrow":[[]]}]}]})");
  ASSERT_EQ(report.pages.size(), 1U);
  EXPECT_EQ(kindsOf(report.pages[0].findings), std::vector({FindingKind::unknownSource, FindingKind::noSound}));
}

TEST(HostileSetlists, NumbersAtTheEndsOfTheirRangesAreChecked) {
  auto strip = stripWith("internal:visual", 255, 255);
  strip.transpose = std::numeric_limits<std::int8_t>::min();
  strip.visualClipMappings = {{.note = 255, .filePath = "/x"}};
  auto other = stripWith("au:A:B", 0, 255);
  other.transpose = std::numeric_limits<std::int8_t>::max();
  SongConfig song = songWith({strip, other});
  song.keyboardStartNote = 255;
  song.keyboardKeyCount = 255;
  song.midiControlAssignments = {
      {{MidiControlKind::channelMute, std::numeric_limits<std::int64_t>::max()}, {255, 255, 255}},
      {{MidiControlKind::channelMute, std::numeric_limits<std::int64_t>::min()}, {255, 255, 255}}};
  const std::vector<AVAudioUnitComponent> none;
  const MediaStates whole;
  const auto report = checkSetlist({.songs = {song}}, {none, none, whole, whole});
  EXPECT_GE(report.pages.at(0).findings.size(), 3U);
  EXPECT_TRUE(decodeReport(encodeReport(report)));
}

TEST(HostileSetlists, AThousandSongsOfMissingPluginsAreEachReported) {
  SetlistFile setlist;
  for (int number = 0; number < 1000; ++number) {
    setlist.songs.push_back(songWith(std::vector(16, stripWith("aucd:1635085685:7:7"))));
    setlist.songs.back().name = std::to_string(number);
  }
  const std::vector<AVAudioUnitComponent> none;
  const MediaStates whole;
  auto report = checkSetlist(setlist, {none, none, whole, whole});
  EXPECT_EQ(countsOf(report).errors, 16'000U);
  sortWorstFirst(report);
  EXPECT_EQ(report.pages.front().name, "0") << "equally bad songs keep their order";
  EXPECT_EQ(report.pages.size(), 1000U);
}

}  // namespace
}  // namespace vrel
