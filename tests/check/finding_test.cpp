// SPDX-License-Identifier: GPL-3.0-or-later
#include "check/finding.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "check/checked_songs.h"
#include "check/finding_words.h"
#include "text/text.h"

namespace vrel {
namespace {

using Kind = FindingKind;
using Kinds = std::vector<FindingKind>;

constexpr PlayedSong good{.loadSeconds = 1, .medianShare = 0.3, .worstShare = 0.9, .peak = 0.5, .memoryBytes = 1};

TEST(Findings, ASongThatPlaysWellHasNone) {
  EXPECT_TRUE(findingsOf(good).empty());
}

TEST(Findings, APeakAboveFullScaleClips) {
  PlayedSong played = good;
  played.peak = 1;
  EXPECT_TRUE(findingsOf(played).empty());
  played.peak = 2;
  const auto findings = findingsOf(played);
  ASSERT_EQ(kindsOf(findings), Kinds({Kind::clips}));
  EXPECT_NEAR(findings[0].value, 6.02, 0.01);
}

TEST(Findings, ASongWithoutSoundIsSilent) {
  PlayedSong played = good;
  played.peak = 0;
  EXPECT_EQ(kindsOf(findingsOf(played)), Kinds({Kind::silentWhenPlayed}));
}

TEST(Findings, TheUsualBlockDecidesWhetherTheMachineIsFastEnough) {
  PlayedSong played = good;
  played.worstShare = 3;
  EXPECT_TRUE(findingsOf(played).empty()) << "one late block may be the desktop's";
  played.medianShare = 0.6;
  EXPECT_EQ(kindsOf(findingsOf(played)), Kinds({Kind::heavy}));
  played.medianShare = 1;
  EXPECT_EQ(kindsOf(findingsOf(played)), Kinds({Kind::overloaded}));
}

TEST(Findings, ALongLoadIsReported) {
  PlayedSong played = good;
  played.loadSeconds = 10.5;
  EXPECT_EQ(kindsOf(findingsOf(played)), Kinds({Kind::slowLoad}));
}

TEST(Findings, TheWorstSongComesFirst) {
  CheckReport report;
  report.pages = {{.song = 0, .name = {}, .findings = {}, .played = good},
                  {.song = 1, .name = {}, .findings = {{.kind = Kind::clips}, {.kind = Kind::clips}}},
                  {.song = 2, .name = {}, .findings = {{.kind = Kind::clips}, {.kind = Kind::pluginMissing}}},
                  {.song = 3, .name = {}, .findings = {}, .played = PlayedSong{.worstShare = 2}},
                  {.song = 4}};
  sortWorstFirst(report);
  std::vector<std::size_t> order;
  for (const auto& page : report.pages) {
    order.push_back(page.song);
  }
  EXPECT_EQ(order, (std::vector<std::size_t>{2, 1, 3, 0, 4}));
  EXPECT_EQ(kindsOf(report.pages[0].findings), Kinds({Kind::pluginMissing, Kind::clips})) << "errors first";
  EXPECT_EQ(countsOf(report), (FindingCounts{1, 3}));
}

TEST(Findings, EveryKindHasANameAndWordsInEveryLanguage) {
  std::set<std::string> names;
  for (const auto& traits : findingKinds) {
    EXPECT_TRUE(names.insert(std::string(traits.name)).second) << traits.name;
    for (const auto language : allLanguages) {
      const auto text = findingText({.kind = traits.kind, .subject = "Subject"}, language);
      EXPECT_FALSE(text.empty()) << traits.name;
      EXPECT_EQ(text.find("%1"), std::string::npos) << text;
      EXPECT_EQ(text.find("%2"), std::string::npos) << text;
      EXPECT_EQ(text.find("%3"), std::string::npos) << text;
      EXPECT_TRUE(findingAdvice(traits.kind, language).ends_with('.')) << traits.name;
    }
  }
}

TEST(FindingWords, SayWhatIsConcernedWithItsReason) {
  EXPECT_EQ(
      findingText({.kind = Kind::fileIncomplete, .subject = "/100%2.wav", .reason = "1 s of 2 s"}, Language::english),
      "The file cannot be decoded to its end: /100%2.wav (1 s of 2 s)");
  EXPECT_EQ(findingText({.kind = Kind::heavy, .value = 0.718}, Language::german),
            "Der Song braucht 72 % der Zeit eines Blocks");
  EXPECT_EQ(findingText({.kind = Kind::sharedControl,
                         .subject = "CC 20, MIDI 1",
                         .targets = {{MidiControlKind::channelVolume, 1}, {MidiControlKind::masterVolume, {}}}},
                        Language::english),
            "CC 20, MIDI 1 moves several controls: Volume 2, Volume MASTER");
}

TEST(FindingWords, SayWhatWasMeasured) {
  EXPECT_EQ(
      playedText({.loadSeconds = 0.84, .medianShare = 0.123, .worstShare = 1.5, .peak = 0.5, .memoryBytes = 12'400'000},
                 Language::english),
      "loaded in 0.8 s; block 12 %, worst 150 %; peak -6.0 dB; plug-ins 12 MB");
  EXPECT_NE(playedText({}, Language::french).find("crête -"), std::string::npos);
}

}  // namespace
}  // namespace vrel
