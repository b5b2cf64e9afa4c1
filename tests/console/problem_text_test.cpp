// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/problem_text.h"

#include <gtest/gtest.h>

#include "foundation/fnv1a64.h"

namespace vrel {
namespace {

constexpr std::string_view uri = "http://example.org/plugins/grand";

std::vector<AVAudioUnitComponent> installed() {
  const std::uint64_t hash = fnv1a64(uri);
  return {{"Organ", "Maker", {componentTypeMusicDevice, 11, 20}},
          {"Grand Piano",
           "Maker",
           {componentTypeMusicDevice, static_cast<std::uint32_t>(hash >> 32U), static_cast<std::uint32_t>(hash)}}};
}

const AVAudioUnitComponent delay{"Delay", "Maker", {componentTypeEffect, 31, 20}};

/// With a setlist that has a reverb which is not installed.
std::string shown(std::string_view line) {
  static const auto instruments = installed();
  static const std::vector<AVAudioUnitComponent> effects{delay};
  static const std::vector<SongConfig> songs = [] {
    SongConfig song;
    song.channels.emplace_back().effectSlots = {{.pluginPath = "aucd:1635083896:5:5", .pluginName = "Old Hall"}};
    return std::vector{song};
  }();
  return problemText(line, {instruments, effects, songs});
}

TEST(ProblemText, NamesPluginsInsteadOfTheirCodes) {
  EXPECT_EQ(shown("Prewarm failed for aucd:1635085685:11:20: no memory"), "Prewarm failed for Organ: no memory");
}

TEST(ProblemText, NamesPluginsInsteadOfTheirUris) {
  EXPECT_EQ(shown("Failed to load plugin: <http://example.org/plugins/grand> has no port."),
            "Failed to load plugin: <Grand Piano> has no port.");
}

TEST(ProblemText, NamesEffectsAndWhatOnlyTheSetlistKnows) {
  EXPECT_EQ(shown("aucd:1635083896:31:20 is gone"), "Delay is gone");
  EXPECT_EQ(shown("aucd:1635083896:5:5 is gone"), "Old Hall is gone");
}

TEST(ProblemText, OneThatIsNotInstalledIsAPlugin) {
  EXPECT_EQ(shown("Failed to load plugin: aucd:1635085685:7:7 is not installed (Pad)"),
            "Failed to load plugin: a plug-in is not installed (Pad)");
}

TEST(ProblemText, OfAnotherUriTheLastPartIsLeft) {
  EXPECT_EQ(shown("requires http://lv2plug.in/ns/ext/worker#schedule."), "requires schedule.");
  EXPECT_EQ(shown("urn:a urn: http://"), "a urn: http://");
}

TEST(ProblemText, ALineWithoutEitherStaysAsItIs) {
  EXPECT_EQ(shown("Failed to save setlist: disk full"), "Failed to save setlist: disk full");
  EXPECT_EQ(shown(""), "");
}

}  // namespace
}  // namespace vrel
