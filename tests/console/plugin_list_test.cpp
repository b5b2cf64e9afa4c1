// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/plugin_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "document/plugin_path.h"

namespace vrel {
namespace {

using testing::ElementsAre;

const std::locale unicode = localeNamed("C.UTF-8");

AVAudioUnitComponent plugin(const std::string& manufacturer, const std::string& name) {
  static std::uint32_t next = 0;
  return {name, manufacturer, {componentTypeMusicDevice, ++next, 1}};
}

/// "Manufacturer: Name, Name" for each group.
std::vector<std::string> described(const std::vector<PluginGroup>& groups) {
  std::vector<std::string> lines;
  for (const auto& group : groups) {
    std::string line = group.manufacturerName + ":";
    for (const auto& each : group.plugins) {
      line += " " + each.name;
    }
    lines.push_back(line);
  }
  return lines;
}

TEST(PluginList, ASearchForAManufacturerKeepsAllItsPluginsUnderOneHeading) {
  const PluginList list({plugin("Blue", "Organ"), plugin("Red", "Piano"), plugin("Blue", "Bass")}, unicode);
  EXPECT_THAT(described(list.matching("blu")), ElementsAre("Blue: Bass Organ"));
}

TEST(PluginList, ASearchInOtherCaseFindsTheSame) {
  const PluginList list({plugin("École", "Célesta"), plugin("Red", "Piano")}, unicode);
  for (const auto* search : {"célesta", "CÉLESTA", "cÉL", "école", "ÉCOLE"}) {
    EXPECT_THAT(described(list.matching(search)), ElementsAre("École: Célesta")) << search;
  }
}

TEST(PluginList, ManufacturersThatDifferOnlyInCaseAreTwoGroupsNextToEachOther) {
  const PluginList list(
      {plugin("acme", "A"), plugin("Zebra", "B"), plugin("ACME", "C"), plugin("acme", "D"), plugin("Acorn", "E")},
      unicode);
  EXPECT_THAT(described(list.matching("")), ElementsAre("ACME: C", "acme: A D", "Acorn: E", "Zebra: B"));
}

TEST(PluginList, PluginsOfOneNameKeepTheOrderOfTheScan) {
  const auto first = plugin("Red", "Piano");
  const auto second = plugin("Red", "PIANO");
  const auto groups = PluginList({second, first}, unicode).matching("");
  EXPECT_THAT(described(groups), ElementsAre("Red: PIANO Piano"));
}

TEST(PluginList, AnEmptySearchKeepsAllAndASearchForNothingKnownNone) {
  const PluginList list({plugin("Red", "Piano")}, unicode);
  EXPECT_EQ(list.matching("").size(), 1U);
  EXPECT_TRUE(list.matching("harp").empty());
  EXPECT_TRUE(PluginList().matching("").empty());
}

TEST(PluginList, BytesThatAreNoTextAreSearchedToo) {
  const PluginList list({plugin("\xFFRed", "Pi\xC3")}, unicode);
  EXPECT_EQ(list.matching("red").size(), 1U);
  EXPECT_TRUE(list.matching("\xC3\x28").empty());
}

TEST(PluginList, WhatIsAskedForByKeyComesInTheOrderOfTheKeys) {
  const auto piano = plugin("Red", "Piano");
  const auto organ = plugin("Blue", "Organ");
  const PluginList list({piano, organ}, unicode);
  const std::vector<std::string> keys{pluginKey(piano), "aucd:1:2:3", pluginKey(organ)};
  EXPECT_THAT(list.matching("", keys), ElementsAre(piano, organ));
  EXPECT_THAT(list.matching("blue", keys), ElementsAre(organ));
}

}  // namespace
}  // namespace vrel
