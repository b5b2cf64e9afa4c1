// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/setlist_contents.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "support/simulated_session.h"

namespace vrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ContentsOfSongs : public SimulatedSession {
 protected:
  std::vector<std::string> tracksBehind(std::size_t song) {
    std::vector<std::string> names;
    for (const auto* const record : contents.tracksBehind(song)) {
      names.push_back(record->name);
    }
    return names;
  }

  SetlistContents contents{state};
};

TEST_F(ContentsOfSongs, EachInstrumentIsNamedOnceInOrder) {
  EXPECT_THAT(contents.instruments(), IsEmpty());
  addSong("One", {record("A", organKey), record("B", "")});
  addSong("Two", {record("C", pianoKey), record("D", organKey)});
  EXPECT_THAT(contents.instruments(), ElementsAre(pianoKey, organKey));
}

TEST_F(ContentsOfSongs, TheSongThatIsChangedIsCountedAsItIsThen) {
  addSong("One", {record("A", organKey)});
  addSong("Two", {record("B", organKey), record("T", "internal:playback")});
  const auto play = [this](std::size_t song, const std::string& path) {
    contents.changeSong(song, [&] { changeSong(song, [&](auto& each) { each.channels = {record("X", path)}; }); });
  };
  play(0, pianoKey);
  EXPECT_THAT(contents.instruments(), ElementsAre(pianoKey, organKey, "internal:playback"));
  play(1, pianoKey);
  EXPECT_THAT(contents.instruments(), ElementsAre(pianoKey)) << "nothing plays the organ any more";
  EXPECT_THAT(tracksBehind(0), IsEmpty());
  play(1, "internal:playback");
  EXPECT_THAT(tracksBehind(0), ElementsAre("X"));
}

TEST_F(ContentsOfSongs, WhatOthersChangeIsSeen) {
  addSong("One", {record("A", organKey)});
  EXPECT_THAT(contents.instruments(), ElementsAre(organKey));
  changeSong(0, [](auto& song) { song.channels[0].pluginPath = pianoKey; });
  EXPECT_THAT(contents.instruments(), ElementsAre(pianoKey));
  state.songs.set({});
  EXPECT_THAT(contents.instruments(), IsEmpty());
  EXPECT_THAT(tracksBehind(0), IsEmpty());
}

TEST_F(ContentsOfSongs, TracksComeInTheOrderOfTheSongsThatFollow) {
  for (const std::string name : {"0", "1", "2", "3"}) {
    addSong(name, {record("a" + name, "internal:playback"), record("piano", pianoKey),
                   record("b" + name, name == "1" ? "" : "internal:playback")});
  }
  EXPECT_THAT(tracksBehind(1), ElementsAre("a2", "b2", "a3", "b3", "a0", "b0", "a1"));
  EXPECT_THAT(tracksBehind(3), ElementsAre("a0", "b0", "a1", "a2", "b2", "a3", "b3"));
}

TEST_F(ContentsOfSongs, AfterASwitchTheyAreThoseOfTheStageThatWent) {
  addSong("One", {record("A", pianoKey)});
  addSong("Two", {record("B", organKey)});
  songSwitch.applySong(0);
  answerAll();
  engine->instruments().unloadInstrument(strip(0));
  songSwitch.applySong(1);
  answerAll();
  EXPECT_EQ(song(0).channels[0].pluginPath, "");
  EXPECT_THAT(contents.instruments(), ElementsAre(organKey));
}

}  // namespace
}  // namespace vrel
