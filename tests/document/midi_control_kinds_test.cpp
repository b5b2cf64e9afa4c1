// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/midi_control_kinds.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string_view>
#include <vector>

namespace vrel {
namespace {

using Kind = MidiControlKind;

template <typename Predicate>
std::vector<Kind> kindsThat(Predicate holds) {
  std::vector<Kind> kinds;
  for (const auto& row : midiControlKinds) {
    if (holds(row)) {
      kinds.push_back(row.kind);
    }
  }
  return kinds;
}

TEST(MidiControlKinds, EachKindHasOneRowAndATextOfItsOwn) {
  std::set<std::string_view> texts;
  for (std::size_t index = 0; index < midiControlKinds.size(); ++index) {
    const auto& row = midiControlKinds[index];
    EXPECT_EQ(row.kind, static_cast<Kind>(index));
    EXPECT_EQ(row.text.empty(), row.kind == Kind::projectionBlackout) << "which is stored elsewhere";
    texts.insert(row.text);
  }
  EXPECT_EQ(midiControlKinds.size(), static_cast<std::size_t>(Kind::projectionBlackout) + 1);
  EXPECT_EQ(texts.size(), midiControlKinds.size());
}

TEST(MidiControlKinds, VolumeGainThePerformanceControlsAndTheBlackoutBelongToTheSetlist) {
  EXPECT_EQ(
      kindsThat([](const auto& row) { return row.scope == MidiControlScope::setlist; }),
      (std::vector{Kind::channelVolume, Kind::channelGain, Kind::performancePitchBend, Kind::performanceModulation,
                   Kind::performanceSustain, Kind::performanceExpression, Kind::projectionBlackout}));
}

TEST(MidiControlKinds, TheControlsOfAStripNeedOne) {
  EXPECT_EQ(
      kindsThat([](const auto& row) { return row.needsStrip; }),
      (std::vector{Kind::channelVolume, Kind::channelGain, Kind::channelReverb, Kind::channelMute, Kind::channelSolo}));
}

TEST(MidiControlKinds, ButtonsAreTriggers) {
  EXPECT_EQ(kindsThat([](const auto& row) { return row.isTrigger; }),
            (std::vector{Kind::panic, Kind::tapTempo, Kind::channelMute, Kind::channelSolo, Kind::masterMute,
                         Kind::projectionBlackout}));
}

TEST(MidiControlKinds, AnUnknownKindBelongsToTheSongAndNeedsNoStrip) {
  for (const auto kind : {static_cast<Kind>(14), static_cast<Kind>(-1)}) {
    EXPECT_EQ(traitsOf(kind).scope, MidiControlScope::song);
    EXPECT_EQ(traitsOf(kind).text, "");
    EXPECT_FALSE(traitsOf(kind).needsStrip);
    EXPECT_FALSE(traitsOf(kind).isTrigger);
  }
}

}  // namespace
}  // namespace vrel
