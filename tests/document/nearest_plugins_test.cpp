// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/nearest_plugins.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<AVAudioUnitComponent> installed{
    {"Grand Piano", "Acme", {componentTypeMusicDevice, 1, 100}},
    {"Electric Piano Mk2", "Acme", {componentTypeMusicDevice, 2, 100}},
    {"Tonewheel Organ", "Drawbars", {componentTypeMusicDevice, 3, 200}},
    {"Bass Station", "Low End", {componentTypeGenerator, 4, 300}},
    {"\u00c9toile", "Low End", {componentTypeMusicDevice, 5, 300}},
};

std::vector<std::string> namesFor(const WantedPlugin& wanted) {
  std::vector<std::string> names;
  for (const auto& plugin : nearestPlugins(wanted, installed)) {
    names.push_back(plugin.name);
  }
  return names;
}

TEST(NearestPlugins, TheOneWithTheMostSimilarNameComesFirst) {
  EXPECT_THAT(namesFor({.name = "Electric Piano"}), ElementsAre("Electric Piano Mk2", "Grand Piano"));
  EXPECT_THAT(namesFor({.name = "tonewheel-organ 3"}), ElementsAre("Tonewheel Organ"));
}

TEST(NearestPlugins, TheOthersOfItsManufacturerFollow) {
  EXPECT_THAT(namesFor({.path = "au:Acme:Grand Piano XL"}), ElementsAre("Grand Piano", "Electric Piano Mk2"));
  EXPECT_THAT(namesFor({.path = "aucd:1635085685:77:200"}), ElementsAre("Tonewheel Organ")) << "by its code";
  EXPECT_THAT(namesFor({.path = "aucd:1635085685:77:300"}), ElementsAre("\u00c9toile", "Bass Station"))
      << "those of its type first";
}

TEST(NearestPlugins, TheStripsNameIsAHintWhereNothingKnowsThePlugin) {
  EXPECT_THAT(namesFor({.path = "aucd:1635085685:77:78", .stripName = "Organ"}), ElementsAre("Tonewheel Organ"));
  EXPECT_THAT(namesFor({.name = "Bass Station II", .stripName = "Organ"}),
              ElementsAre("Bass Station", "Tonewheel Organ"));
}

TEST(NearestPlugins, WhatHasNothingInCommonIsNotOffered) {
  EXPECT_THAT(namesFor({.path = "aucd:1635085685:77:78", .name = "Vocoder", .stripName = "Lead"}), IsEmpty());
  EXPECT_THAT(namesFor({}), IsEmpty());
  EXPECT_THAT(namesFor({.path = "au:", .name = "::", .stripName = " "}), IsEmpty());
  EXPECT_THAT(nearestPlugins({.name = "Piano"}, {}), IsEmpty());
}

TEST(NearestPlugins, NoMoreThanAFewAreOffered) {
  const std::vector<AVAudioUnitComponent> many(100, installed.front());
  EXPECT_EQ(nearestPlugins({.name = "Grand Piano"}, many).size(), mostNearestPlugins);
}

}  // namespace
}  // namespace vrel
