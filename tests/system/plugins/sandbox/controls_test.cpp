// SPDX-License-Identifier: GPL-3.0-or-later
// The controls of plug-ins in guests: moved and read through the shared memory, without a message.

#include <chrono>
#include <csignal>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "platform/message_parameters.h"
#include "system/plugins/sandbox/sandbox_stage.h"

namespace vrel::sandbox {
namespace {

class GuestControls : public SandboxStage {
 protected:
  [[nodiscard]] static float storedPort(AVAudioUnit& unit, const std::string& symbol) {
    const auto state = *unit.auAudioUnit().fullStateForDocument();
    const auto& ports = std::get<PropertyListDictionary>(state.at("ports").content);
    return static_cast<float>(std::get<double>(ports.at(symbol).content));
  }
};

TEST_F(GuestControls, AnEffectsControlIsHeardInTheNextBlockAndStoredAtOnce) {
  const auto unit = make("urn:vrel:zoo:panel", AudioComponentInstantiationOptions::inProcess).unit;
  auto& controls = unit->auAudioUnit();
  EXPECT_EQ(controls.parameterValue(3), 1000.0F) << "known before the first block";
  controls.setParameterValue(2, 0.5F);
  EXPECT_EQ(controls.parameterValue(2), 0.5F);
  EXPECT_EQ(storedPort(*unit, "level"), 0.5F) << "although no block has come";
  lv2::Player player(unit);
  EXPECT_EQ(player.block(64, {std::vector<float>(64, 0.5F)}).left, std::vector<float>(64, 0.25F));
}

TEST_F(GuestControls, AnInstrumentsControlToo) {
  const auto unit = make("urn:vrel:zoo:sine").unit;
  std::promise<std::shared_ptr<const AUParameterTree>> answer;
  unit->auAudioUnit().requestParameterTree([&answer](auto tree) { answer.set_value(std::move(tree)); });
  const auto tree = answer.get_future().get();
  ASSERT_NE(tree, nullptr);
  AUParameterAddress level = 0;
  for (const auto& parameter : tree->allParameters) {
    level = parameter.identifier == "level" ? parameter.address : level;
  }
  unit->auAudioUnit().setParameterValue(level, 0.25F);
  lv2::Player player(unit);
  player.send(0x90, 69, 127);
  EXPECT_NEAR(lv2::peak(player.play(4800).left), 0.25F, 0.001F);
}

TEST_F(GuestControls, WhatThePlugInShowsIsReadAfterItsBlock) {
  const auto unit = make("urn:vrel:zoo:panel").unit;
  lv2::Player player(unit);
  unit->auAudioUnit().setParameterValue(3, 440);
  (void)player.block(64, {std::vector<float>(64)});
  EXPECT_EQ(unit->auAudioUnit().parameterValue(12), 440.0F);
}

TEST_F(GuestControls, ARestoredStateIsShown) {
  const auto unit = make("urn:vrel:zoo:panel").unit;
  auto& controls = unit->auAudioUnit();
  const auto state = *controls.fullStateForDocument();
  controls.setParameterValue(2, 3);
  controls.setFullStateForDocument(state);
  EXPECT_EQ(controls.parameterValue(2), 1.0F);
}

TEST_F(GuestControls, ParametersWithoutPortAreSetAndReportedByMessages) {
  const auto unit = make("urn:vrel:zoo:patched").unit;
  auto& plugin = unit->auAudioUnit();
  auto& messages = dynamic_cast<MessageParameters&>(plugin);
  std::promise<std::shared_ptr<const AUParameterTree>> answer;
  plugin.requestParameterTree([&answer](auto tree) { answer.set_value(std::move(tree)); });
  const auto tree = answer.get_future().get();
  const auto addressOf = [&tree](const std::string& name) {
    AUParameterAddress address = 0;
    for (const auto& each : tree->allParameters) {
      address = each.displayName == name ? each.address : address;
    }
    return address;
  };
  lv2::Player player(unit);
  const auto eventually = [&](const auto& holds) {
    const auto end = std::chrono::steady_clock::now() + 20s;
    while (!holds() && std::chrono::steady_clock::now() < end) {
      (void)player.block(64, {std::vector<float>(64, 0.125F)});
    }
    return holds();
  };
  messages.watchMessageParameters(true);
  EXPECT_TRUE(eventually([&] { return plugin.parameterValue(addressOf("Steps")) == 4; }))
      << "as asked at the beginning";
  plugin.setParameterValue(addressOf("Steps"), 7);
  EXPECT_EQ(plugin.parameterValue(addressOf("Steps")), 7.0F) << "at once";
  messages.setParameterText(addressOf("File"), "/samples/a.wav");
  EXPECT_EQ(messages.parameterText(addressOf("File")), "/samples/a.wav");
  EXPECT_TRUE(eventually([&] { return plugin.parameterValue(addressOf("Amount")) == 2; })) << "by the plug-in itself";
  const auto state = *plugin.fullStateForDocument();
  messages.setParameterText(addressOf("File"), "/samples/b.wav");
  plugin.setFullStateForDocument(state);
  EXPECT_TRUE(eventually([&] { return messages.parameterText(addressOf("File")) == "/samples/a.wav"; }))
      << "a restored state is asked for";
  messages.watchMessageParameters(false);
}

TEST_F(GuestControls, OfADeadGuestTheyAreWhatTheyWereAndMovingThemDoesNothing) {
  const auto unit = rebel();
  kill(processOf(unit), SIGKILL);
  while (deaths().empty()) {
    std::this_thread::yield();
  }
  unit->auAudioUnit().setParameterValue(2, 1);
  EXPECT_EQ(unit->auAudioUnit().parameterValue(2), 1.0F);
}

}  // namespace
}  // namespace vrel::sandbox
