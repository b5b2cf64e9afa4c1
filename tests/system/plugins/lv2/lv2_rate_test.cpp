// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cstddef>
#include <future>
#include <memory>
#include <variant>
#include <vector>

#include "system/plugins/lv2/lv2_processor.h"
#include "system/plugins/lv2/lv2_stage.h"

namespace vrel::lv2 {
namespace {

TEST(UnitRate, AnotherRateKeepsPitchAndSettings) {
  const Stage stage;
  const std::shared_ptr<AVAudioUnit> unit = stage.make("urn:vrel:zoo:sine").unit;
  PropertyListDictionary state = *unit->auAudioUnit().fullStateForDocument();
  std::get<PropertyListDictionary>(state["ports"].content)["level"] = {0.25};
  unit->auAudioUnit().setFullStateForDocument(state);
  Player player(unit, 96000);
  player.send(0x90, 69, 127);
  const std::vector<float> sound = player.play(96000).left;
  EXPECT_NEAR(peak(sound), 0.25F, 0.001F);
  int rises = 0;
  for (std::size_t frame = 1; frame < sound.size(); ++frame) {
    rises += sound[frame - 1] < 0 && sound[frame] >= 0 ? 1 : 0;
  }
  EXPECT_NEAR(rises, 440, 1);
}

TEST(UnitRate, OnADeviceAnotherRateIsPreparedBesideTheBlocks) {
  const Stage stage(Bundles::zoo, WorkerMode::thread);
  const std::shared_ptr<AVAudioUnit> unit = stage.make("urn:vrel:zoo:sine").unit;
  PropertyListDictionary state = *unit->auAudioUnit().fullStateForDocument();
  std::get<PropertyListDictionary>(state["ports"].content)["level"] = {0.25};
  unit->auAudioUnit().setFullStateForDocument(state);
  // The plug-in takes as long to make as this is held.
  std::promise<void> mayBeMade;
  stage.world->thread().post([made = mayBeMade.get_future().share()] { made.wait(); });
  Player player(unit, 96000);  // returns at once
  player.send(0x90, 69, 127);
  EXPECT_EQ(peak(player.play(512).left), 0.0F) << "no block is played at the wrong rate";
  std::get<PropertyListDictionary>(state["ports"].content)["level"] = {0.5};
  unit->auAudioUnit().setFullStateForDocument(state);
  EXPECT_EQ(peak(player.play(512).left), 0.0F);

  mayBeMade.set_value();
  stage.world->thread().runAndWait([] {});
  const std::vector<float> sound = player.play(96000).left;
  EXPECT_NEAR(peak(sound), 0.5F, 0.001F) << "the last state, and the note that waited";
  int rises = 0;
  for (std::size_t frame = 1; frame < sound.size(); ++frame) {
    rises += sound[frame - 1] < 0 && sound[frame] >= 0 ? 1 : 0;
  }
  EXPECT_NEAR(rises, 440, 1);
  EXPECT_TRUE(stage.lines().empty());
}

TEST(UnitRate, ARateThatChangesBackWhileAPluginIsRecreatedIsFollowedToTheLast) {
  const Stage stage(Bundles::zoo, WorkerMode::thread);
  Player player(stage.make("urn:vrel:zoo:sine").unit);
  std::promise<void> mayBeMade;
  stage.world->thread().post([made = mayBeMade.get_future().share()] { made.wait(); });
  player.processor().prepare(96000);
  player.processor().prepare(44100);
  player.processor().prepare(48000);
  mayBeMade.set_value();
  stage.world->thread().runAndWait([] {});
  player.send(0x90, 69, 127);
  EXPECT_GT(peak(player.play(512).left), 0.5F);
}

}  // namespace
}  // namespace vrel::lv2
