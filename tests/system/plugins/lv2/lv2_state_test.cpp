// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "foundation/base64.h"
#include "system/plugins/lv2/lv2_stage.h"
#include "system/plugins/lv2/state_files.h"
#include "system/property_list/libplist_serialization.h"

namespace vrel::lv2 {
namespace {

constexpr const char* stateUri = "urn:vrel:zoo:state";

/// What the state plug-in has in it: its value and what its file says.
std::pair<float, float> contentOf(Player& player) {
  const Sound sound = player.block(1);
  return {sound.left[0] * 128, sound.right[0] * 128};
}

PropertyListDictionary stateOf(Player& player) {
  return player.unit().auAudioUnit().fullStateForDocument().value_or(PropertyListDictionary{});
}

PropertyListDictionary& dictionaryIn(PropertyListDictionary& state, const std::string& key) {
  return std::get<PropertyListDictionary>(state[key].content);
}

/// The property whose key ends so.
PropertyListDictionary& propertyIn(PropertyListDictionary& state, const std::string& ending) {
  for (PropertyListValue& value : std::get<PropertyListArray>(state["properties"].content)) {
    auto& property = std::get<PropertyListDictionary>(value.content);
    if (std::get<std::string>(property["key"].content).ends_with(ending)) {
      return property;
    }
  }
  ADD_FAILURE() << "no property " << ending;
  static PropertyListDictionary none;
  return none;
}

/// A player whose plug-in has value 70, a file that says 120, and a level of a half.
Player changedPlayer(const Stage& stage) {
  Player player(stage.make(stateUri).unit);
  player.send(0x90, 70, 1);
  player.send(0x90, 120, 1);
  player.block(1);
  PropertyListDictionary state = stateOf(player);
  dictionaryIn(state, "ports")["level"] = {0.5};
  player.unit().auAudioUnit().setFullStateForDocument(state);
  return player;
}

TEST(State, NamesThePluginItIsOf) {
  const Stage stage;
  Player player(stage.make(stateUri).unit);
  const PropertyListDictionary state = stateOf(player);
  EXPECT_EQ(state.at("format"), PropertyListValue{std::int64_t{1}});
  EXPECT_EQ(state.at("uri"), PropertyListValue{std::string(stateUri)});
  EXPECT_EQ(state.at("name"), PropertyListValue{std::string("Zoo State")});
  const AudioComponentDescription codes = stage.component(stateUri).audioComponentDescription;
  EXPECT_EQ(state.at("type"), PropertyListValue{std::int64_t{codes.componentType}});
  EXPECT_EQ(state.at("subtype"), PropertyListValue{std::int64_t{codes.componentSubType}});
  EXPECT_EQ(state.at("manufacturer"), PropertyListValue{std::int64_t{codes.componentManufacturer}});
  EXPECT_FALSE(player.unit().auAudioUnit().fullState());
}

TEST(State, HoldsEachPropertyWithItsKeyTypeFlagsAndBytes) {
  const Stage stage;
  Player player(stage.make(stateUri).unit);
  player.send(0x90, 70, 1);
  player.block(1);
  PropertyListDictionary state = stateOf(player);
  const PropertyListDictionary expected{{"key", {std::string("urn:vrel:zoo:state#value")}},
                                        {"type", {std::string("http://lv2plug.in/ns/ext/atom#Int")}},
                                        {"flags", {std::int64_t{3}}},
                                        {"value", {PropertyListData{70, 0, 0, 0}}}};
  EXPECT_EQ(propertyIn(state, "#value"), expected);
}

TEST(State, ComesBackInAnotherCopyThroughItsTextForm) {
  const Stage stage;
  system::LibplistSerialization serialization;
  std::string text;
  {
    Player player = changedPlayer(stage);
    const Result<PropertyListData> bytes = serialization.dataFromPropertyList(stateOf(player));
    ASSERT_TRUE(bytes.ok()) << bytes.error().description;
    text = base64Encode(bytes.value());
  }
  const auto bytes = base64Decode(text);
  ASSERT_TRUE(bytes);
  const Result<PropertyListValue> value = serialization.propertyListFromData(*bytes);
  ASSERT_TRUE(value.ok()) << value.error().description;

  Player restored(stage.make(stateUri).unit);
  restored.unit().auAudioUnit().setFullStateForDocument(std::get<PropertyListDictionary>(value.value().content));
  EXPECT_EQ(contentOf(restored), std::pair(35.0F, 60.0F));
  EXPECT_EQ(PropertyListValue{stateOf(restored)}, value.value()) << "a second save gives the same";
  EXPECT_THAT(stage.lines(), testing::IsEmpty());
}

TEST(State, ComesBackInAnotherProcessWhereNumbersForUrisDiffer) {
  PropertyListDictionary state;
  {
    const Stage stage;
    Player player = changedPlayer(stage);
    state = stateOf(player);
  }
  // The plug-in's own check of its "#self" value is what fails when the number is not translated.
  PropertyListDictionary& self = propertyIn(state, "#self");
  PropertyListDictionary& uris = dictionaryIn(self, "uris");
  ASSERT_EQ(uris.size(), 1U);
  uris = {{"123456", {std::string(stateUri)}}};
  self["value"] = {PropertyListData{0x40, 0xE2, 0x01, 0x00}};  // 123456
  const Stage other;
  Player restored(other.make(stateUri).unit);
  restored.unit().auAudioUnit().setFullStateForDocument(state);
  EXPECT_EQ(contentOf(restored), std::pair(35.0F, 60.0F));

  dictionaryIn(self, "uris") = {{"1", {std::string(stateUri)}}};
  Player refused(other.make(stateUri).unit);
  refused.unit().auAudioUnit().setFullStateForDocument(state);
  EXPECT_EQ(contentOf(refused), std::pair(0.0F, 0.0F));
  EXPECT_THAT(other.lines(), testing::ElementsAre(testing::HasSubstr("damaged value under urn:vrel:zoo:state#self")));
}

TEST(State, AFileThatThePluginMadeTravelsInTheState) {
  const Stage stage;
  Player player = changedPlayer(stage);
  PropertyListDictionary state = stateOf(player);
  const PropertyListDictionary files{{"samples/key.bin", {PropertyListData{120}}}};
  EXPECT_EQ(state["files"], PropertyListValue{files});
  const auto path = std::get<PropertyListData>(propertyIn(state, "#file")["value"].content);
  EXPECT_EQ(std::string(path.begin(), path.end()), std::string("state:samples/key.bin") + '\0');
}

TEST(State, ARestoreOverARestoreTakesTheNewFile) {
  const Stage stage;
  Player player = changedPlayer(stage);
  const PropertyListDictionary first = stateOf(player);
  PropertyListDictionary second = first;
  dictionaryIn(second, "files")["samples/key.bin"] = {PropertyListData{66}};
  for (int round = 0; round < 4; ++round) {
    player.unit().auAudioUnit().setFullStateForDocument(second);
    EXPECT_EQ(contentOf(player), std::pair(35.0F, 33.0F));
    player.unit().auAudioUnit().setFullStateForDocument(first);
    EXPECT_EQ(contentOf(player), std::pair(35.0F, 60.0F));
  }
  EXPECT_EQ(stateOf(player), first);
}

TEST(State, PortValuesOutOfBoundsAreClampedAndUnknownOnesPassedOver) {
  const Stage stage;
  Player player(stage.make(stateUri).unit);
  PropertyListDictionary state = stateOf(player);
  const auto levelAfter = [&](double value) {
    dictionaryIn(state, "ports") = {{"level", {value}}, {"no such port", {1.0}}};
    player.unit().auAudioUnit().setFullStateForDocument(state);
    PropertyListDictionary now = stateOf(player);
    return std::get<double>(dictionaryIn(now, "ports")["level"].content);
  };
  EXPECT_EQ(levelAfter(0.25), 0.25);
  EXPECT_EQ(levelAfter(7.0), 1.0);
  EXPECT_EQ(levelAfter(-7.0), 0.0);
  EXPECT_EQ(levelAfter(0.5), 0.5);
  EXPECT_EQ(levelAfter(std::numeric_limits<double>::quiet_NaN()), 0.5);
  EXPECT_EQ(levelAfter(std::numeric_limits<double>::infinity()), 0.5);
}

TEST(State, OfAnotherPluginChangesNothing) {
  const Stage stage;
  Player sine(stage.make("urn:vrel:zoo:sine").unit);
  Player player = changedPlayer(stage);
  player.unit().auAudioUnit().setFullStateForDocument(stateOf(sine));
  EXPECT_EQ(contentOf(player), std::pair(35.0F, 60.0F));
  EXPECT_THAT(stage.lines(), testing::ElementsAre("Zoo State: state not restored: state belongs to another plug-in: "
                                                  "urn:vrel:zoo:sine"));
}

TEST(State, NonsenseChangesNothing) {
  const Stage stage;
  Player player = changedPlayer(stage);
  const PropertyListDictionary sound = stateOf(player);
  std::vector<PropertyListDictionary> damaged{{}};
  for (const auto& [key, value] : sound) {
    if (key == "name" || key == "type" || key == "subtype" || key == "manufacturer") {
      continue;  // for people, or given by the URI already
    }
    damaged.push_back(sound);
    damaged.back().erase(key);
    damaged.push_back(sound);
    damaged.back()[key] = {true};
  }
  for (const char* field : {"key", "type", "flags", "value"}) {
    damaged.push_back(sound);
    propertyIn(damaged.back(), "#value").erase(field);
  }
  damaged.push_back(sound);
  propertyIn(damaged.back(), "#self")["uris"] = {PropertyListDictionary{{"x", {std::string("urn:y")}}}};
  damaged.push_back(sound);
  dictionaryIn(damaged.back(), "ports")["level"] = {std::string("loud")};
  damaged.push_back(sound);
  damaged.back()["format"] = {std::int64_t{2}};
  for (const PropertyListDictionary& state : damaged) {
    player.unit().auAudioUnit().setFullStateForDocument(state);
    EXPECT_EQ(stateOf(player), sound);
  }
  EXPECT_EQ(stage.lines().size(), damaged.size());
}

TEST(State, ThatThePluginRefusesLeavesItAsItWas) {
  const Stage stage;
  Player player = changedPlayer(stage);
  PropertyListDictionary refused = stateOf(player);
  propertyIn(refused, "#value")["value"] = {PropertyListData{13, 0, 0, 0}};
  dictionaryIn(refused, "ports")["level"] = {1.0};
  player.unit().auAudioUnit().setFullStateForDocument(refused);
  EXPECT_EQ(contentOf(player), std::pair(35.0F, 60.0F));
  EXPECT_THAT(stage.lines(),
              testing::ElementsAre("Zoo State: state not restored: the plug-in could not read the state"));
}

TEST(State, AFileNameThatLeadsOutOfItsFolderIsRefused) {
  const Stage stage;
  Player player = changedPlayer(stage);
  const PropertyListDictionary sound = stateOf(player);
  for (const char* name : {"../escaped", "a/../../escaped", "/tmp/escaped", "", "a/.."}) {
    PropertyListDictionary state = sound;
    dictionaryIn(state, "files")[name] = {PropertyListData{1}};
    player.unit().auAudioUnit().setFullStateForDocument(state);
    EXPECT_EQ(stateOf(player), sound) << name;
  }
  EXPECT_EQ(stage.lines().size(), 5U);
}

TEST(State, DefaultStateOfThePluginsDataIsLoaded) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:defaultstate").unit);
  EXPECT_EQ(player.block(1).left[0], 42.0F / 128);
}

TEST(StateFiles, PathsOfTheBundleAreKeptRelativeAndOthersAsTheyAre) {
  StateFiles files("/some/where/synth.lv2/");
  const auto toAbstract = [&files](const char* path) {
    char* abstract = files.mapPathFeature()->abstract_path(files.mapPathFeature()->handle, path);
    const std::string text = abstract;
    files.freePathFeature()->free_path(files.freePathFeature()->handle, abstract);
    return text;
  };
  const auto toAbsolute = [](StateFiles& other, const char* path) {
    char* absolute = other.mapPathFeature()->absolute_path(other.mapPathFeature()->handle, path);
    const std::string text = absolute;
    other.freePathFeature()->free_path(other.freePathFeature()->handle, absolute);
    return text;
  };
  EXPECT_EQ(toAbstract("/some/where/synth.lv2/samples/a.wav"), "bundle:samples/a.wav");
  EXPECT_EQ(toAbstract("/some/where/synth.lv2/../a.wav"), "/some/where/synth.lv2/../a.wav");
  EXPECT_EQ(toAbstract("/home/me/a.wav"), "/home/me/a.wav");
  StateFiles elsewhere("/usr/other/synth.lv2/");
  EXPECT_EQ(toAbsolute(elsewhere, "bundle:samples/a.wav"), "/usr/other/synth.lv2/samples/a.wav");
  EXPECT_EQ(toAbsolute(elsewhere, "bundle:../a.wav"), "");
  EXPECT_EQ(toAbsolute(elsewhere, "state:../a.wav"), "");
  EXPECT_EQ(toAbsolute(elsewhere, "/home/me/a.wav"), "/home/me/a.wav");
}

TEST(StateFiles, TheFolderGoesWithItsUnit) {
  std::string path;
  {
    StateFiles files("/some/where/synth.lv2/");
    char* made = files.makePathFeature()->path(files.makePathFeature()->handle, "a/b.bin");
    ASSERT_NE(made, nullptr);
    path = made;
    files.freePathFeature()->free_path(files.freePathFeature()->handle, made);
    EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(path).parent_path()));
    EXPECT_EQ(files.makePathFeature()->path(files.makePathFeature()->handle, "../b.bin"), nullptr);
  }
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(path).parent_path().parent_path()));
}

}  // namespace
}  // namespace vrel::lv2
