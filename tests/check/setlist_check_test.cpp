// SPDX-License-Identifier: GPL-3.0-or-later
#include "check/setlist_check.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "check/checked_songs.h"

namespace vrel {
namespace {

using Kind = FindingKind;
using Kinds = std::vector<FindingKind>;

class SetlistCheck : public testing::Test {
 protected:
  [[nodiscard]] CheckReport check(const SetlistFile& setlist) const {
    return checkSetlist(setlist, {instruments, effects, audioFiles, clips});
  }
  [[nodiscard]] std::vector<Finding> checkSong(const SongConfig& song) const {
    return check({.songs = {song}}).pages.at(0).findings;
  }

  std::vector<AVAudioUnitComponent> instruments{{"Piano", "Acme", {componentTypeMusicDevice, 1, 2}}};
  std::vector<AVAudioUnitComponent> effects{{"Chorus", "Acme", {componentTypeEffect, 3, 2}}};
  MediaStates audioFiles;
  MediaStates clips;
};

TEST_F(SetlistCheck, ASongOfInstalledPluginsHasNoFindings) {
  auto song = songWith({stripWith(installedPiano), stripWith("au:Acme:Piano"), stripWith("")});
  song.channels[0].effectSlots = {{.pluginPath = "aucd:1635083896:3:2"}, {}};
  const auto report = check({.songs = {song, song}});
  EXPECT_EQ(countsOf(report).all(), 0U);
  ASSERT_EQ(report.pages.size(), 2U);
  EXPECT_EQ(report.pages[1].song, 1U);
  EXPECT_EQ(report.pages[1].name, "Song");
  EXPECT_FALSE(report.pages[1].played);
}

TEST_F(SetlistCheck, APluginThatIsNotInstalledIsNamedWithItsStrip) {
  auto song = songWith({stripWith(installedPiano), stripWith("au:Bolt:Grand Organ")});
  song.channels[1].name = "Left hand";
  song.channels[1].effectSlots = {{.pluginPath = "aucd:1635083896:8:8", .pluginName = "Old Hall"}};
  song.masterEffectSlots = {{.pluginPath = "aucd:1635083896:9:9"}};
  const auto findings = checkSong(song);
  ASSERT_EQ(kindsOf(findings), Kinds({Kind::pluginMissing, Kind::pluginMissing, Kind::pluginMissing}));
  EXPECT_EQ(findings[0].subject, "Grand Organ");
  EXPECT_EQ(findings[0].strip, (FindingStrip{1, "Left hand"}));
  EXPECT_EQ(findings[1].subject, "Old Hall");
  EXPECT_EQ(findings[2].subject, "aucd:1635083896:9:9") << "without a name";
  EXPECT_FALSE(findings[2].strip) << "of the master";
}

TEST_F(SetlistCheck, ASourceThatNothingPlaysIsReported) {
  const auto findings = checkSong(songWith({stripWith(installedPiano), stripWith("internal:synth"), stripWith("x")}));
  ASSERT_EQ(kindsOf(findings), Kinds({Kind::unknownSource, Kind::unknownSource}));
  EXPECT_EQ(findings[1].subject, "x");
}

TEST_F(SetlistCheck, FilesOfTracksAreReportedByTheirState) {
  audioFiles = {{"/a", {MediaState::Kind::missing, "No such file"}},
                {"/b", {MediaState::Kind::unreadable, "no audio"}},
                {"/c", {MediaState::Kind::incomplete, "1 s of 2 s"}},
                {"/d", {}},
                {"/e", {MediaState::Kind::crashes, "killed by signal 11"}}};
  SongConfig song = songWith({stripWith(installedPiano)});
  for (const auto* const path : {"/a", "/b", "/c", "/d", "/e", ""}) {
    song.channels.push_back(stripWith("internal:playback"));
    song.channels.back().playbackFilePath = path;
  }
  const auto findings = checkSong(song);
  ASSERT_EQ(kindsOf(findings), Kinds({Kind::fileMissing, Kind::fileUnreadable, Kind::fileIncomplete, Kind::fileCrashes,
                                      Kind::noFileChosen}));
  EXPECT_EQ(findings[0].subject, "/a");
  EXPECT_EQ(findings[2].reason, "1 s of 2 s");
  EXPECT_EQ(findings[3].reason, "killed by signal 11");
}

TEST_F(SetlistCheck, ClipsAreReportedByTheirState) {
  clips = {{"/a", {MediaState::Kind::missing, ""}}, {"/b", {MediaState::Kind::incomplete, ""}}};
  auto song = songWith({stripWith(installedPiano), stripWith("internal:visual")});
  song.channels[1].visualClipMappings = {{.filePath = "/a"}, {.filePath = "/b"}, {.filePath = ""}, {.filePath = "/c"}};
  EXPECT_EQ(kindsOf(checkSong(song)), Kinds({Kind::fileMissing, Kind::fileIncomplete, Kind::noFileChosen}));
}

TEST_F(SetlistCheck, ASetlistWithoutSongsIsReported) {
  EXPECT_EQ(kindsOf(check({}).findings), Kinds({Kind::noSongs}));
}

TEST_F(SetlistCheck, ASongWithoutAnAudibleStripIsReported) {
  EXPECT_EQ(kindsOf(checkSong(songWith({}))), Kinds({Kind::noSound}));
  EXPECT_EQ(kindsOf(checkSong(songWith({stripWith(""), stripWith("internal:visual")}))), Kinds({Kind::noSound}));
  auto muted = songWith({stripWith(installedPiano)});
  muted.channels[0].mute = true;
  EXPECT_EQ(kindsOf(checkSong(muted)), Kinds({Kind::noSound}));
}

TEST_F(SetlistCheck, AStripThatIsSoloedSilencesTheOthers) {
  auto song = songWith({stripWith(installedPiano), stripWith("")});
  song.channels[1].solo = true;
  EXPECT_EQ(kindsOf(checkSong(song)), Kinds({Kind::noSound}));
  song.channels[0].solo = true;
  EXPECT_EQ(kindsOf(checkSong(song)), Kinds());
}

TEST(MediaReferences, NameEachFileOnceAndOnlyThoseOfStripsThatPlayThem) {
  auto track = stripWith("internal:playback");
  track.playbackFilePath = "/track";
  auto former = stripWith(installedPiano);  // keeps the file of what it was
  former.playbackFilePath = "/former";
  auto video = stripWith("internal:visual");
  video.visualClipMappings = {{.filePath = "/clip"}, {.filePath = ""}, {.filePath = "/clip"}};
  const auto references = mediaReferencesOf({.songs = {songWith({track, former, video}), songWith({track})}});
  EXPECT_EQ(references.audioFiles, std::set<std::string>{"/track"});
  EXPECT_EQ(references.clips, std::set<std::string>{"/clip"});
}

}  // namespace
}  // namespace vrel
