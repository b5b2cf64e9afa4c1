// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/plugin_names.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace vrel {
namespace {

class PluginNames : public testing::Test {
 protected:
  [[nodiscard]] std::string nameOf(std::string_view path) const {
    return knownPluginName(path, {instruments, effects, songs});
  }

  std::vector<AVAudioUnitComponent> instruments{{"Piano", "Acme", {componentTypeMusicDevice, 1, 2}}};
  std::vector<AVAudioUnitComponent> effects{{"Chorus", "Acme", {componentTypeEffect, 3, 2}}};
  std::vector<SongConfig> songs = std::vector<SongConfig>(2);
};

TEST_F(PluginNames, ThoseThatAreInstalledAreKnownByEitherFormOfPath) {
  EXPECT_EQ(nameOf("aucd:1635085685:1:2"), "Piano");
  EXPECT_EQ(nameOf("aucd:1635083896:3:2"), "Chorus");
  EXPECT_EQ(nameOf("au:Acme:Piano"), "Piano");
}

TEST_F(PluginNames, APathOfNamesIsEnoughForOneThatIsNotInstalled) {
  EXPECT_EQ(nameOf("au:Bolt:Grand Organ"), "Grand Organ");
  EXPECT_EQ(nameOf("au:Bolt"), "");
}

TEST_F(PluginNames, TheRacksOfTheSetlistKnowTheNamesOfWhatTheyHold) {
  const std::string hall = "aucd:1635083896:8:8";
  EXPECT_EQ(nameOf(hall), "");
  songs[0].channels.emplace_back().effectSlots = {{.pluginPath = hall, .pluginName = ""}};
  songs[1].channels.emplace_back();
  songs[1].channels.emplace_back().effectSlots = {{.pluginPath = hall, .pluginName = "Old Hall"}};
  EXPECT_EQ(nameOf(hall), "Old Hall");
  songs[0].masterEffectSlots = {{.pluginPath = hall, .pluginName = "Older Hall"}};
  EXPECT_EQ(nameOf(hall), "Older Hall");
}

TEST_F(PluginNames, WhatNothingKnowsHasNone) {
  for (const auto* const path : {"", "aucd:1635085685:9:9", "aucd:x", "internal:playback", "nonsense"}) {
    EXPECT_EQ(nameOf(path), "") << path;
  }
}

}  // namespace
}  // namespace vrel
