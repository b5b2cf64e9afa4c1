// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "check/checked_songs.h"
#include "check/setlist_check.h"

namespace vrel {
namespace {

using Kind = FindingKind;

/// Each finding as its name and what it is about.
std::vector<std::string> found(const SongConfig& song) {
  std::vector<std::string> lines;
  for (const auto& finding : checkSplits(song)) {
    lines.push_back(std::string(traitsOf(finding.kind).name) + " " + finding.subject);
  }
  return lines;
}

using Lines = std::vector<std::string>;

SongConfig onKeyboard(int first, int count, const std::vector<ChannelConfig>& strips) {
  auto song = songWith(strips);
  song.keyboardStartNote = static_cast<std::uint8_t>(first);
  song.keyboardKeyCount = static_cast<std::uint8_t>(count);
  return song;
}

TEST(SplitFindings, StripsOverTheWholeKeyboardHaveNone) {
  EXPECT_EQ(found(songWith({stripWith(installedPiano), stripWith(installedPiano)})), Lines());
  EXPECT_EQ(found(songWith({})), Lines());
}

TEST(SplitFindings, SplitsThatMeetOrOverlapHaveNone) {
  EXPECT_EQ(found(songWith({stripWith(installedPiano, 0, 59), stripWith(installedPiano, 60, 127)})), Lines());
  EXPECT_EQ(found(songWith({stripWith(installedPiano, 48, 127), stripWith(installedPiano, 0, 72)})), Lines());
}

TEST(SplitFindings, KeysBetweenSplitsAreAGap) {
  EXPECT_EQ(found(songWith({stripWith(installedPiano, 0, 59), stripWith(installedPiano, 62, 71),
                            stripWith(installedPiano, 73, 127)})),
            Lines({"split_gap C4 - C#4", "split_gap C5"}));
}

TEST(SplitFindings, KeysAboveAndBelowAllSplitsAreNoGap) {
  EXPECT_EQ(found(songWith({stripWith(installedPiano, 48, 72)})), Lines());
}

TEST(SplitFindings, AKeyThatStartsATrackFillsAGapAndMakesNone) {
  EXPECT_EQ(found(songWith({stripWith("internal:playback", 24, 24), stripWith(installedPiano, 48, 127)})), Lines());
  EXPECT_EQ(found(songWith({stripWith(installedPiano, 0, 59), stripWith("internal:playback", 60, 60),
                            stripWith(installedPiano, 61, 127)})),
            Lines());
  EXPECT_EQ(found(songWith({stripWith(installedPiano, 0, 59), stripWith("internal:playback", 61, 61),
                            stripWith(installedPiano, 63, 127)})),
            Lines({"split_gap C4", "split_gap D4"}));
}

TEST(SplitFindings, NoKeyReachesASplitWhoseEndsAreExchanged) {
  const auto findings = checkSplits(songWith({stripWith(installedPiano), stripWith(installedPiano, 61, 60)}));
  ASSERT_EQ(kindsOf(findings), std::vector({Kind::noKeyReaches}));
  EXPECT_EQ(findings[0].strip, (FindingStrip{1, "Strip"}));
  EXPECT_EQ(findings[0].subject, "C#4 > C4");
}

TEST(SplitFindings, AStripWithoutASourceNeedsNoKeys) {
  EXPECT_EQ(found(songWith({stripWith(installedPiano), stripWith("", 61, 60)})), Lines());
}

TEST(SplitFindings, AStripWhollyOffTheKeyboardIsReportedOnce) {
  EXPECT_EQ(found(onKeyboard(36, 49, {stripWith(installedPiano), stripWith(installedPiano, 85, 96)})),
            Lines({"split_off_keyboard C#6 - C7"}));
  EXPECT_EQ(found(onKeyboard(36, 49, {stripWith(installedPiano), stripWith(installedPiano, 84, 96)})),
            Lines({"split_beyond_keyboard C#6 - C7"}));
}

TEST(SplitFindings, NotesBeyondBothEndsOfTheKeyboardAreReported) {
  EXPECT_EQ(found(onKeyboard(36, 49, {stripWith(installedPiano, 35, 85)})),
            Lines({"split_beyond_keyboard B1", "split_beyond_keyboard C#6"}));
}

TEST(SplitFindings, AnEndThatWasNeverSetIsNotBeyondTheKeyboard) {
  EXPECT_EQ(found(onKeyboard(36, 49, {stripWith(installedPiano, 0, 59), stripWith(installedPiano, 60, 127)})), Lines());
}

TEST(SplitFindings, AKeyboardWithoutKeysSaysNothing) {
  EXPECT_EQ(found(onKeyboard(60, 0, {stripWith(installedPiano, 12, 24)})), Lines());
}

TEST(SplitFindings, AKeyboardBeyondTheLastNoteEndsThere) {
  EXPECT_EQ(found(onKeyboard(120, 88, {stripWith(installedPiano, 100, 127)})),
            Lines({"split_beyond_keyboard E7 - B8"}));
  EXPECT_EQ(found(onKeyboard(255, 255, {stripWith(installedPiano, 1, 2)})), Lines());
}

TEST(SplitFindings, KeysThatATranspositionDisplacesAreReported) {
  auto high = stripWith(installedPiano);
  high.transpose = 24;
  EXPECT_EQ(found(songWith({high})), Lines({"transposed_too_far G#7 - C8"}));
  high.transpose = 19;
  EXPECT_EQ(found(songWith({high})), Lines());
  auto low = stripWith(installedPiano, 0, 60);
  low.transpose = -22;
  EXPECT_EQ(found(songWith({low})), Lines({"transposed_too_far A0"}));
  low.transpose = -128;
  EXPECT_EQ(found(songWith({low})), Lines({"transposed_too_far A0 - C4"}));
}

TEST(SplitFindings, ATrackIsNotTransposed) {
  auto track = stripWith("internal:playback");
  track.transpose = 100;
  EXPECT_EQ(found(songWith({track})), Lines());
}

TEST(SplitFindings, AClipOutsideOfItsStripsKeysIsNeverShown) {
  auto video = stripWith("internal:visual", 60, 71);
  video.visualClipMappings = {{.note = 60, .filePath = "/a"}, {.note = 72, .filePath = "/b"}};
  EXPECT_EQ(found(songWith({video})), Lines({"clip_unreachable C5: /b"}));
}

}  // namespace
}  // namespace vrel
