// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "apps/vrel-render/show/render_run.h"
#include "apps/vrel-render/show/show_files.h"
#include "apps/vrel-render/show/sound_file.h"
#include "document/setlist_coding.h"

namespace vrel {
namespace {

class SavedShow : public ShowTest {
 protected:
  /// Plays the setlist in `from` and saves it to `to`.
  void playAndSave(const std::string& from, const std::string& to, const MidiFileMaker& show) const {
    const auto run = renderOnZoo(
        {at(from), write("show.mid", show.bytes()), "--save", at(to), "--out", at("out.wav"), "--tail", "0.2"});
    EXPECT_EQ(run.exitCode, 0) << run.output << run.errors;
  }

  [[nodiscard]] SoundFile sound() const { return soundIn(read("out.wav")); }

  static SetlistFile sampleSetlist() {
    auto keeper = stripOf("Keeper", zooInstrument("state"));
    keeper.minNote = 10;
    keeper.transpose = -2;
    keeper.mute = false;
    keeper.gain = 0.25F;
    keeper.color = {0.1F, 0.2F, 0.3F};
    keeper.effectSlots = {{.pluginPath = zooEffect("gain"), .pluginName = "Zoo Gain", .manufacturerName = "The Zoo"},
                          {.pluginPath = zooEffect("nowhere"), .pluginName = "Gone", .stateBase64 = "AAAA"}};
    auto setlist = setlistOf({songOf("One", {keeper, stripOf("Empty", "")}), songOf("Two", {keeper})});
    setlist.songs[0].songNotes = "Notes, with \"quotes\" and Ñandú";
    setlist.songs[0].tempoBpm = 97;
    setlist.songs[0].masterEffectSlots = {{.pluginPath = zooEffect("gain"), .pluginName = "Zoo Gain"}};
    setlist.songs[0].midiControlAssignments = {{{MidiControlKind::channelVolume, 0}, {0xB0, 0, 7}}};
    setlist.globalMidiControlAssignments = {{{MidiControlKind::panic, {}}, {0xB0, 15, 120}}};
    return setlist;
  }
};

/// The document without plug-in states.
nlohmann::json withoutStates(const std::string& text) {
  auto document = nlohmann::json::parse(text);
  const auto clear = [](nlohmann::json& slots) {
    for (auto& slot : slots) {
      slot.erase("state_base64");
    }
  };
  for (auto& song : document.at("songs")) {
    clear(song.at("master_effect_slots"));
    for (auto& channel : song.at("channels")) {
      channel.erase("plugin_state_base64");
      clear(channel.at("effect_slots"));
    }
  }
  return document;
}

TEST_F(SavedShow, ASaveKeepsHowSongsAreChangedByTheHardware) {
  auto setlist = setlistOf({songOf("One", {stripOf("Empty", "")})});
  setlist.songControl = {.byProgramChange = true, .midiChannel = 9, .stepGuardMilliseconds = 450};
  write("first.vrel", setlist);
  playAndSave("first.vrel", "saved.vrel", MidiFileMaker());
  const auto saved = readSetlist(read("saved.vrel"));
  ASSERT_TRUE(saved.ok());
  EXPECT_EQ(saved.value().songControl, setlist.songControl);
}

TEST_F(SavedShow, ASaveKeepsEverythingButTheStatesOfThePlugins) {
  write("first.vrel", sampleSetlist());
  playAndSave("first.vrel", "saved.vrel", MidiFileMaker());
  EXPECT_EQ(withoutStates(read("saved.vrel")), withoutStates(read("first.vrel")));
  EXPECT_TRUE(readSetlist(read("saved.vrel")).ok());
}

TEST_F(SavedShow, TheStateThatWasPlayedIsSavedAndSoundsWhenLoaded) {
  write("first.vrel", sampleSetlist());
  MidiFileMaker show;
  show.message(0, {0x90, 66, 100});  // transposed to 64: from now on the left channel is 0.5
  playAndSave("first.vrel", "saved.vrel", show);
  const auto played = sound();
  playAndSave("saved.vrel", "again.vrel", MidiFileMaker());
  ASSERT_GT(played.peak(), 0.001F);
  EXPECT_FLOAT_EQ(sound().left.back(), played.left.back());
}

TEST_F(SavedShow, AStateThatWasLoadedIsSavedAsItWas) {
  write("first.vrel", sampleSetlist());
  MidiFileMaker show;
  show.message(0, {0x90, 77, 100}).marker(50, "song 1").message(100, {0x90, 110, 100});
  playAndSave("first.vrel", "saved.vrel", show);
  // The song that was not on stage again keeps its text, the one on stage saves its state again.
  playAndSave("saved.vrel", "again.vrel", MidiFileMaker().marker(50, "song 1"));
  EXPECT_EQ(read("again.vrel"), read("saved.vrel"));
  const auto saved = readSetlist(read("saved.vrel"));
  ASSERT_TRUE(saved.ok());
  const auto& songs = saved.value().songs;
  ASSERT_TRUE(songs[0].channels[0].pluginStateBase64 && songs[1].channels[0].pluginStateBase64);
  EXPECT_NE(songs[0].channels[0].pluginStateBase64, songs[1].channels[0].pluginStateBase64);
  EXPECT_EQ(songs[0].channels[0].effectSlots[1].stateBase64, "AAAA");  // its plug-in is not here
}

TEST_F(SavedShow, TheSetlistCanBeSavedOverItself) {
  write("show.vrel", sampleSetlist());
  playAndSave("show.vrel", "show.vrel", MidiFileMaker().message(0, {0x90, 77, 100}));
  const auto saved = readSetlist(read("show.vrel"));
  ASSERT_TRUE(saved.ok());
  EXPECT_TRUE(saved.value().songs[0].channels[0].pluginStateBase64);
}

TEST_F(SavedShow, AnOverwrittenSetlistIsKeptAmongTheUsersCopies) {
  write("show.vrel", sampleSetlist());
  const auto before = read("show.vrel");
  playAndSave("show.vrel", "show.vrel", MidiFileMaker());
  std::vector<std::string> copies;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(at("state"))) {
    const std::string folder = entry.path().parent_path().filename().string();
    if (entry.is_regular_file() && folder.starts_with("show.vrel-")) {
      copies.push_back(read(std::filesystem::relative(entry.path(), at("")).string()));
    }
  }
  EXPECT_EQ(copies, std::vector{before});
  EXPECT_FALSE(std::filesystem::exists(at("state/vrel/recent_setlists.json")));
}

TEST_F(SavedShow, ASaveClearsTheDirtyMarkInTheLog) {
  write("first.vrel", sampleSetlist());
  const auto show = MidiFileMaker().message(100, {0xB0, 1, 64}).bytes();
  const auto run = renderOnZoo({at("first.vrel"), write("show.mid", show), "--save", at("saved.vrel"), "--events",
                                at("events.jsonl"), "--tail", "0"});
  EXPECT_EQ(run.exitCode, 0) << run.output << run.errors;
  auto marks = events("events.jsonl");
  std::erase_if(marks, [](const auto& event) { return event.at("kind") != "dirty"; });
  ASSERT_EQ(marks.size(), 2U);
  EXPECT_EQ(marks[0].at("dirty"), true);
  EXPECT_EQ(marks[1].at("dirty"), false);
}

TEST_F(SavedShow, AnEmptySetlistIsSavedEmpty) {
  write("empty.vrel", "[]");  // the legacy form
  playAndSave("empty.vrel", "saved.vrel", MidiFileMaker());
  const auto saved = nlohmann::json::parse(read("saved.vrel"));
  EXPECT_EQ(saved.at("version"), 3);
  EXPECT_TRUE(saved.at("songs").empty());
}

}  // namespace
}  // namespace vrel
