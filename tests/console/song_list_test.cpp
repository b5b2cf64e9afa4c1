// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/song_list.h"

#include <string>
#include <vector>

#include "support/simulated_session.h"

namespace vrel {
namespace {

class Songs : public SimulatedSession {
 protected:
  void addNamed(const std::string& name) {
    state.newSongName.set(name);
    list.addSong();
  }

  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& each : state.songs.get()) {
      all.push_back(each.name);
    }
    return all;
  }

  void addLetters(const std::string& letters) {
    for (const char letter : letters) {
      addSong(std::string(1, letter), {record(std::string(1, letter), "")});
    }
  }

  using Names = std::vector<std::string>;
  SongList list{state, *engine, songSwitch, selection};
};

TEST_F(Songs, WithoutANameNoneIsAdded) {
  list.addSong();
  EXPECT_TRUE(state.songs.get().empty());
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Songs, ANewOneIsNumberedByItsPlaceAndLeavesTheStageAlone) {
  for (int count = 0; count < 100; ++count) {
    addNamed("x");
  }
  EXPECT_EQ(song(0).name, "01. x");
  EXPECT_EQ(song(4).name, "05. x");
  EXPECT_EQ(song(9).name, "10. x");
  EXPECT_EQ(song(99).name, "100. x");
  EXPECT_EQ(state.newSongName.get(), "");
  EXPECT_EQ(state.selectedSongIndex.get(), std::nullopt);
  EXPECT_TRUE(state.isDirty.get());
  addNamed("  ");
  EXPECT_EQ(song(100).name, "101.   ") << "blanks are a name";
}

TEST_F(Songs, ANewOneHasTheKeyboardOfTheLastInTheListAndOneStripOverTheKeyboardShown) {
  addNamed("first");
  EXPECT_EQ(song(0).keyboardStartNote, 21);
  EXPECT_EQ(song(0).keyboardKeyCount, 88);
  changeSong(0, [](SongConfig& each) {
    each.keyboardStartNote = 36;
    each.keyboardKeyCount = 61;
  });
  addSong("last", {});
  changeSong(1, [](SongConfig& each) {
    each.keyboardStartNote = 48;
    each.keyboardKeyCount = 25;
  });
  songSwitch.applySong(0);
  addNamed("new");
  const auto& added = song(2);
  EXPECT_EQ(added.keyboardStartNote, 48);
  EXPECT_EQ(added.keyboardKeyCount, 25);
  EXPECT_EQ(added.tempoBpm, 120U);
  EXPECT_EQ(added.masterChannelColor, (std::vector<float>{0.5F, 0.5F, 0.5F}));
  ASSERT_EQ(added.channels.size(), 1U);
  EXPECT_EQ(added.channels[0].name, "Piano Lead");
  EXPECT_EQ(added.channels[0].volume, 0.85F);
  EXPECT_EQ(added.channels[0].minNote, 36) << "the keyboard that is shown is that of the song on stage";
  EXPECT_EQ(added.channels[0].maxNote, 96);
}

TEST_F(Songs, TheKeyboardEndsWithTheHighestNoteAndHasAtLeastOne) {
  const auto range = [this](std::uint8_t start, std::uint8_t count) {
    state.keyboardStartNote.set(start);
    state.keyboardKeyCount.set(count);
    return keyboardNoteRange(state);
  };
  EXPECT_EQ(range(21, 88), (KeyboardNoteRange{21, 108}));
  EXPECT_EQ(range(100, 88), (KeyboardNoteRange{100, 127}));
  EXPECT_EQ(range(60, 0), (KeyboardNoteRange{60, 60}));
}

TEST_F(Songs, AClickEndsTheEditOfANameAndPutsTheSongOnStageInLiveModeToo) {
  addLetters("AB");
  list.beginSongRename(song(0).id);
  list.editingSongNameDraft.set("Intro");
  state.isLiveModeEnabled.set(true);
  list.clickSong(1);
  EXPECT_EQ(names(), (Names{"Intro", "B"}));
  EXPECT_EQ(state.selectedSongIndex.get(), 1U);
  EXPECT_EQ(list.editingSongId.get(), std::nullopt);
}

TEST_F(Songs, ANameIsTakenOverWithoutTheBlanksAroundIt) {
  addLetters("A");
  list.beginSongRename(song(0).id);
  EXPECT_EQ(list.editingSongNameDraft.get(), "A");
  EXPECT_EQ(list.focusedSongEditorId.get(), song(0).id);
  list.editingSongNameDraft.set(" \t\xC2\xA0My Song\xE3\x80\x80\r\n");
  list.commitSongRename();
  EXPECT_EQ(names(), Names{"My Song"});
  EXPECT_TRUE(state.isDirty.get());
  EXPECT_EQ(list.editingSongId.get(), std::nullopt);
  EXPECT_EQ(list.focusedSongEditorId.get(), std::nullopt);
  EXPECT_EQ(list.editingSongNameDraft.get(), "");
}

TEST_F(Songs, ANameThatIsEmptyOrTheSameOrCancelledChangesNothing) {
  addLetters("A");
  for (const std::string draft : {"", "  \n", " A "}) {
    list.beginSongRename(song(0).id);
    list.editingSongNameDraft.set(draft);
    list.commitSongRename();
  }
  list.beginSongRename(song(0).id);
  list.editingSongNameDraft.set("B");
  list.cancelSongRename();
  list.commitSongRename();
  EXPECT_EQ(names(), Names{"A"});
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Songs, ANameOfASongThatIsGoneIsDropped) {
  addLetters("AB");
  list.beginSongRename(song(1).id);
  list.editingSongNameDraft.set("C");
  changeSong(1, [](SongConfig& each) { each.id = Uuid::fresh(); });
  list.commitSongRename();
  EXPECT_EQ(names(), (Names{"A", "B"}));
  EXPECT_EQ(list.editingSongId.get(), std::nullopt);
}

TEST_F(Songs, DeletingTheLastOneLeavesAnEmptyStageAndAChangedSetlist) {
  addLetters("A");
  songSwitch.applySong(0);
  state.songNotes.set("gone soon");
  list.deleteSong(song(0).id);
  EXPECT_EQ(state.selectedSongIndex.get(), std::nullopt);
  EXPECT_TRUE(engine->channels().empty());
  EXPECT_EQ(state.songNotes.get(), "");
  EXPECT_EQ(selection.selectedChannelId.get(), std::nullopt);
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(Songs, DeletingTheOneOnStageBringsTheOneThatMovedIntoItsPlace) {
  addLetters("ABC");
  songSwitch.applySong(1);
  list.deleteSong(song(1).id);
  EXPECT_EQ(names(), (Names{"A", "C"}));
  EXPECT_EQ(state.selectedSongIndex.get(), 1U);
  EXPECT_EQ(strip(0).name.get(), "C");
  EXPECT_TRUE(state.isDirty.get()) << "the switch cleared it, the deletion sets it";
  list.deleteSong(song(1).id);
  EXPECT_EQ(state.selectedSongIndex.get(), 0U);
  EXPECT_EQ(strip(0).name.get(), "A") << "at the end of the list the new last one";
  EXPECT_EQ(song(0).channels[0].name, "A") << "the strips of the deleted one were stored nowhere";
}

TEST_F(Songs, DeletingOneAboveTheStageMovesOnlyTheSelection) {
  addLetters("ABC");
  songSwitch.applySong(2);
  const auto before = engine->channels();
  const auto token = state.songSwitchLoadToken.get();
  list.deleteSong(song(0).id);
  EXPECT_EQ(state.selectedSongIndex.get(), 1U);
  EXPECT_EQ(engine->channels(), before);
  EXPECT_EQ(state.songSwitchLoadToken.get(), token);
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(Songs, DeletingOneBelowTheStageOrWithNoneOnStageLeavesTheSelection) {
  addLetters("ABC");
  list.deleteSong(song(2).id);
  EXPECT_EQ(state.selectedSongIndex.get(), std::nullopt);
  EXPECT_TRUE(state.isDirty.get());
  songSwitch.applySong(0);
  list.deleteSong(song(1).id);
  EXPECT_EQ(names(), Names{"A"});
  EXPECT_EQ(state.selectedSongIndex.get(), 0U);
  EXPECT_EQ(strip(0).name.get(), "A");
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(Songs, DeletingOneThatIsNotThereOrBeingRenamed) {
  addLetters("AB");
  list.deleteSong(Uuid::fresh());
  EXPECT_EQ(names(), (Names{"A", "B"}));
  EXPECT_FALSE(state.isDirty.get());
  list.beginSongRename(song(1).id);
  list.deleteSong(song(1).id);
  EXPECT_EQ(list.editingSongId.get(), std::nullopt);
}

TEST_F(Songs, MovingKeepsTheSongOnStage) {
  addLetters("ABCD");
  songSwitch.applySong(1);
  list.moveSongs({1}, 4);
  EXPECT_EQ(names(), (Names{"A", "C", "D", "B"}));
  EXPECT_EQ(state.selectedSongIndex.get(), 3U);
  EXPECT_TRUE(state.isDirty.get());
  list.moveSongs({3}, 0);
  EXPECT_EQ(names(), (Names{"B", "A", "C", "D"}));
  EXPECT_EQ(state.selectedSongIndex.get(), 0U);
}

TEST_F(Songs, AMoveThatLeadsNowhereChangesNothing) {
  addLetters("ABC");
  list.moveSongs({1}, 1);
  list.moveSongs({1}, 2);
  list.moveSongs({3}, 0);
  list.moveSongs({0}, 4);
  list.moveSongs({}, 0);
  EXPECT_EQ(names(), (Names{"A", "B", "C"}));
  EXPECT_FALSE(state.isDirty.get());
}

}  // namespace
}  // namespace vrel
