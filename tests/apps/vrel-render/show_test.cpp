// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/show.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace vrel::render {
namespace {

MidiFileEvent text(double seconds, const std::string& words, MidiFileText::Kind kind = MidiFileText::Kind::marker) {
  return {seconds, MidiFileText{kind, words}};
}

std::vector<ShowStep> stepsOf(std::vector<MidiFileEvent> events) {
  return showSteps({std::move(events), 10});
}

TEST(Show, MessagesAreStepsWithAZeroWhereTheyHaveNoThirdByte) {
  EXPECT_EQ(stepsOf({{0, MidiFileMessage{0x93, 60, 100}},
                     {0.5, MidiFileMessage{0x83, 60, 0}},
                     {1, MidiFileMessage{0xC3, 5, 0}},
                     {1, MidiFileMessage{0xDF, 77, 0}},
                     {2, MidiFileMessage{0xE0, 0, 64}}}),
            (std::vector<ShowStep>{{0, MidiFileMessage{0x93, 60, 100}},
                                   {0.5, MidiFileMessage{0x83, 60, 0}},
                                   {1, MidiFileMessage{0xC3, 5, 0}},
                                   {1, MidiFileMessage{0xDF, 77, 0}},
                                   {2, MidiFileMessage{0xE0, 0, 64}}}));
}

TEST(Show, MarkersAndTextsPressSongsAndPanic) {
  EXPECT_EQ(stepsOf({text(0, "song 2"), text(1, "panic", MidiFileText::Kind::text), text(2, "  song   17\n")}),
            (std::vector<ShowStep>{{0, SongStep{2, "song 2"}}, {1, PanicStep{}}, {2, SongStep{17, "song   17"}}}));
}

TEST(Show, AMarkerTapsTheTempo) {
  EXPECT_EQ(stepsOf({text(0.5, "tap"), text(1, " tap ")}), (std::vector<ShowStep>{{0.5, TapStep{}}, {1, TapStep{}}}));
}

TEST(Show, MarkersSwitchLiveModeAndPressKeys) {
  EXPECT_EQ(stepsOf({text(0, "live on"), text(1, "live  off"), text(2, "key p"), text(3, " key cmd+3\n")}),
            (std::vector<ShowStep>{{0, LiveStep{true, "live on"}},
                                   {1, LiveStep{false, "live  off"}},
                                   {2, KeyStep{"p"}},
                                   {3, KeyStep{"cmd+3"}}}));
}

TEST(Show, MarkersLearnTheControlsThatTheyName) {
  EXPECT_EQ(stepsOf({text(0, "learn panic"), text(1, "learn  channel_volume  12")}),
            (std::vector<ShowStep>{
                {0, LearnStep{MidiControlTarget{MidiControlKind::panic, {}}, "learn panic"}},
                {1, LearnStep{MidiControlTarget{MidiControlKind::channelVolume, 12}, "learn  channel_volume  12"}}}));
  for (const char* words : {"learn", "learn volume", "learn channel_volume", "learn panic 2", "learn channel_mute x",
                            "learn channel_mute 1 2", "learn panic now"}) {
    EXPECT_EQ(stepsOf({text(1, words)}), (std::vector<ShowStep>{{1, LearnStep{std::nullopt, words}}})) << words;
  }
}

TEST(Show, AnUnknownLiveModeValueIsKeptForTheReport) {
  for (const char* words : {"live", "live maybe", "live on off", "live ON"}) {
    EXPECT_EQ(stepsOf({text(1, words)}), (std::vector<ShowStep>{{1, LiveStep{std::nullopt, words}}})) << words;
  }
  EXPECT_EQ(stepsOf({text(1, "key"), text(1, "key no such")}),
            (std::vector<ShowStep>{{1, KeyStep{""}}, {1, KeyStep{"no such"}}}));
}

TEST(Show, ASongThatIsNotANumberIsKeptForTheReport) {
  for (const char* words : {"song", "song x", "song -1", "song 1.5", "song 1 2", "song 99999999999"}) {
    EXPECT_EQ(stepsOf({text(1, words)}), (std::vector<ShowStep>{{1, SongStep{std::nullopt, words}}})) << words;
  }
}

TEST(Show, OtherTextsAreIgnored) {
  EXPECT_TRUE(stepsOf({text(0, ""), text(0, "Verse"), text(0, "songbird 1"), text(0, "panic!"), text(0, "Song 1"),
                       text(0, "taps"), text(0, "lively on"), text(0, "keys p"), text(0, "panic now"), text(0, "tap 2"),
                       text(0, "PANIC"), text(0, " ")})
                  .empty());
}

TEST(Show, TheOrderOfTheFileStays) {
  const auto steps = stepsOf({{1, MidiFileMessage{0x90, 1, 1}}, text(1, "panic"), {1, MidiFileMessage{0x90, 2, 2}}});
  ASSERT_EQ(steps.size(), 3U);
  EXPECT_TRUE(std::holds_alternative<PanicStep>(steps[1].action));
}

}  // namespace
}  // namespace vrel::render
