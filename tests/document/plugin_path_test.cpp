// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/plugin_path.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vrel {
namespace {

const std::vector<AVAudioUnitComponent> components = {
    {"Piano", "Acme", {1635085685, 1, 2}},
    {"Organ", "Acme", {1635085685, 4294967295, 0}},
    {"Piano", "Acme", {1635085685, 3, 3}},
    {"Strings", "Bolt", {1635085685, 1, 2}},
};

std::optional<std::size_t> indexOf(std::string_view path) {
  const auto found = resolvePluginPath(path, components);
  for (std::size_t index = 0; found && index < components.size(); ++index) {
    if (components[index] == *found) {
      return index;
    }
  }
  return std::nullopt;
}

TEST(PluginPath, TheKeyIsTheThreeCodesInDecimal) {
  EXPECT_EQ(pluginKey(components[0]), "aucd:1635085685:1:2");
  EXPECT_EQ(pluginKey(components[1]), "aucd:1635085685:4294967295:0");
}

TEST(PluginPath, AKeyFindsItsComponent) {
  EXPECT_EQ(indexOf(pluginKey(components[1])), 1U);
  EXPECT_EQ(indexOf(pluginKey(components[2])), 2U);
}

TEST(PluginPath, TheFirstOfEqualComponentsWins) {
  EXPECT_EQ(indexOf("aucd:1635085685:1:2"), 0U);
  EXPECT_EQ(indexOf("au:Acme:Piano"), 0U);
}

TEST(PluginPath, CodesMustBeExactlyThree) {
  EXPECT_EQ(indexOf("aucd:1635085685:1:2:3"), std::nullopt);
  EXPECT_EQ(indexOf("aucd:1635085685:1"), std::nullopt);
  EXPECT_EQ(indexOf("aucd:"), std::nullopt);
}

TEST(PluginPath, EmptyPartsAreDropped) {
  EXPECT_EQ(indexOf("aucd::1635085685:::1:2:"), 0U);
  EXPECT_EQ(indexOf("au::Acme::Organ:"), 1U);
}

TEST(PluginPath, CodesMustBeWholeDecimalsOfThirtyTwoBits) {
  for (const char* path :
       {"aucd:1635085685:1:x", "aucd:1635085685:1:2x", "aucd:1635085685: 1:2", "aucd:0x1:1:2",
        "aucd:1635085685:1:4294967298", "aucd:1635085685:-1:2", "aucd:1635085685:1.0:2", "aucd:1635085685:+:2",
        "aucd:1635085685:++1:2", "aucd:1635085685:+-1:2", "aucd:1635085685:99999999999999999999:2"}) {
    EXPECT_EQ(indexOf(path), std::nullopt) << path;
  }
}

TEST(PluginPath, ASignIsTolerated) {
  EXPECT_EQ(indexOf("aucd:+1635085685:+1:+2"), 0U);
  EXPECT_EQ(indexOf("aucd:1635085685:4294967295:-0"), 1U);
  EXPECT_EQ(indexOf("aucd:1635085685:0001:2"), 0U);
}

TEST(PluginPath, OfMoreThanTwoNamesTheFirstTwoCount) {
  EXPECT_EQ(indexOf("au:Acme:Organ:Deluxe"), 1U);
  EXPECT_EQ(indexOf("au:Acme"), std::nullopt);
  EXPECT_EQ(indexOf("au:"), std::nullopt);
}

TEST(PluginPath, NamesAreComparedExactly) {
  EXPECT_EQ(indexOf("au:Bolt:Strings"), 3U);
  EXPECT_EQ(indexOf("au:bolt:Strings"), std::nullopt);
  EXPECT_EQ(indexOf("au:Strings:Bolt"), std::nullopt);
}

TEST(PluginPath, AnyOtherTextFindsNothing) {
  for (const std::string_view path :
       {std::string_view(), pathPlayback, pathVisual, std::string_view("Acme:Piano"),
        std::string_view("AUCD:1635085685:1:2"), std::string_view(" aucd:1635085685:1:2")}) {
    EXPECT_EQ(indexOf(path), std::nullopt) << path;
  }
}

TEST(PluginPath, NothingIsFoundAmongNoComponents) {
  EXPECT_FALSE(resolvePluginPath("aucd:1:1:1", {}).has_value());
}

TEST(PluginPath, ItsKindIsThatOfItsForm) {
  EXPECT_EQ(pluginPathKind(""), PluginPathKind::empty);
  EXPECT_EQ(pluginPathKind("internal:playback"), PluginPathKind::playback);
  EXPECT_EQ(pluginPathKind("internal:visual"), PluginPathKind::visual);
  EXPECT_EQ(pluginPathKind("internal:"), PluginPathKind::reserved);
  EXPECT_EQ(pluginPathKind("internal:playback2"), PluginPathKind::reserved);
  EXPECT_EQ(pluginPathKind("aucd:1:2:3"), PluginPathKind::component);
  EXPECT_EQ(pluginPathKind("aucd:"), PluginPathKind::component);
  EXPECT_EQ(pluginPathKind("au:Acme:Piano"), PluginPathKind::name);
  EXPECT_EQ(pluginPathKind("internal"), PluginPathKind::unknown);
  EXPECT_EQ(pluginPathKind("Internal:visual"), PluginPathKind::unknown);
  EXPECT_EQ(pluginPathKind(" aucd:1:2:3"), PluginPathKind::unknown);
}

TEST(PluginPath, InternalKindsHaveNoPluginBehindThem) {
  for (const auto kind : {PluginPathKind::playback, PluginPathKind::visual, PluginPathKind::reserved}) {
    EXPECT_TRUE(isInternal(kind));
  }
  for (const auto kind :
       {PluginPathKind::empty, PluginPathKind::component, PluginPathKind::name, PluginPathKind::unknown}) {
    EXPECT_FALSE(isInternal(kind));
  }
}

}  // namespace
}  // namespace vrel
