// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "check/checked_songs.h"
#include "check/setlist_check.h"

namespace vrel {
namespace {

constexpr MidiControlBinding knob{0xB0, 0, 20};
constexpr MidiControlTarget firstVolume{MidiControlKind::channelVolume, 0};
constexpr MidiControlTarget secondVolume{MidiControlKind::channelVolume, 1};
constexpr MidiControlTarget master{MidiControlKind::masterVolume, {}};

using Targets = std::vector<MidiControlTarget>;

TEST(ControlFindings, AControlWithOneTargetHasNone) {
  EXPECT_TRUE(checkControls({{firstVolume, knob}, {secondVolume, {0xB0, 1, 20}}, {master, {0xB0, 0, 21}}}).empty());
  EXPECT_TRUE(checkControls({{firstVolume, knob}, {firstVolume, knob}}).empty()) << "the same twice";
}

TEST(ControlFindings, TargetsThatShareAControlOfTheSetlistAreReportedForTheSetlist) {
  const std::vector<MidiControlAssignment> global{{firstVolume, knob}, {secondVolume, knob}};
  const auto findings = checkControls(global);
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].kind, FindingKind::sharedControl);
  EXPECT_EQ(findings[0].subject, "CC 20, MIDI 1");
  EXPECT_EQ(findings[0].targets, (Targets{firstVolume, secondVolume}));
  EXPECT_TRUE(checkControls(global, songWith({stripWith(""), stripWith("")})).empty()) << "not for each song again";
}

TEST(ControlFindings, ASongThatSharesAControlWithTheSetlistReportsIt) {
  auto song = songWith({stripWith("")});
  song.midiControlAssignments = {{master, knob}};
  const auto findings = checkControls({{firstVolume, knob}}, song);
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].targets, (Targets{firstVolume, master}));
}

TEST(ControlFindings, AStripThatTheSongLacksSharesNothing) {
  auto song = songWith({stripWith("")});
  song.midiControlAssignments = {{master, knob}, {{MidiControlKind::channelMute, -1}, knob}};
  EXPECT_TRUE(checkControls({{secondVolume, knob}}, song).empty());
}

TEST(ControlFindings, AControlOfAPluginSharesItWithOneOfTheConsole) {
  auto song = songWith({stripWith(installedPiano)});
  song.midiControlAssignments = {{master, knob}};
  song.pluginControlAssignments = {{.target = {.channelIndex = 0, .pluginPath = installedPiano, .control = "cut"},
                                    .binding = knob,
                                    .controlName = "Cutoff"},
                                   {.target = {.channelIndex = 7, .pluginPath = installedPiano, .control = "cut"},
                                    .binding = knob,
                                    .controlName = "Off"}};
  const auto findings = checkControls({}, song);
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].targets, Targets{master});
  EXPECT_EQ(findings[0].pluginControls, std::vector<std::string>{"Cutoff 1"}) << "but not of a strip that is not there";
}

}  // namespace
}  // namespace vrel
