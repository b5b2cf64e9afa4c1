// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "document/setlist_coding.h"

namespace vrel::app::test {

/// One song of the show that the tests make in the window, whether by pointer or by assistive technology.
struct MadeSong {
  const char* typedName;  // the first song is renamed, the others are added
  const char* name;
  std::uint32_t tempoBpm;
  std::array<const char*, 2> instruments;
  std::uint8_t masterFader;  // the controller that it learns in this song
};

inline constexpr std::array<MadeSong, 3> madeSongs{{
    {"Opener", "Opener", 93, {"Zoo Sine", "Zoo Mono"}, 21},
    {"Ballad", "02. Ballad", 140, {"Zoo Mono", "Zoo Sine"}, 22},
    {"Encore", "03. Encore", 72, {"Zoo Sine", "Zoo Sine"}, 23},
}};

/// The controller that the fader of the first strip learns, for all songs.
inline constexpr std::uint8_t stripFader = 20;
inline constexpr const char* madeStripName = "Left Hand";
inline constexpr const char* madeEffect = "Zoo Mono Effect";
/// The first strip plays up to the first of these notes, the second from the next one on.
inline constexpr std::uint8_t splitNote = 59;

/// What of the show must be in its file.
inline void expectMadeShow(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const auto setlist = readSetlist(std::string(std::istreambuf_iterator<char>(file), {}));
  ASSERT_TRUE(setlist) << setlist.error().description;
  const auto& songs = setlist.value().songs;
  ASSERT_EQ(songs.size(), madeSongs.size());
  for (std::size_t index = 0; index < songs.size(); ++index) {
    const auto& made = madeSongs.at(index);
    const auto& song = songs[index];
    SCOPED_TRACE(made.name);
    EXPECT_EQ(song.name, made.name);
    EXPECT_EQ(song.tempoBpm, made.tempoBpm);
    ASSERT_EQ(song.channels.size(), 2U);
    const auto& left = song.channels[0];
    const auto& right = song.channels[1];
    EXPECT_EQ(left.name, madeStripName);
    EXPECT_FALSE(left.pluginPath.empty());
    EXPECT_FALSE(right.pluginPath.empty());
    EXPECT_EQ(left.pluginPath == right.pluginPath, made.instruments[0] == std::string(made.instruments[1]));
    EXPECT_EQ(left.maxNote, splitNote);
    EXPECT_EQ(right.minNote, splitNote + 1);
    EXPECT_LT(left.minNote, 40);
    EXPECT_GT(right.maxNote, 80);
    ASSERT_EQ(left.effectSlots.size(), 1U);
    EXPECT_EQ(left.effectSlots[0].pluginName, madeEffect);
    EXPECT_TRUE(right.effectSlots.empty());
    ASSERT_EQ(song.midiControlAssignments.size(), 1U);
    EXPECT_EQ(song.midiControlAssignments[0].target, (MidiControlTarget{MidiControlKind::masterVolume, {}}));
    EXPECT_EQ(song.midiControlAssignments[0].binding.number, made.masterFader);
  }
  const auto& inAllSongs = setlist.value().globalMidiControlAssignments;
  ASSERT_EQ(inAllSongs.size(), 1U);
  EXPECT_EQ(inAllSongs[0].target, (MidiControlTarget{MidiControlKind::channelVolume, 0}));
  EXPECT_EQ(inAllSongs[0].binding.number, stripFader);
}

}  // namespace vrel::app::test
