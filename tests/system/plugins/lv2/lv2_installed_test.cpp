// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "system/plugins/lv2/lv2_stage.h"
#include "system/plugins/lv2/preset_answers.h"

// Plug-ins that musicians use, as the distribution packages them.

namespace vrel::lv2 {
namespace {

constexpr const char* electricPiano = "http://drobilla.net/plugins/mda/EPiano";
constexpr const char* piano = "http://drobilla.net/plugins/mda/Piano";
constexpr const char* organ = "http://gareus.org/oss/lv2/b_synth";
constexpr std::size_t oneSecond = 48000;

float rootMeanSquare(const std::vector<float>& samples) {
  double sum = 0;
  for (const float sample : samples) {
    sum += static_cast<double>(sample) * sample;
  }
  return static_cast<float>(std::sqrt(sum / static_cast<double>(samples.size())));
}

class Installed : public testing::TestWithParam<const char*> {
 protected:
  Stage stage_{Bundles::known};
};

TEST(InstalledPresets, ThoseOfASynthesizerSoundDifferent) {
  const Stage stage(Bundles::known);
  const auto unit = stage.make("http://drobilla.net/plugins/mda/JX10").unit;
  PresetsOf presets(*unit);
  EXPECT_EQ(presets.all().size(), 52U);
  Player player(unit);
  std::set<float> heard;
  for (const char* name : {"5th Sweep Pad", "Echo Pad [SA]", "Space Chimes [SA]"}) {
    ASSERT_EQ(presets.use(name), std::nullopt) << name;
    player.send(0x90, 60, 100);
    heard.insert(rootMeanSquare(player.play(oneSecond / 4).left));
    player.panic();
    (void)player.play(oneSecond / 8);
  }
  EXPECT_EQ(heard.size(), 3U);
  EXPECT_GT(*heard.begin(), 0.001F);
}

using InstalledInstrument = Installed;

TEST_P(InstalledInstrument, ANoteSoundsAndItsReleaseDecays) {
  Player player(stage_.make(GetParam()).unit);
  EXPECT_LT(peak(player.play(oneSecond / 4).left), 0.001F);
  player.send(0x90, 60, 100);
  const float held = rootMeanSquare(player.play(oneSecond / 2).left);
  EXPECT_GT(held, 0.005F);
  EXPECT_LT(held, 1.0F);
  player.send(0x80, 60, 0);
  player.play(oneSecond * 3);
  EXPECT_LT(rootMeanSquare(player.play(oneSecond / 4).left), held / 20);
}

TEST_P(InstalledInstrument, APanicSilences) {
  Player player(stage_.make(GetParam()).unit);
  for (const std::uint8_t note : std::initializer_list<std::uint8_t>{48, 52, 55, 60}) {
    player.send(0x90, note, 100);
  }
  player.send(0xB0, 64, 127);
  const float held = rootMeanSquare(player.play(oneSecond / 2).left);
  EXPECT_GT(held, 0.005F);
  player.panic();
  player.play(oneSecond * 3);
  EXPECT_LT(rootMeanSquare(player.play(oneSecond / 4).left), held / 20);
}

// Not the organ: it seeds its noise by the clock, so copies made in different seconds differ. Not the electric piano:
// every copy made in a process smooths the loops of the samples that all copies share once more.
using RepeatableInstrument = Installed;

TEST_P(RepeatableInstrument, TwoCopiesPlayingTheSameGiveTheSameBytes) {
  const auto render = [this] {
    Player player(stage_.make(GetParam()).unit);
    player.send(0x90, 60, 100);
    player.send(0x90, 64, 80);
    return player.play(oneSecond);
  };
  const Sound first = render();
  EXPECT_GT(peak(first.left), 0.01F);
  EXPECT_TRUE(render() == first);
}

TEST_P(InstalledInstrument, BlocksOfOddSizesSoundToo) {
  Player player(stage_.make(GetParam()).unit);
  player.send(0x90, 60, 100);
  float loudest = 0;
  for (int round = 0; round < 40; ++round) {
    for (const std::uint32_t frames : {1U, 3U, 1024U, 17U, 255U, 64U}) {
      loudest = std::max(loudest, peak(player.block(frames).left));
    }
  }
  EXPECT_GT(loudest, 0.01F);
  EXPECT_EQ(stage_.settings.counters->silencedBlocks, 0U);
}

TEST_P(InstalledInstrument, ItsStateComesBackInAnotherCopy) {
  // The organ writes down more once it has read a state, so the first copy is made from a state too.
  const auto copyOf = [this](const PropertyListDictionary& state) {
    Player player(stage_.make(GetParam()).unit);
    player.unit().auAudioUnit().setFullStateForDocument(state);
    player.send(0x90, 60, 100);
    EXPECT_GT(rootMeanSquare(player.play(oneSecond / 2).left), 0.005F);
    return player.unit().auAudioUnit().fullStateForDocument().value();
  };
  Player original(stage_.make(GetParam()).unit);
  const PropertyListDictionary first = copyOf(original.unit().auAudioUnit().fullStateForDocument().value());
  EXPECT_TRUE(copyOf(first) == first);
  EXPECT_TRUE(stage_.lines().empty());
}

std::string lastPart(const testing::TestParamInfo<const char*>& info) {
  const std::string uri = info.param;
  return uri.substr(uri.rfind('/') + 1);
}

INSTANTIATE_TEST_SUITE_P(Debian, InstalledInstrument, testing::Values(electricPiano, piano, organ), lastPart);
INSTANTIATE_TEST_SUITE_P(Debian, RepeatableInstrument, testing::Values(piano), lastPart);

/// How unsteady the level is: the mean change from one window of 20 ms to the next, over the mean level.
float unsteadiness(const std::vector<float>& samples) {
  constexpr std::size_t window = 960;
  float change = 0;
  float level = 0;
  float before = 0;
  for (std::size_t start = 0; start + window <= samples.size(); start += window) {
    const auto first = samples.begin() + static_cast<std::ptrdiff_t>(start);
    const float now = rootMeanSquare(std::vector<float>(first, first + window));
    change += start == 0 ? 0.0F : std::abs(now - before);
    level += now;
    before = now;
  }
  return change / level;
}

TEST(InstalledPlugins, TheRotorControllerReachesTheOrgan) {
  const Stage stage(Bundles::known);
  const auto unsteadinessWith = [&stage](std::uint8_t rotor) {
    Player player(stage.make(organ).unit);
    player.send(0xB0, 1, rotor);
    player.send(0x90, 60, 100);
    player.play(8 * oneSecond);  // the horn takes its time
    return unsteadiness(player.play(2 * oneSecond).left);
  };
  EXPECT_GT(unsteadinessWith(127), 1.5F * unsteadinessWith(0));
}

TEST(InstalledPlugins, WhatAControllerDidToTheOrganTravelsInItsState) {
  const Stage stage(Bundles::known);
  const auto registration = [](Player& player) {
    const PropertyListDictionary state = player.unit().auAudioUnit().fullStateForDocument().value();
    const auto& property = std::get<PropertyListArray>(state.at("properties").content).at(0);
    const auto& value = std::get<PropertyListDictionary>(property.content).at("value");
    const auto& bytes = std::get<PropertyListData>(value.content);
    return std::string(bytes.begin(), bytes.end());
  };
  Player player(stage.make(organ).unit);
  EXPECT_EQ(registration(player).find("rotary.speed-select=127"), std::string::npos);
  player.send(0xB0, 1, 127);
  player.play(256);
  EXPECT_NE(registration(player).find("rotary.speed-select=127"), std::string::npos);
  Player restored(stage.make(organ).unit);
  restored.unit().auAudioUnit().setFullStateForDocument(player.unit().auAudioUnit().fullStateForDocument().value());
  EXPECT_NE(registration(restored).find("rotary.speed-select=127"), std::string::npos);
}

TEST(InstalledPlugins, AParameterOfThePianoTravelsInItsState) {
  const Stage stage(Bundles::known);
  const auto tailAfter = [&stage](double release) {
    Player player(stage.make(electricPiano).unit);
    PropertyListDictionary state = player.unit().auAudioUnit().fullStateForDocument().value();
    auto& ports = std::get<PropertyListDictionary>(state["ports"].content);
    EXPECT_TRUE(ports.contains("env_release"));
    ports["env_release"] = {release};
    player.unit().auAudioUnit().setFullStateForDocument(state);
    player.send(0x90, 60, 100);
    player.play(oneSecond / 4);
    player.send(0x80, 60, 0);
    player.play(oneSecond / 10);
    return rootMeanSquare(player.play(oneSecond / 4).left);
  };
  EXPECT_GT(tailAfter(1.0), 3 * tailAfter(0.0));
}

TEST(InstalledPlugins, AllOfThemCanBeInstantiatedAndRun) {
  const Stage stage(Bundles::known);
  std::set<std::string> failures;
  std::size_t made = 0;
  for (const AVAudioUnitComponent& component : stage.world->componentsMatchingDescription({})) {
    const Stage::Made unit = stage.make(component.audioComponentDescription);
    if (unit.unit == nullptr) {
      failures.insert(unit.error->description);
      continue;
    }
    Player player(unit.unit);
    for (const std::uint32_t frames : {64U, 1U, 1024U, 333U}) {
      player.block(frames, {std::vector<float>(frames, 0.1F), std::vector<float>(frames, -0.1F)});
    }
    player.unit().reset();
    ++made;
  }
  EXPECT_GT(made, 30U);
  EXPECT_TRUE(failures.empty()) << *failures.begin();
}

TEST(InstalledPlugins, SixteenInstrumentsComeAndGo) {
  const Stage stage(Bundles::known, WorkerMode::thread);
  std::vector<Player> players;
  for (int count = 0; count < 16; ++count) {
    players.emplace_back(stage.make(count % 4 == 0 ? organ : electricPiano).unit);
    players.back().send(0x90, static_cast<std::uint8_t>(48 + count), 100);
  }
  for (Player& player : players) {
    EXPECT_GT(peak(player.play(oneSecond / 4).left), 0.005F);
  }
}

}  // namespace
}  // namespace vrel::lv2
