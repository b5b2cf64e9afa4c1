// SPDX-License-Identifier: GPL-3.0-or-later
// The controls of a plug-in: what its data says about them, and how they are moved beside the blocks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <future>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "system/plugins/control_table.h"
#include "system/plugins/lv2/lv2_processor.h"
#include "system/plugins/lv2/lv2_stage.h"

namespace vrel::lv2 {
namespace {

using Tree = std::shared_ptr<const AUParameterTree>;

Tree treeOf(AVAudioUnit& unit) {
  std::promise<Tree> answer;
  unit.auAudioUnit().requestParameterTree([&answer](Tree tree) { answer.set_value(std::move(tree)); });
  return answer.get_future().get();
}

const AUParameter& parameter(const Tree& tree, const std::string& identifier) {
  const auto& all = tree->allParameters;
  return *std::find_if(all.begin(), all.end(), [&](const auto& each) { return each.identifier == identifier; });
}

float storedPort(AVAudioUnit& unit, const std::string& symbol) {
  const auto state = *unit.auAudioUnit().fullStateForDocument();
  const auto& ports = std::get<PropertyListDictionary>(state.at("ports").content);
  return static_cast<float>(std::get<double>(ports.at(symbol).content));
}

TEST(Controls, AreReadFromThePlugInsDataInItsOrder) {
  const Stage stage;
  const auto unit = stage.make("urn:vrel:zoo:panel").unit;
  const Tree tree = treeOf(*unit);
  ASSERT_NE(tree, nullptr);
  std::vector<std::string> identifiers;
  for (const auto& each : tree->allParameters) {
    identifiers.push_back(each.identifier);
  }
  EXPECT_EQ(identifiers, (std::vector<std::string>{"level", "cutoff", "on", "voices", "shape", "sync", "note", "secret",
                                                   "size", "odd", "heard"}));
  AUParameter cutoff;
  cutoff.address = 3;
  cutoff.identifier = "cutoff";
  cutoff.displayName = "Cutoff";
  cutoff.groupName = "Filter";
  cutoff.unitName = "Hz";
  cutoff.minValue = 20;
  cutoff.maxValue = 20000;
  cutoff.defaultValue = 1000;
  cutoff.isLogarithmic = true;
  EXPECT_EQ(parameter(tree, "cutoff"), cutoff);
  EXPECT_EQ(parameter(tree, "level").displayPriority, 10);
  EXPECT_TRUE(parameter(tree, "on").isToggle);
  EXPECT_TRUE(parameter(tree, "voices").isInteger);
  EXPECT_EQ(parameter(tree, "voices").groupName, "Mode") << "a group that has a label only";
  EXPECT_TRUE(parameter(tree, "sync").isTrigger);
  EXPECT_TRUE(parameter(tree, "note").isMIDINote);
  EXPECT_TRUE(parameter(tree, "secret").isHidden);
  EXPECT_TRUE(parameter(tree, "size").changesAtEndOfDrag);
  EXPECT_EQ(parameter(tree, "size").unitName, "hectares");
  EXPECT_TRUE(parameter(tree, "heard").isOutput);
}

TEST(Controls, AnEnumerationHasItsValuesInOrderAndTheirBounds) {
  const Stage stage;
  const auto unit = stage.make("urn:vrel:zoo:panel").unit;
  const Tree tree = treeOf(*unit);
  const auto& shape = parameter(tree, "shape");
  EXPECT_TRUE(shape.isEnumeration);
  EXPECT_EQ(shape.valueNames, (std::vector<std::pair<float, std::string>>{{0, "Sine"}, {1, "Saw"}, {2, "Square"}}));
  EXPECT_EQ(shape.minValue, 0);
  EXPECT_EQ(shape.maxValue, 2) << "not 9, which has no name";
}

TEST(Controls, DamagedBoundsAreMended) {
  const Stage stage;
  const auto unit = stage.make("urn:vrel:zoo:panel").unit;
  const Tree tree = treeOf(*unit);
  EXPECT_EQ(parameter(tree, "odd").minValue, 0);
  EXPECT_EQ(parameter(tree, "odd").maxValue, 1);
  EXPECT_EQ(parameter(tree, "odd").defaultValue, 1);
  EXPECT_EQ(parameter(tree, "size").defaultValue, 2) << "the default was above the maximum";
}

TEST(Controls, AMovedControlIsHeardInTheNextBlockAndIsPartOfTheStateAtOnce) {
  const Stage stage;
  const auto unit = stage.make("urn:vrel:zoo:panel").unit;
  Player player(unit);
  auto& controls = unit->auAudioUnit();
  EXPECT_EQ(controls.parameterValue(2), 1.0F) << "known before the first block";
  controls.setParameterValue(2, 0.5F);
  EXPECT_EQ(controls.parameterValue(2), 0.5F);
  EXPECT_EQ(storedPort(*unit, "level"), 0.5F) << "although no block has come";
  EXPECT_EQ(player.block(64, {std::vector<float>(64, 0.5F)}).left, std::vector<float>(64, 0.25F));
  EXPECT_EQ(controls.parameterValue(2), 0.5F);
  EXPECT_EQ(storedPort(*unit, "level"), 0.5F);
}

TEST(Controls, AValueIsBroughtInsideItsBounds) {
  const Stage stage;
  const auto unit = stage.make("urn:vrel:zoo:panel").unit;
  Player player(unit);
  auto& controls = unit->auAudioUnit();
  controls.setParameterValue(2, 99);
  EXPECT_EQ(storedPort(*unit, "level"), 4.0F);
  (void)player.block(64, {std::vector<float>(64, 0.1F)});
  EXPECT_EQ(controls.parameterValue(2), 4.0F);
  controls.setParameterValue(2, std::numeric_limits<float>::quiet_NaN());
  (void)player.block(64, {std::vector<float>(64, 0.1F)});
  EXPECT_EQ(controls.parameterValue(2), 4.0F);
}

TEST(Controls, WhatIsNoControlIsNotSet) {
  const Stage stage;
  const auto unit = stage.make("urn:vrel:zoo:panel").unit;
  Player player(unit);
  for (const AUParameterAddress address : {0U, 1U, 500U, ControlTable::capacity, 0xFFFFFFFFU}) {
    unit->auAudioUnit().setParameterValue(address, 7);
  }
  EXPECT_EQ(player.block(64, {std::vector<float>(64, 0.5F)}).left, std::vector<float>(64, 0.5F));
}

TEST(Controls, WhatThePlugInShowsIsRead) {
  const Stage stage;
  const auto unit = stage.make("urn:vrel:zoo:panel").unit;
  Player player(unit);
  (void)player.block(64, {std::vector<float>(64)});
  EXPECT_EQ(unit->auAudioUnit().parameterValue(12), 1000.0F);
  unit->auAudioUnit().setParameterValue(3, 440);
  (void)player.block(64, {std::vector<float>(64)});
  EXPECT_EQ(unit->auAudioUnit().parameterValue(12), 440.0F);
}

TEST(Controls, ARestoredStateIsShownAndWhatWaitedBeforeItIsForgotten) {
  const Stage stage;
  const auto unit = stage.make("urn:vrel:zoo:panel").unit;
  Player player(unit);
  auto& controls = unit->auAudioUnit();
  const auto state = *controls.fullStateForDocument();
  controls.setParameterValue(2, 3);
  controls.setFullStateForDocument(state);
  EXPECT_EQ(controls.parameterValue(2), 1.0F);
  EXPECT_EQ(player.block(64, {std::vector<float>(64, 0.5F)}).left, std::vector<float>(64, 0.5F));
}

TEST(Controls, AChangeOutlivesTheMoveToAnotherRate) {
  const Stage stage;
  const auto unit = stage.make("urn:vrel:zoo:panel").unit;
  unit->auAudioUnit().setParameterValue(2, 0.5F);
  Player player(unit, 96000);
  EXPECT_EQ(player.block(64, {std::vector<float>(64, 0.5F)}).left, std::vector<float>(64, 0.25F));
  unit->auAudioUnit().setParameterValue(2, 2);
  EXPECT_EQ(player.block(64, {std::vector<float>(64, 0.5F)}).left, std::vector<float>(64, 1.0F));
  EXPECT_EQ(unit->auAudioUnit().parameterValue(2), 2.0F);
}

TEST(Controls, WhatWaitsInMemoryThatAnEarlierPlugInHadMovesNothing) {
  const Stage stage;
  const auto unit = stage.make("urn:vrel:zoo:panel").unit;
  const auto processor = std::dynamic_pointer_cast<Lv2Processor>(dynamic_cast<audio::GraphNode&>(*unit).processor());
  ControlTable shared{};
  control_table::want(shared, 2, 3);
  processor->shareControls(shared);
  EXPECT_EQ(unit->auAudioUnit().parameterValue(2), 1.0F);
  Player player(unit);
  EXPECT_EQ(player.block(64, {std::vector<float>(64, 0.5F)}).left, std::vector<float>(64, 0.5F));
}

TEST(Controls, APlugInOfAThousandControlsIsReadAndSetToTheLastOne) {
  const Stage stage;
  const auto unit = stage.make("urn:vrel:zoo:many").unit;
  const Tree tree = treeOf(*unit);
  ASSERT_EQ(tree->allParameters.size(), 1005U);
  const auto last = tree->allParameters.back().address;
  unit->auAudioUnit().setParameterValue(last, 5);
  Player player(unit);
  (void)player.block(64, {std::vector<float>(64)});
  EXPECT_EQ(unit->auAudioUnit().parameterValue(last), 5.0F);
  EXPECT_EQ(storedPort(*unit, "control_1005"), 5.0F);
}

TEST(ControlTable, EachChangeIsTakenOnceAndTheLastOneWins) {
  ControlTable table{};
  std::vector<std::pair<std::uint32_t, float>> taken;
  const auto take = [&] {
    taken.clear();
    control_table::takeChanges(table, [&](std::uint32_t port, float value) { taken.emplace_back(port, value); });
  };
  control_table::want(table, 64, 1);
  control_table::want(table, 3, 2);
  control_table::want(table, 64, 3);
  take();
  EXPECT_EQ(taken, (std::vector<std::pair<std::uint32_t, float>>{{3, 2}, {64, 3}}));
  take();
  EXPECT_TRUE(taken.empty());
}

TEST(ControlTable, AChangeThatComesWhileOneIsTakenIsKept) {
  ControlTable table{};
  control_table::want(table, 5, 1);
  control_table::takeChanges(table, [&](std::uint32_t port, float /*value*/) { control_table::want(table, port, 2); });
  EXPECT_EQ(control_table::valueOf(table, 5), 2.0F);
  float taken = 0;
  control_table::takeChanges(table, [&](std::uint32_t /*port*/, float value) { taken = value; });
  EXPECT_EQ(taken, 2.0F);
}

TEST(ControlTable, NoChangeOfManyIsLostBetweenTwoThreads) {
  ControlTable table{};
  constexpr int last = 100000;
  std::thread setter([&table] {
    for (int value = 1; value <= last; ++value) {
      control_table::want(table, 7, static_cast<float>(value));
    }
  });
  float taken = 0;
  while (taken != static_cast<float>(last)) {
    control_table::takeChanges(table, [&taken](std::uint32_t /*port*/, float value) {
      EXPECT_GE(value, taken);
      taken = value;
    });
  }
  setter.join();
}

}  // namespace
}  // namespace vrel::lv2
