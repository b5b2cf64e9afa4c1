// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "document/sample_setlist.h"
#include "document/setlist.h"
#include "document/setlist_coding.h"
#include "document/stored_texts.h"

namespace vrel {
namespace {

using Color = std::vector<float>;

SetlistFile decoded(std::string_view bytes) {
  const auto setlist = decodeSetlist(bytes);
  EXPECT_TRUE(setlist.ok()) << (setlist.ok() ? "" : setlist.error().description);
  return setlist.ok() ? setlist.value() : SetlistFile{};
}

SongConfig decodedSong(const std::string& song) {
  const SetlistFile setlist = decoded(R"({"songs": [)" + song + "]}");
  EXPECT_EQ(setlist.songs.size(), 1U);
  return setlist.songs.empty() ? SongConfig{} : setlist.songs[0];
}

ChannelConfig decodedChannel(const std::string& channel) {
  const SongConfig song = decodedSong(R"({"channels": [)" + channel + "]}");
  EXPECT_EQ(song.channels.size(), 1U);
  return song.channels.empty() ? ChannelConfig{} : song.channels[0];
}

TEST(SetlistDecoding, AKindWithAFieldOfItsOwnIsInNoList) {
  for (const char* const kind : {"", "projection_blackout", "notes_position"}) {
    EXPECT_FALSE(decodeSetlist(R"({"global_midi_control_assignments": [{"target": {"kind": ")" + std::string(kind) +
                               R"("}, "binding": {"statusType": 176, "midiChannel": 0, "number": 1}}]})")
                     .ok());
  }
}

TEST(SetlistDecoding, AFieldOfItsOwnMustBeABinding) {
  EXPECT_TRUE(decodeSetlist(R"({"projection_blackout_control": null})").ok());
  EXPECT_FALSE(decodeSetlist(R"({"projection_blackout_control": {"number": 1}})").ok());
}

TEST(SetlistDecoding, HowMidiChangesSongsMustBeWhatItIsWrittenAs) {
  const SetlistFile setlist = decoded(R"({"song_control": {"by_program_change": true}, "songs": [
                                          {"program_change": {"program": 127}}, {"program_change": null}]})");
  EXPECT_EQ(setlist.songControl, (SongControl{.byProgramChange = true}));
  EXPECT_EQ(setlist.songs[0].program, (SongProgram{std::nullopt, 127}));
  EXPECT_EQ(setlist.songs[1].program, std::nullopt);
  for (const char* const text :
       {R"({"song_control": 1})", R"({"song_control": {"midi_channel": 256}})",
        R"({"song_control": {"step_guard_milliseconds": -1}})", R"({"songs": [{"program_change": {"bank": 1}}]})",
        R"({"songs": [{"program_change": {"program": 256}}]})", R"({"next_song_control": {"number": 1}})"}) {
    EXPECT_FALSE(decodeSetlist(text).ok()) << text;
  }
}

TEST(SetlistDecoding, TheTimesOfASongChangeAreLimited) {
  const SetlistFile setlist = decoded(R"({"song_control": {"step_guard_milliseconds": 4294967295,
                                                           "let_ring_seconds": 4294967295}})");
  EXPECT_EQ(setlist.songControl.stepGuardMilliseconds, 2000U);
  EXPECT_EQ(setlist.songControl.letRingSeconds, 30U);
  EXPECT_EQ(decoded(R"({"song_control": {"let_ring_seconds": 8}})").songControl, (SongControl{.letRingSeconds = 8}));
  for (const char* const text :
       {R"({"song_control": {"let_ring_seconds": -1}})", R"({"song_control": {"let_ring_seconds": 0.5}})",
        R"({"song_control": {"let_ring_seconds": "8"}})", R"({"song_control": {"let_ring_seconds": 4294967296}})"}) {
    EXPECT_FALSE(decodeSetlist(text).ok()) << text;
  }
}

TEST(SetlistDecoding, AnEmptyObjectIsAnEmptySetlist) {
  const SetlistFile setlist = decoded("{}");
  EXPECT_EQ(setlist.version, 1U);
  EXPECT_TRUE(setlist.songs.empty());
  EXPECT_TRUE(setlist.globalMidiControlAssignments.empty());
}

TEST(SetlistDecoding, ALoneSurrogateInAKeyThatIsNotListedIsIgnored) {
  const SongConfig song = decodedSong(
      R"({"\ud800": 1, "other": ["\udfff", {"a\uD83D\\ude00": "\\\ud800"}], "name": "\ud83d\ude00 \\ud800"})");
  EXPECT_EQ(song.name, "\xF0\x9F\x98\x80 \\ud800");
}

TEST(SetlistDecoding, AWholeNumberMayBeWrittenAsALargeFloat) {
  const SongConfig song = decodedSong(R"({"midi_control_assignments": [
        {"target": {"kind": "panic", "channelIndex": 9007199254740994.0}, "binding": {"statusType": 0, "midiChannel": 0, "number": 0}},
        {"target": {"kind": "panic", "channelIndex": -1e17}, "binding": {"statusType": 0, "midiChannel": 0, "number": 0}}]})");
  ASSERT_EQ(song.midiControlAssignments.size(), 2U);
  EXPECT_EQ(song.midiControlAssignments[0].target.channelIndex, 9007199254740994);
  EXPECT_EQ(song.midiControlAssignments[1].target.channelIndex, -100000000000000000);
}

TEST(SetlistDecoding, ALearnedControlOfAPlugInNeedsItsPlugInAndItsControl) {
  const auto decodes = [](const std::string& target) {
    return decodeSetlist(R"({"songs": [{"plugin_control_assignments": [{"target": )" + target +
                         R"(, "binding": {"statusType": 176, "midiChannel": 0, "number": 7}}]}]})")
        .ok();
  };
  EXPECT_TRUE(decodes(R"({"pluginPath": "aucd:1:2:3", "control": "level", "channelIndex": -1})"));
  EXPECT_FALSE(decodes(R"({"pluginPath": "aucd:1:2:3"})"));
  EXPECT_FALSE(decodes(R"({"control": "level"})"));
  EXPECT_FALSE(decodes(R"({"pluginPath": "aucd:1:2:3", "control": 7})"));
  EXPECT_FALSE(decodes("[]"));
}

TEST(SetlistDecoding, AnEmptySongGetsItsDefaults) {
  const SongConfig song = decodedSong("{}");
  EXPECT_EQ(song.name, "Untitled Song");
  EXPECT_EQ(song.tempoBpm, 120U);
  EXPECT_EQ(song.songNotes, "");
  EXPECT_EQ(song.keyboardStartNote, 21);
  EXPECT_EQ(song.keyboardKeyCount, 88);
  EXPECT_TRUE(song.channels.empty());
  EXPECT_EQ(song.masterChannelColor, (Color{0.5F, 0.5F, 0.5F}));
  EXPECT_TRUE(song.masterEffectSlots.empty());
  EXPECT_TRUE(song.midiControlAssignments.empty());
}

TEST(SetlistDecoding, AnEmptyChannelGetsItsDefaults) {
  const ChannelConfig channel = decodedChannel("{}");
  EXPECT_EQ(channel.name, "Untitled Channel");
  EXPECT_EQ(channel.volume, 0.85F);
  EXPECT_EQ(channel.gain, 0.5F);
  EXPECT_EQ(channel.reverb, 0.0F);
  EXPECT_FALSE(channel.mute);
  EXPECT_FALSE(channel.solo);
  EXPECT_EQ(channel.pluginPath, "");
  EXPECT_FALSE(channel.pluginStateBase64.has_value());
  EXPECT_EQ(channel.color, (Color{1.0F, 0.33F, 0.0F}));
  EXPECT_EQ(channel.minNote, 0);
  EXPECT_EQ(channel.maxNote, 127);
  EXPECT_EQ(channel.transpose, 0);
  EXPECT_TRUE(channel.sendSustain);
  EXPECT_TRUE(channel.sendExpression);
  EXPECT_FALSE(channel.sustainControlsRotor);
  EXPECT_TRUE(channel.effectSlots.empty());
  EXPECT_EQ(channel.playbackFilePath, "");
  EXPECT_FALSE(channel.playbackLoop);
  EXPECT_EQ(channel.playbackStartTime, 0.0);
  EXPECT_EQ(channel.playbackEndTime, 0.0);
  EXPECT_EQ(channel.playbackStopMode, StopMode::toggle);
  EXPECT_TRUE(channel.visualClipMappings.empty());
}

TEST(SetlistDecoding, AnEmptySlotAndAnEmptyMappingGetTheirDefaults) {
  const ChannelConfig channel = decodedChannel(R"({"effect_slots": [{}], "visual_clip_mappings": [{}]})");
  ASSERT_EQ(channel.effectSlots.size(), 1U);
  EXPECT_EQ(channel.effectSlots[0].pluginPath, "");
  EXPECT_EQ(channel.effectSlots[0].pluginName, "");
  EXPECT_EQ(channel.effectSlots[0].manufacturerName, "");
  EXPECT_FALSE(channel.effectSlots[0].stateBase64.has_value());
  ASSERT_EQ(channel.visualClipMappings.size(), 1U);
  EXPECT_EQ(channel.visualClipMappings[0].note, 60);
  EXPECT_EQ(channel.visualClipMappings[0].filePath, "");
  EXPECT_EQ(channel.visualClipMappings[0].triggerMode, VisualTriggerMode::hold);
}

TEST(SetlistDecoding, AColourWithTooFewComponentsIsTheDefault) {
  EXPECT_EQ(decodedChannel(R"({"color": [0.2]})").color, (Color{1.0F, 0.33F, 0.0F}));
  EXPECT_EQ(decodedChannel(R"({"color": []})").color, (Color{1.0F, 0.33F, 0.0F}));
  EXPECT_EQ(decodedSong(R"({"master_channel_color": [0.2, 0.3]})").masterChannelColor, (Color{0.5F, 0.5F, 0.5F}));
}

TEST(SetlistDecoding, AColourWithTooManyComponentsKeepsTheFirstThree) {
  EXPECT_EQ(decodedChannel(R"({"color": [0.1, 0.2, 0.3, 0.4]})").color, (Color{0.1F, 0.2F, 0.3F}));
  EXPECT_EQ(decodedSong(R"({"master_channel_color": [1, 2, 3, 4, 5]})").masterChannelColor, (Color{1.0F, 2.0F, 3.0F}));
}

TEST(SetlistDecoding, AColourOfThreeIsNotLimited) {
  EXPECT_EQ(decodedChannel(R"({"color": [-1, 0.5, 70]})").color, (Color{-1.0F, 0.5F, 70.0F}));
}

TEST(SetlistDecoding, EveryComponentOfAColourMustBeANumber) {
  EXPECT_FALSE(decodeSetlist(R"({"songs": [{"channels": [{"color": ["red"]}]}]})").ok());
  EXPECT_FALSE(decodeSetlist(R"({"songs": [{"channels": [{"color": [0.1, 0.2, 0.3, null]}]}]})").ok());
}

TEST(SetlistDecoding, NullIsTheDefaultAndFalseIsFalse) {
  EXPECT_TRUE(decodedChannel(R"({"send_sustain": null})").sendSustain);
  EXPECT_FALSE(decodedChannel(R"({"send_sustain": false})").sendSustain);
}

TEST(SetlistDecoding, NullCountsAsMissingForEveryKeyWithADefault) {
  const char* document = R"({"version": null, "global_midi_control_assignments": null, "songs": [
    {"name": null, "tempo_bpm": null, "song_notes": null, "keyboard_start_note": null, "keyboard_key_count": null,
     "master_channel_color": null, "master_effect_slots": null,
     "midi_control_assignments": [{"target": {"kind": "panic", "channelIndex": null},
                                   "binding": {"statusType": 0, "midiChannel": 0, "number": 0}}],
     "channels": [
       {"name": null, "volume": null, "gain": null, "reverb": null, "mute": null, "solo": null, "plugin_path": null,
        "plugin_state_base64": null, "color": null, "min_note": null, "max_note": null, "transpose": null,
        "send_sustain": null, "send_expression": null, "sustain_controls_rotor": null, "playback_file_path": null,
        "playback_loop": null, "playback_start_time": null, "playback_end_time": null, "playback_stop_mode": null,
        "effect_slots": [{"plugin_path": null, "plugin_name": null, "manufacturer_name": null, "state_base64": null}],
        "visual_clip_mappings": [{"note": null, "file_path": null, "trigger_mode": null,
                                   "hold_last_picture": null}]},
       {"effect_slots": null, "visual_clip_mappings": null}]},
    {"channels": null, "midi_control_assignments": null}]})";
  SetlistFile wanted;
  wanted.songs.resize(2);
  wanted.songs[0].channels.resize(2);
  wanted.songs[0].channels[0].effectSlots.resize(1);
  wanted.songs[0].channels[0].visualClipMappings.resize(1);
  wanted.songs[0].midiControlAssignments.resize(1);
  EXPECT_EQ(withoutIds(decoded(document)), withoutIds(wanted));
}

TEST(SetlistDecoding, UnknownKeysAreIgnored) {
  const SongConfig song = decodedSong(R"({"id": "6F", "name": "A", "future": {"deep": [[{"x": 1e300}]]}})");
  EXPECT_EQ(song.name, "A");
}

TEST(SetlistDecoding, KeysAreComparedExactly) {
  const SongConfig song = decodedSong(R"({"Name": "A", "tempoBpm": 99})");
  EXPECT_EQ(song.name, "Untitled Song");
  EXPECT_EQ(song.tempoBpm, 120U);
}

TEST(SetlistDecoding, NumbersAreNeitherLimitedNorCompared) {
  const SongConfig song =
      decodedSong(R"({"tempo_bpm": 0, "channels": [{"min_note": 200, "max_note": 3, "volume": 7}]})");
  EXPECT_EQ(song.tempoBpm, 0U);
  EXPECT_EQ(song.channels[0].minNote, 200);
  EXPECT_EQ(song.channels[0].maxNote, 3);
  EXPECT_EQ(song.channels[0].volume, 7.0F);
}

TEST(SetlistDecoding, TheEndsOfEveryWidthFit) {
  EXPECT_EQ(decodedSong(R"({"tempo_bpm": 4294967295})").tempoBpm, 4294967295U);
  EXPECT_EQ(decodedChannel(R"({"min_note": 255})").minNote, 255);
  EXPECT_EQ(decodedChannel(R"({"transpose": -128})").transpose, -128);
  EXPECT_EQ(decodedChannel(R"({"transpose": 127})").transpose, 127);
  EXPECT_EQ(decodedChannel(R"({"volume": 3.4028235e38})").volume, std::numeric_limits<float>::max());
  EXPECT_EQ(decodedChannel(R"({"volume": -3.4028235e38})").volume, std::numeric_limits<float>::lowest());
  const SongConfig song = decodedSong(
      R"({"midi_control_assignments": [
        {"target": {"kind": "panic", "channelIndex": 9223372036854775807}, "binding": {"statusType": 0, "midiChannel": 0, "number": 0}},
        {"target": {"kind": "panic", "channelIndex": -9223372036854775808}, "binding": {"statusType": 0, "midiChannel": 0, "number": 0}}]})");
  EXPECT_EQ(song.midiControlAssignments[0].target.channelIndex, std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(song.midiControlAssignments[1].target.channelIndex, std::numeric_limits<std::int64_t>::min());
}

TEST(SetlistDecoding, AWholeNumberMayBeWrittenWithAPointOrAnExponent) {
  EXPECT_EQ(decodedChannel(R"({"min_note": 60.0})").minNote, 60);
  EXPECT_EQ(decodedChannel(R"({"min_note": 6e1})").minNote, 60);
  EXPECT_EQ(decodedChannel(R"({"transpose": -1.20e1})").transpose, -12);
  EXPECT_EQ(decodedChannel(R"({"min_note": -0.0})").minNote, 0);
}

TEST(SetlistDecoding, AWholeNumberServesAsAFloat) {
  EXPECT_EQ(decodedChannel(R"({"volume": 1})").volume, 1.0F);
  EXPECT_EQ(decodedChannel(R"({"playback_start_time": 3})").playbackStartTime, 3.0);
}

TEST(SetlistDecoding, TheLastOfTwoEqualKeysCounts) {
  EXPECT_EQ(decodedSong(R"({"name": "A", "name": "B"})").name, "B");
  EXPECT_EQ(decodedSong(R"({"tempo_bpm": "fast", "tempo_bpm": 90})").tempoBpm, 90U);
}

TEST(SetlistDecoding, AByteOrderMarkIsPassedOver) {
  EXPECT_EQ(decoded("\xEF\xBB\xBF{\"songs\": [{}]}").songs.size(), 1U);
}

TEST(SetlistDecoding, AnyVersionIsReadAlike) {
  const SetlistFile setlist = decoded(R"({"version": 99, "songs": [{"name": "A"}]})");
  EXPECT_EQ(setlist.version, 99U);
  EXPECT_EQ(setlist.songs[0].name, "A");
}

TEST(SetlistDecoding, TwoLoadsHaveTheSameContentWithDifferentIds) {
  const std::string bytes = encodeSetlist(sampleSetlist()).value();
  const SetlistFile first = decoded(bytes);
  const SetlistFile second = decoded(bytes);
  EXPECT_EQ(withoutIds(first), withoutIds(second));
  EXPECT_NE(first.songs[0], second.songs[0]);
  EXPECT_NE(first.songs[0].id, second.songs[0].id);
  EXPECT_NE(first.songs[0].channels[0].id, second.songs[0].channels[0].id);
  EXPECT_NE(first.songs[0].channels[0].effectSlots[0].id, second.songs[0].channels[0].effectSlots[0].id);
  EXPECT_NE(first.songs[0].channels[0].visualClipMappings[0].id, second.songs[0].channels[0].visualClipMappings[0].id);
}

TEST(SetlistDecoding, NoTwoRecordsOfALoadShareAnId) {
  const SetlistFile setlist = decoded(R"({"songs": [{"channels": [{}, {}]}, {}]})");
  EXPECT_NE(setlist.songs[0].id, setlist.songs[1].id);
  EXPECT_NE(setlist.songs[0].channels[0].id, setlist.songs[0].channels[1].id);
  EXPECT_NE(setlist.songs[0].id, Uuid());
}

TEST(SetlistDecoding, OrderIsKept) {
  const SetlistFile setlist = decoded(R"({"songs": [{"name": "z"}, {"name": "a"}, {"name": "m"}]})");
  EXPECT_EQ(setlist.songs[0].name, "z");
  EXPECT_EQ(setlist.songs[1].name, "a");
  EXPECT_EQ(setlist.songs[2].name, "m");
}

TEST(LegacyRoot, ABareArrayOfSongsIsReadWhenTheObjectFails) {
  const auto setlist = readSetlist(R"([{"name": "Old"}, {}])");
  ASSERT_TRUE(setlist.ok());
  ASSERT_EQ(setlist.value().songs.size(), 2U);
  EXPECT_EQ(setlist.value().songs[0].name, "Old");
  EXPECT_TRUE(setlist.value().globalMidiControlAssignments.empty());
}

TEST(LegacyRoot, IsNotASetlistByItself) {
  EXPECT_FALSE(decodeSetlist("[]").ok());
  EXPECT_TRUE(decodeLegacySongs("[]").ok());
  EXPECT_FALSE(decodeLegacySongs("{}").ok());
}

TEST(LegacyRoot, AnObjectWithoutSongsIsAnEmptySetlist) {
  const auto setlist = readSetlist(R"({"title": "x"})");
  ASSERT_TRUE(setlist.ok());
  EXPECT_TRUE(setlist.value().songs.empty());
}

TEST(LegacyRoot, TheErrorReportedIsThatOfTheSecondAttempt) {
  const std::string_view document = R"({"songs": [{"tempo_bpm": -1}]})";
  const auto both = readSetlist(document);
  ASSERT_FALSE(both.ok());
  EXPECT_EQ(both.error(), decodeLegacySongs(document).error());
  EXPECT_NE(both.error(), decodeSetlist(document).error());
}

TEST(LegacyRoot, AnUnknownControlFailsBothAttempts) {
  const std::string assignment =
      R"({"target": {"kind": "warp"}, "binding": {"statusType": 176, "midiChannel": 0, "number": 1}})";
  EXPECT_FALSE(decodeSetlist(R"({"global_midi_control_assignments": [)" + assignment + "]}").ok());
  EXPECT_FALSE(readSetlist(R"({"global_midi_control_assignments": [)" + assignment + "]}").ok());
  EXPECT_FALSE(readSetlist(R"([{"midi_control_assignments": [)" + assignment + "]}]").ok());
}

TEST(StoredTexts, EveryControlHasItsText) {
  const std::vector<std::string_view> texts = {"panic",
                                               "tap_tempo",
                                               "channel_volume",
                                               "channel_gain",
                                               "channel_reverb",
                                               "channel_mute",
                                               "channel_solo",
                                               "master_volume",
                                               "master_mute",
                                               "performance_pitch_bend",
                                               "performance_modulation",
                                               "performance_sustain",
                                               "performance_expression"};
  for (std::size_t index = 0; index < texts.size(); ++index) {
    const auto kind = static_cast<MidiControlKind>(index);
    EXPECT_EQ(storedText(kind), texts[index]);
    EXPECT_EQ(midiControlKind(texts[index]), kind);
  }
  EXPECT_FALSE(midiControlKind("Panic").has_value());
  EXPECT_FALSE(midiControlKind("").has_value());
}

TEST(StoredTexts, EveryTriggerModeHasItsText) {
  EXPECT_EQ(storedText(VisualTriggerMode::hold), "hold");
  EXPECT_EQ(storedText(VisualTriggerMode::toggle), "toggle");
  EXPECT_EQ(visualTriggerMode("toggle"), VisualTriggerMode::toggle);
  EXPECT_FALSE(visualTriggerMode("HOLD").has_value());
}

TEST(MidiMessageCoding, NeedsAllThreeBytes) {
  const MidiMessage message{0x90, 60, 100};
  EXPECT_EQ(decodeMidiMessage(encodeMidiMessage(message)).value(), message);
  EXPECT_EQ(decodeMidiMessage(R"({"data2": 3, "status": 255, "data1": 2})").value(), (MidiMessage{255, 2, 3}));
  for (const char* broken : {R"({"status": 1, "data1": 2})", R"({"status": 1, "data1": 2, "data2": null})",
                             R"({"status": 1, "data1": 2, "data2": 256})", "[1, 2, 3]", "7", ""}) {
    EXPECT_FALSE(decodeMidiMessage(broken).ok()) << broken;
  }
}

}  // namespace
}  // namespace vrel
