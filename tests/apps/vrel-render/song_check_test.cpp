// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/song_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace vrel::render {
namespace {

ChannelConfig checkedStrip(int minNote, int maxNote, const std::string& path = "x") {
  ChannelConfig strip;
  strip.pluginPath = path;
  strip.minNote = static_cast<std::uint8_t>(minNote);
  strip.maxNote = static_cast<std::uint8_t>(maxNote);
  return strip;
}

std::set<int> playedNotes(const SongConfig& song) {
  std::set<int> notes;
  for (const auto& chord : checkChords(song)) {
    notes.insert(chord.notes.begin(), chord.notes.end());
  }
  return notes;
}

TEST(CheckChords, GoFromTheLowestKeyOfEachSplitToItsHighest) {
  SongConfig song;
  song.channels = {checkedStrip(36, 59), checkedStrip(60, 96)};
  const auto notes = playedNotes(song);
  for (const int end : {36, 59, 60, 96}) {
    EXPECT_TRUE(notes.contains(end)) << end;
  }
  EXPECT_EQ(*notes.begin(), 36);
  EXPECT_EQ(*notes.rbegin(), 96);
}

TEST(CheckChords, PlayAllStripsAtATimeAndNoKeyTwice) {
  SongConfig song;
  song.channels = {checkedStrip(36, 59), checkedStrip(60, 96), checkedStrip(60, 96)};
  for (const auto& chord : checkChords(song)) {
    EXPECT_LT(chord.start, chord.end);
    EXPECT_LT(chord.notes.front(), 60);
    EXPECT_GE(chord.notes.back(), 60);
    EXPECT_EQ(std::adjacent_find(chord.notes.begin(), chord.notes.end()), chord.notes.end());
  }
}

TEST(CheckChords, StayOnTheKeyboardWhereTheSplitMeetsIt) {
  SongConfig song;
  song.keyboardStartNote = 48;
  song.keyboardKeyCount = 25;
  song.channels = {checkedStrip(0, 127)};
  EXPECT_EQ(*playedNotes(song).begin(), 48);
  EXPECT_EQ(*playedNotes(song).rbegin(), 72);
  song.channels = {checkedStrip(90, 95)};
  EXPECT_EQ(*playedNotes(song).begin(), 90) << "from a second keyboard";
}

TEST(CheckChords, OfAStripThatNoKeyReachesOrThatPlaysNothingAreEmpty) {
  SongConfig song;
  song.channels = {checkedStrip(61, 60), checkedStrip(0, 127, "")};
  EXPECT_TRUE(playedNotes(song).empty());
  EXPECT_TRUE(playedNotes({}).empty());
}

TEST(CheckChords, OfAWideSplitEndAtTheLastNote) {
  SongConfig song;
  song.keyboardStartNote = 0;
  song.keyboardKeyCount = 255;
  song.channels = {checkedStrip(0, 255)};
  EXPECT_EQ(*playedNotes(song).rbegin(), 127);
}

}  // namespace
}  // namespace vrel::render
