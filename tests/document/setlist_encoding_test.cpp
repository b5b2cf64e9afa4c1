// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "document/sample_setlist.h"
#include "document/setlist.h"
#include "document/setlist_coding.h"

namespace vrel {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string encoded(const SetlistFile& setlist) {
  const auto bytes = encodeSetlist(setlist);
  EXPECT_TRUE(bytes.ok()) << (bytes.ok() ? "" : bytes.error().description);
  return bytes.ok() ? bytes.value() : "";
}

SetlistFile withVolume(float volume) {
  return {.songs = {{.channels = {{.volume = volume}}}}};
}

std::set<std::string> keysOf(const json& object) {
  std::set<std::string> keys;
  for (const auto& item : object.items()) {
    keys.insert(item.key());
  }
  return keys;
}

TEST(SetlistEncoding, EveryFieldComesBack) {
  const auto again = decodeSetlist(encoded(sampleSetlist()));
  ASSERT_TRUE(again.ok());
  EXPECT_EQ(withoutIds(again.value()), withoutIds(sampleSetlist()));
}

TEST(SetlistEncoding, TheControlsOfTheBlackoutAndTheNotesHaveFieldsOfTheirOwnAndComeBack) {
  const MidiControlAssignment panic{{MidiControlKind::panic, {}}, {0x90, 0, 36}};
  const MidiControlAssignment blackout{{MidiControlKind::projectionBlackout, {}}, {0xB0, 2, 64}};
  const MidiControlAssignment notes{{MidiControlKind::notesPosition, {}}, {0xB0, 0, 4}};
  const std::string text = encoded({.globalMidiControlAssignments = {blackout, panic, notes}});
  const json document = json::parse(text);
  EXPECT_EQ(keysOf(document), (std::set<std::string>{"version", "songs", "global_midi_control_assignments",
                                                     "projection_blackout_control", "notes_position_control"}));
  EXPECT_EQ(document["global_midi_control_assignments"].size(), 1U);
  EXPECT_EQ(document["projection_blackout_control"],
            json::parse(R"({"statusType": 176, "midiChannel": 2, "number": 64})"));
  EXPECT_EQ(document["notes_position_control"], json::parse(R"({"statusType": 176, "midiChannel": 0, "number": 4})"));
  const auto again = decodeSetlist(text);
  ASSERT_TRUE(again.ok());
  EXPECT_EQ(again.value().globalMidiControlAssignments, (std::vector{panic, blackout, notes}));
}

TEST(SetlistEncoding, HowMidiChangesSongsHasFieldsOfItsOwnAndComesBack) {
  const SetlistFile plain = sampleSetlist();
  EXPECT_EQ(encoded(plain).find("song_control"), std::string::npos);
  EXPECT_EQ(encoded(plain).find("program_change"), std::string::npos);
  SetlistFile setlist = plain;
  setlist.songControl = {.byProgramChange = true, .midiChannel = 9, .stepGuardMilliseconds = 450};
  setlist.songs[0].program = {{.bank = 300, .program = 7}};
  setlist.globalMidiControlAssignments = {{{MidiControlKind::nextSong, {}}, {0xB0, 0, 66}},
                                          {{MidiControlKind::previousSong, {}}, {0x90, 1, 21}}};
  const json document = json::parse(encoded(setlist));
  EXPECT_EQ(document["song_control"], json::parse(R"({"by_program_change": true, "midi_channel": 9,
                                                      "step_guard_milliseconds": 450})"));
  EXPECT_EQ(document["songs"][0]["program_change"], json::parse(R"({"bank": 300, "program": 7})"));
  EXPECT_EQ(document["next_song_control"], json::parse(R"({"statusType": 176, "midiChannel": 0, "number": 66})"));
  EXPECT_TRUE(document["global_midi_control_assignments"].empty());
  const auto again = decodeSetlist(encoded(setlist));
  ASSERT_TRUE(again.ok());
  EXPECT_EQ(withoutIds(again.value()), withoutIds(setlist));
}

TEST(SetlistEncoding, HowLongASongRingsIsWrittenWhereItDoes) {
  SetlistFile setlist = sampleSetlist();
  setlist.songControl.letRingSeconds = 8;
  const json document = json::parse(encoded(setlist));
  EXPECT_EQ(document["song_control"]["let_ring_seconds"], 8);
  EXPECT_EQ(decodeSetlist(encoded(setlist)).value().songControl, setlist.songControl);
}

TEST(SetlistEncoding, ANegativeChannelIndexIsWritten) {
  SongConfig song;
  song.midiControlAssignments.emplace_back().target = {.kind = MidiControlKind::channelMute, .channelIndex = -1};
  const json document = json::parse(encoded({.songs = {song}}));
  EXPECT_EQ(document["songs"][0]["midi_control_assignments"][0]["target"]["channelIndex"], -1);
}

TEST(SetlistEncoding, LearnedControlsOfPlugInsHaveAFieldOfTheirOwnWhereThereAreAny) {
  SetlistFile setlist = sampleSetlist();
  const json before = json::parse(encoded(setlist));
  setlist.songs[0].pluginControlAssignments = {
      {{.channelIndex = 1, .slotIndex = 2, .pluginPath = "aucd:1:2:3", .control = "cutoff"}, {0xB0, 3, 74}, "Cutoff"},
      {{.pluginPath = "aucd:4:5:6", .control = "level"}, {0x90, 0, 60}}};
  json document = json::parse(encoded(setlist));
  const auto again = decodeSetlist(document.dump());
  ASSERT_TRUE(again.ok());
  EXPECT_EQ(again.value().songs[0].pluginControlAssignments, setlist.songs[0].pluginControlAssignments);
  EXPECT_EQ(
      document["songs"][0]["plugin_control_assignments"][0],
      json::parse(R"({"target": {"channelIndex": 1, "slotIndex": 2, "pluginPath": "aucd:1:2:3", "control": "cutoff"},
                            "binding": {"statusType": 176, "midiChannel": 3, "number": 74}, "controlName": "Cutoff"})"));
  EXPECT_FALSE(document["songs"][0]["plugin_control_assignments"][1]["target"].contains("slotIndex"));
  document["songs"][0].erase("plugin_control_assignments");
  EXPECT_EQ(document, before) << "all else is as without them";
}

TEST(SetlistEncoding, EveryKeyIsWrittenThoughItEqualsTheDefault) {
  const json document = json::parse(encoded(
      {.songs = {{.channels = {{.effectSlots = {{}}, .visualClipMappings = {{}}}}, .midiControlAssignments = {{}}}}}));
  EXPECT_EQ(keysOf(document), (std::set<std::string>{"version", "songs", "global_midi_control_assignments"}));
  const json& song = document["songs"][0];
  EXPECT_EQ(keysOf(song), (std::set<std::string>{"name", "tempo_bpm", "song_notes", "keyboard_start_note",
                                                 "keyboard_key_count", "channels", "master_channel_color",
                                                 "master_effect_slots", "midi_control_assignments"}));
  const json& channel = song["channels"][0];
  EXPECT_EQ(keysOf(channel), (std::set<std::string>{"name",
                                                    "volume",
                                                    "gain",
                                                    "reverb",
                                                    "mute",
                                                    "solo",
                                                    "plugin_path",
                                                    "color",
                                                    "min_note",
                                                    "max_note",
                                                    "transpose",
                                                    "send_sustain",
                                                    "send_expression",
                                                    "sustain_controls_rotor",
                                                    "effect_slots",
                                                    "playback_file_path",
                                                    "playback_loop",
                                                    "playback_start_time",
                                                    "playback_end_time",
                                                    "playback_stop_mode",
                                                    "visual_clip_mappings"}));
  EXPECT_EQ(keysOf(channel["effect_slots"][0]),
            (std::set<std::string>{"plugin_path", "plugin_name", "manufacturer_name"}));
  EXPECT_EQ(keysOf(channel["visual_clip_mappings"][0]), (std::set<std::string>{"note", "file_path", "trigger_mode"}));
  const json& assignment = song["midi_control_assignments"][0];
  EXPECT_EQ(keysOf(assignment), (std::set<std::string>{"target", "binding"}));
  EXPECT_EQ(keysOf(assignment["target"]), (std::set<std::string>{"kind"}));
  EXPECT_EQ(keysOf(assignment["binding"]), (std::set<std::string>{"statusType", "midiChannel", "number"}));
}

TEST(SetlistEncoding, AClipSaysThatItHoldsItsLastPictureOnlyWhenItDoes) {
  SetlistFile setlist;
  setlist.songs.resize(1);
  setlist.songs[0].channels.resize(1);
  auto& clips = setlist.songs[0].channels[0].visualClipMappings;
  clips.resize(2);
  clips[1].holdsLastPicture = true;
  const auto text = encodeSetlist(setlist).value();
  const json written = json::parse(text)["songs"][0]["channels"][0]["visual_clip_mappings"];
  EXPECT_EQ(keysOf(written[0]), (std::set<std::string>{"note", "file_path", "trigger_mode"}));
  EXPECT_EQ(written[1]["hold_last_picture"], true);
  const auto read = decodeSetlist(text);
  ASSERT_TRUE(read.ok());
  const auto& back = read.value().songs[0].channels[0].visualClipMappings;
  EXPECT_FALSE(back[0].holdsLastPicture);
  EXPECT_TRUE(back[1].holdsLastPicture);
}

TEST(SetlistEncoding, AnAbsentStateIsLeftOutAndNeverNullOrEmpty) {
  const auto read = decodeSetlist(R"({"songs": [{"channels": [{"effect_slots": [{"state_base64": null}]}],
                                      "master_effect_slots": [{"plugin_name": "x"}]}]})");
  const std::string bytes = encoded(read.value());
  EXPECT_THAT(bytes, Not(HasSubstr("state_base64")));
  EXPECT_THAT(bytes, Not(HasSubstr("null")));
  EXPECT_THAT(bytes, Not(HasSubstr("channelIndex")));
}

TEST(SetlistEncoding, AnEmptyStateIsPresentAndStaysSo) {
  const SetlistFile setlist{.songs = {{.channels = {{.pluginStateBase64 = ""}}}}};
  EXPECT_EQ(decodeSetlist(encoded(setlist)).value().songs[0].channels[0].pluginStateBase64, "");
}

TEST(SetlistEncoding, AnUnknownStopModeIsWrittenAsItWasRead) {
  for (const std::string mode : {"toggle", "rangeEnd", "fade", "", "Toggle"}) {
    const auto read = decodeSetlist(R"({"songs": [{"channels": [{"playback_stop_mode": ")" + mode + R"("}]}]})");
    ASSERT_TRUE(read.ok());
    const auto written = json::parse(encoded(read.value()));
    EXPECT_EQ(written["songs"][0]["channels"][0]["playback_stop_mode"], mode);
  }
}

TEST(SetlistEncoding, TheVersionIsAlwaysThree) {
  const auto read = decodeSetlist(R"({"version": 99})");
  EXPECT_EQ(json::parse(encoded(read.value()))["version"], 3);
  EXPECT_EQ(json::parse(encoded(SetlistFile{}))["version"], 3);
}

TEST(SetlistEncoding, IdsAreNeverWritten) {
  const SetlistFile setlist = sampleSetlist();
  const std::string bytes = encoded(setlist);
  EXPECT_THAT(bytes, Not(HasSubstr("\"id\"")));
  EXPECT_THAT(bytes, Not(HasSubstr(setlist.songs[0].id.text())));
}

TEST(SetlistEncoding, IsIndented) {
  EXPECT_THAT(encoded(SetlistFile{}), StartsWith("{\n  \"version\": 3,\n"));
}

TEST(SetlistEncoding, FloatsAreWrittenShort) {
  const std::string bytes = encoded({.songs = {{.channels = {{}}}}});
  EXPECT_THAT(bytes, HasSubstr("\"volume\": 0.85,"));
  EXPECT_THAT(bytes, HasSubstr("0.33,"));
}

TEST(SetlistEncoding, FloatsComeBackBitForBit) {
  using Limits = std::numeric_limits<float>;
  std::vector<float> numbers = {0.0F,          -0.0F,
                                0.1F,          1.0F / 3.0F,
                                Limits::max(), Limits::lowest(),
                                Limits::min(), Limits::denorm_min(),
                                16777217.0F,   7.038531e-26F,
                                1e10F};
  std::uint32_t bits = 1;
  for (int count = 0; count < 20'000; ++count) {
    bits = bits * 1664525U + 1013904223U;
    const float number = std::bit_cast<float>(bits);
    if (std::isfinite(number)) {
      numbers.push_back(number);
    }
  }
  SetlistFile setlist{.songs = {{.channels = std::vector<ChannelConfig>(numbers.size())}}};
  for (std::size_t index = 0; index < numbers.size(); ++index) {
    setlist.songs[0].channels[index].volume = numbers[index];
  }
  const SetlistFile again = decodeSetlist(encoded(setlist)).value();
  for (std::size_t index = 0; index < numbers.size(); ++index) {
    const float number = again.songs[0].channels[index].volume;
    EXPECT_EQ(std::bit_cast<std::uint32_t>(number), std::bit_cast<std::uint32_t>(numbers[index])) << numbers[index];
  }
}

TEST(SetlistEncoding, DoublesComeBackBitForBit) {
  for (const double number : {0.1, 1.0 / 3.0, 1e-300, 1.7976931348623157e308, 4.9e-324, 12345.678901234567}) {
    const SetlistFile setlist{.songs = {{.channels = {{.playbackEndTime = number}}}}};
    EXPECT_EQ(decodeSetlist(encoded(setlist)).value().songs[0].channels[0].playbackEndTime, number);
  }
}

TEST(SetlistEncoding, ANumberThatJsonCannotHoldFails) {
  for (const float number : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity()}) {
    const auto bytes = encodeSetlist(withVolume(number));
    ASSERT_FALSE(bytes.ok());
    EXPECT_THAT(bytes.error().description, StartsWith("songs[0].channels[0].volume: "));
  }
  const SetlistFile colour{.songs = {{}, {.masterChannelColor = {0.0F, std::numeric_limits<float>::infinity(), 0.0F}}}};
  EXPECT_THAT(encodeSetlist(colour).error().description, StartsWith("songs[1].master_channel_color[1]: "));
  const SetlistFile time{.songs = {{.channels = {{.playbackStartTime = std::numeric_limits<double>::quiet_NaN()}}}}};
  EXPECT_THAT(encodeSetlist(time).error().description, StartsWith("songs[0].channels[0].playback_start_time: "));
}

TEST(SetlistEncoding, ATextThatIsNoUtf8Fails) {
  for (const char* text : {"\xFF", "cut \xE2\x99", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80"}) {
    const auto bytes = encodeSetlist({.songs = {{.name = "fine"}, {.songNotes = text}}});
    ASSERT_FALSE(bytes.ok()) << text;
    EXPECT_THAT(bytes.error().description, StartsWith("songs[1].song_notes: "));
  }
}

TEST(SetlistEncoding, TextsOfAllKindsComeBack) {
  const std::string text =
      std::string("quote \" slash / back \\ tab \t bell \a zero ") + '\0' + " snow \u2603 clef \U0001D11E";
  const SetlistFile setlist{.songs = {{.name = text}}};
  EXPECT_EQ(decodeSetlist(encoded(setlist)).value().songs[0].name, text);
}

}  // namespace
}  // namespace vrel
