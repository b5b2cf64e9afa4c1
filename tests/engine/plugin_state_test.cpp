// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/plugin_state.h"

#include "document/setlist_coding.h"
#include "foundation/base64.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

class State : public SimulatedStage {
 protected:
  const PropertyListDictionary document{{"document", {std::int64_t{1}}}};
  const PropertyListDictionary preset{{"preset", {std::int64_t{2}}}};

  std::string textOf(const PropertyListValue& value) { return base64Encode(propertyLists.ticketFor(value)); }
};

TEST_F(State, TheDocumentStateIsPreferredAndThePresetStateNotAskedFor) {
  simulation::ScriptedUnitCore unit;
  unit.documentState = document;
  unit.presetState = preset;
  EXPECT_EQ(engine->pluginState().captureAudioUnitState(unit), textOf({document}));
  EXPECT_EQ(unit.presetStateReads, 0);
}

TEST_F(State, APluginWithAPresetStateOnlyIsSavedFromThat) {
  simulation::ScriptedUnitCore unit;
  unit.presetState = preset;
  EXPECT_EQ(engine->pluginState().captureAudioUnitState(unit), textOf({preset}));
}

TEST_F(State, APluginWithNeitherGivesNone) {
  simulation::ScriptedUnitCore unit;
  EXPECT_EQ(engine->pluginState().captureAudioUnitState(unit), std::nullopt);
  EXPECT_TRUE(console.lines.empty());
}

TEST_F(State, AFailedCaptureIsLoggedAndGivesNone) {
  const auto strip = addStrip("Piano");
  strip.instrument->core.documentState = document;
  propertyLists.failure = Error{"too large"};
  EXPECT_EQ(engine->pluginState().capturePluginState(*strip.channel), std::nullopt);
  EXPECT_EQ(engine->pluginState().captureAudioUnitState(strip.instrument->core), std::nullopt);
  EXPECT_EQ(console.lines, (Lines{"Failed to capture plugin state for Piano: too large",
                                  "Failed to capture audio unit state: too large"}));
}

TEST_F(State, AnEmptyAPlaybackAndANodelessChannelHaveNone) {
  const auto channel = engine->addChannel("A");
  EXPECT_EQ(engine->pluginState().capturePluginState(*channel), std::nullopt);
  channel->pluginPath.set("internal:playback");
  channel->instrumentNode.set(std::make_shared<simulation::SimulatedPlayer>("player"));
  EXPECT_EQ(engine->pluginState().capturePluginState(*channel), std::nullopt);
  const auto strip = addStrip("Piano");
  strip.instrument->core.documentState = document;
  strip.channel->pluginPath.set("");
  EXPECT_EQ(engine->pluginState().capturePluginState(*strip.channel), std::nullopt);
}

TEST_F(State, EmptyTextDecodesToNoneWithoutAWord) {
  EXPECT_EQ(engine->pluginState().decodePluginState(""), std::nullopt);
  EXPECT_EQ(engine->pluginState().decodePluginState(std::nullopt), std::nullopt);
  EXPECT_EQ(engine->pluginState().decodePluginState("*** no base64 ***"), std::nullopt);
  EXPECT_TRUE(console.lines.empty());
}

TEST_F(State, Base64ThatIsNotAPropertyListIsLogged) {
  EXPECT_EQ(engine->pluginState().decodePluginState("bm9uc2Vuc2U="), std::nullopt);
  EXPECT_EQ(console.lines, Lines{"Failed to decode audio unit state: not a property list"});
}

TEST_F(State, APropertyListThatIsAnArrayIsNotAccepted) {
  EXPECT_EQ(engine->pluginState().decodePluginState(textOf({PropertyListArray{}})), std::nullopt);
  EXPECT_TRUE(console.lines.empty());
}

TEST_F(State, WhatWasCapturedDecodesToTheSame) {
  simulation::ScriptedUnitCore unit;
  unit.documentState = document;
  const auto captured = engine->pluginState().captureAudioUnitState(unit);
  EXPECT_EQ(engine->pluginState().decodePluginState(captured), document);
  EXPECT_EQ(engine->pluginState().decodePluginState(captured->text()), document);
}

TEST_F(State, TheTextOfALargeStateIsMadeWhenItIsReadAndOnlyOnce) {
  const auto strip = addStrip("Piano");
  const PropertyListDictionary large{{"samples", {PropertyListData(100'000, 7)}}};
  strip.instrument->core.documentState = large;
  const auto captured = engine->pluginState().capturePluginState(*strip.channel);
  ASSERT_TRUE(captured);
  strip.instrument->core.documentState = document;
  propertyLists.failure = Error{"too late"};
  EXPECT_EQ(engine->pluginState().decodePluginState(captured), large) << "it goes back without a text";
  EXPECT_TRUE(console.lines.empty()) << "nobody has read it yet";
  propertyLists.failure.reset();
  EXPECT_EQ(captured->text(), textOf({large}));
  propertyLists.failure = Error{"not asked again"};
  EXPECT_EQ(SharedText(*captured).text(), textOf({large}));
  EXPECT_TRUE(console.lines.empty());
}

TEST_F(State, ALargeStateThatMakesNoTextIsLoggedAndLeftOutOfTheFile) {
  const auto strip = addStrip("Piano");
  strip.instrument->core.documentState = {{"samples", {PropertyListData(100'000, 7)}}};
  propertyLists.failure = Error{"too large"};
  SetlistFile setlist;
  setlist.songs.resize(1);
  setlist.songs[0].channels = {makeChannelConfig(*strip.channel, engine->pluginState())};
  const auto text = encodeSetlist(setlist);
  ASSERT_TRUE(text);
  EXPECT_FALSE(decodeSetlist(text.value()).value().songs[0].channels[0].pluginStateBase64.has_value());
  EXPECT_EQ(console.lines, Lines{"Failed to capture plugin state for Piano: too large"});
}

TEST_F(State, ASlotWithAMissingPluginKeepsItsOldState) {
  const auto strip = addStrip("Piano");
  AudioPluginSlot slot;
  slot.pluginPath = chorusKey;
  slot.stateBase64 = "b2xk";
  strip.channel->effectSlots.set({slot});
  EXPECT_EQ(engine->pluginState().captureEffectSlots(*strip.channel), std::vector{slot});
}

TEST_F(State, ASlotWithANodeGetsItsPresentStateAlsoWhenThereIsNone) {
  const auto strip = addStrip("Piano");
  const auto effect = addEffect(*strip.channel, "chorus");
  auto slots = strip.channel->effectSlots.get();
  slots[0].stateBase64 = "b2xk";
  strip.channel->effectSlots.set(slots);
  effect->core.documentState = document;
  EXPECT_EQ(engine->pluginState().captureEffectSlots(*strip.channel)[0].stateBase64, textOf({document}));
  effect->core.documentState = std::nullopt;
  EXPECT_EQ(engine->pluginState().captureEffectSlots(*strip.channel)[0].stateBase64, std::nullopt);
}

TEST_F(State, ASlotWithAnEmptyPathIsGoneAfterTheCapture) {
  const auto strip = addStrip("Piano");
  addEmptySlot(*strip.channel, "");
  addEmptySlot(*strip.channel, chorusKey);
  const auto captured = engine->pluginState().captureEffectSlots(*strip.channel);
  ASSERT_EQ(captured.size(), 1U);
  EXPECT_EQ(captured[0].pluginPath, chorusKey);
}

}  // namespace
}  // namespace vrel
