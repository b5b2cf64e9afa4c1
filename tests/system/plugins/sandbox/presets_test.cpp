// SPDX-License-Identifier: GPL-3.0-or-later
// Presets of plug-ins in guests.
#include <string>

#include "system/plugins/lv2/preset_answers.h"
#include "system/plugins/sandbox/processes.h"
#include "system/plugins/sandbox/sandbox_stage.h"

namespace vrel::sandbox {
namespace {

class GuestPresets : public SandboxStage {
 protected:
  const lv2::OwnHome home_;
  const std::shared_ptr<AVAudioUnit> unit_ = make("urn:vrel:zoo:state").unit;
  lv2::PresetsOf presets_{*unit_};
};

TEST_F(GuestPresets, OneIsRestoredByThePlugInInItsGuest) {
  lv2::Player player(unit_);
  ASSERT_EQ(presets_.use("Kept"), std::nullopt);
  EXPECT_EQ(player.block(64).left, std::vector<float>(64, 0.25F));
  EXPECT_EQ(unit_->auAudioUnit().parameterValue(3), 0.5F) << "shown at once";
  EXPECT_TRUE(stateOf(unit_));
}

TEST_F(GuestPresets, OneThatIsRefusedSaysSoAndLeavesThePlugInAsItWas) {
  lv2::Player player(unit_);
  ASSERT_EQ(presets_.use("Kept"), std::nullopt);
  const Outcome failure = presets_.use("Refused");
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->description, "the plug-in refused it");
  EXPECT_EQ(player.block(64).left, std::vector<float>(64, 0.25F));
}

TEST_F(GuestPresets, OneThatNeverComesToAnEndEndsTheGuestAndIsReported) {
  EXPECT_TRUE(presets_.use("Hangs"));
  EXPECT_TRUE(linkOf(unit_).isDead());
  EXPECT_TRUE(presets_.use("Kept")) << "of a dead guest at once";
}

TEST_F(GuestPresets, OneThatKillsThePlugInIsReported) {
  EXPECT_TRUE(presets_.use("Dies"));
  EXPECT_TRUE(linkOf(unit_).isDead());
}

TEST_F(GuestPresets, WhatTheGuestHasIsSavedUsedAndDeleted) {
  lv2::Player player(unit_);
  player.send(0x90, 32, 64);
  player.send(0x90, 100, 64);
  (void)player.block(64);
  const auto saved = presets_.save("Mine");
  ASSERT_TRUE(saved) << saved.error().description;
  ASSERT_EQ(presets_.use("Kept"), std::nullopt);
  ASSERT_EQ(presets_.use("Mine"), std::nullopt);
  const lv2::Sound sound = player.block(64);
  EXPECT_EQ(sound.left, std::vector<float>(64, 32.0F / 128));
  EXPECT_EQ(sound.right, std::vector<float>(64, 100.0F / 128));
  EXPECT_EQ(presets_.remove(saved.value().identifier), std::nullopt);
  EXPECT_EQ(presets_.named("Mine").name, "");
}

}  // namespace
}  // namespace vrel::sandbox
