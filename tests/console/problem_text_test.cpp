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

TEST(ProblemText, NamesPluginsInsteadOfTheirCodes) {
  EXPECT_EQ(problemText("Prewarm failed for aucd:1635085685:11:20: no memory", installed()),
            "Prewarm failed for Organ: no memory");
}

TEST(ProblemText, NamesPluginsInsteadOfTheirUris) {
  EXPECT_EQ(problemText("Failed to load plugin: <http://example.org/plugins/grand> has no port.", installed()),
            "Failed to load plugin: <Grand Piano> has no port.");
}

TEST(ProblemText, OneThatIsNotInstalledIsAPlugin) {
  EXPECT_EQ(problemText("Failed to load plugin: aucd:1635085685:7:7 is not installed (Pad)", installed()),
            "Failed to load plugin: a plug-in is not installed (Pad)");
}

TEST(ProblemText, OfAnotherUriTheLastPartIsLeft) {
  EXPECT_EQ(problemText("requires http://lv2plug.in/ns/ext/worker#schedule.", {}), "requires schedule.");
  EXPECT_EQ(problemText("urn:a urn: http://", {}), "a urn: http://");
}

TEST(ProblemText, ALineWithoutEitherStaysAsItIs) {
  EXPECT_EQ(problemText("Failed to save setlist: disk full", installed()), "Failed to save setlist: disk full");
  EXPECT_EQ(problemText("", {}), "");
}

TEST(ProblemText, ItsKindSaysWhatMendsIt) {
  EXPECT_EQ(problemKind("Failed to save setlist: disk full"), ProblemKind::save);
  EXPECT_EQ(problemKind("Failed to load plugin: crashed"), ProblemKind::instrument);
  EXPECT_EQ(problemKind("Failed to load setlist: no"), ProblemKind::other);
}

}  // namespace
}  // namespace vrel
