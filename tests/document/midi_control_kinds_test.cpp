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
  std::set<std::string> texts;
  for (std::size_t index = 0; index < midiControlKinds.size(); ++index) {
    const auto& row = midiControlKinds[index];
    EXPECT_EQ(row.kind, static_cast<Kind>(index));
    EXPECT_NE(row.text.empty(), row.ownField.empty()) << "stored in one place or in the other";
    texts.insert(std::string(row.text) + std::string(row.ownField));
  }
  EXPECT_EQ(midiControlKinds.size(), static_cast<std::size_t>(Kind::notesPosition) + 1);
  EXPECT_EQ(texts.size(), midiControlKinds.size());
}

TEST(MidiControlKinds, VolumeGainThePerformanceControlsAndOwnKindsBelongToTheSetlist) {
  EXPECT_EQ(kindsThat([](const auto& row) { return row.scope == MidiControlScope::setlist; }),
            (std::vector{Kind::channelVolume, Kind::channelGain, Kind::performancePitchBend,
                         Kind::performanceModulation, Kind::performanceSustain, Kind::performanceExpression,
                         Kind::projectionBlackout, Kind::nextSong, Kind::previousSong, Kind::notesPosition}));
}

TEST(MidiControlKinds, TheControlsOfAStripNeedOne) {
  EXPECT_EQ(
      kindsThat([](const auto& row) { return row.needsStrip; }),
      (std::vector{Kind::channelVolume, Kind::channelGain, Kind::channelReverb, Kind::channelMute, Kind::channelSolo}));
}

TEST(MidiControlKinds, ButtonsAreTriggers) {
  EXPECT_EQ(kindsThat([](const auto& row) { return row.isTrigger; }),
            (std::vector{Kind::panic, Kind::tapTempo, Kind::channelMute, Kind::channelSolo, Kind::masterMute,
                         Kind::projectionBlackout, Kind::nextSong, Kind::previousSong}));
}

TEST(MidiControlKinds, AnUnknownKindBelongsToTheSongAndNeedsNoStrip) {
  for (const auto kind : {static_cast<Kind>(midiControlKinds.size()), static_cast<Kind>(-1)}) {
    EXPECT_EQ(traitsOf(kind).scope, MidiControlScope::song);
    EXPECT_EQ(traitsOf(kind).text, "");
    EXPECT_FALSE(traitsOf(kind).needsStrip);
    EXPECT_FALSE(traitsOf(kind).isTrigger);
  }
}

}  // namespace
}  // namespace vrel
