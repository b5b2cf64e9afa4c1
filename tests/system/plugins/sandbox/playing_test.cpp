// SPDX-License-Identifier: GPL-3.0-or-later
#include <unistd.h>

#include <csignal>

#include "system/plugins/sandbox/processes.h"
#include "system/plugins/sandbox/sandbox_stage.h"

namespace vrel::sandbox {
namespace {

class Sandboxed : public SandboxStage {
 protected:
  /// Two units of one plug-in, the first in a process of its own.
  struct Pair {
    lv2::Player sandboxed;
    lv2::Player inProcess;
  };
  Pair pair(const std::string& uri) { return {lv2::Player(make(uri).unit), lv2::Player(inProcess_.make(uri).unit)}; }
};

TEST_F(Sandboxed, AnInstrumentSoundsSampleForSampleAsInThisProcess) {
  auto [sandboxed, inProcess] = pair("urn:vrel:zoo:sine");
  for (auto* player : {&sandboxed, &inProcess}) {
    player->send(0x90, 69, 100);
  }
  EXPECT_GT(lv2::peak(inProcess.play(4800).left), 0.1F);
  sandboxed.play(4800);
  EXPECT_EQ(sandboxed.play(4800, 127), inProcess.play(4800, 127));
  for (auto* player : {&sandboxed, &inProcess}) {
    player->instrument().setVolume(0.25F);
    player->send(0x80, 69, 0);
    player->send(0x90, 72, 1);
  }
  EXPECT_EQ(sandboxed.play(4800, 64), inProcess.play(4800, 64));
}

TEST_F(Sandboxed, WhatIsRoutedWithinABlockArrivesAtItsFrame) {
  auto [sandboxed, inProcess] = pair("urn:vrel:zoo:echo");
  for (auto* player : {&sandboxed, &inProcess}) {
    player->route(3, {0x90, 60, 100});
    player->send(0xB0, 7, 5);
    player->route(127, {0x80, 60, 0});
  }
  const lv2::Sound sound = sandboxed.block(128);
  EXPECT_EQ(sound, inProcess.block(128));
  EXPECT_EQ(sound.right[2], 12703) << "three bytes, at frame 127";
}

TEST_F(Sandboxed, AnEffectHearsItsInput) {
  auto [sandboxed, inProcess] = pair("urn:vrel:zoo:gain");
  const std::vector<std::vector<float>> input{std::vector<float>(96, 0.5F), std::vector<float>(96, -0.25F)};
  const lv2::Sound sound = sandboxed.block(96, input);
  EXPECT_GT(lv2::peak(sound.left), 0.0F);
  EXPECT_EQ(sound, inProcess.block(96, input));
}

TEST_F(Sandboxed, AStateWithItsFilesGoesFromOneProcessToAnother) {
  lv2::Player first(make("urn:vrel:zoo:state").unit);
  first.send(0x90, 64, 100);
  first.send(0x90, 101, 100);
  const lv2::Sound sound = first.block(16);
  ASSERT_EQ(sound.left[0], 0.5F);
  const auto state = first.unit().auAudioUnit().fullStateForDocument();
  ASSERT_TRUE(state);
  lv2::Player second(make("urn:vrel:zoo:state").unit);
  second.unit().auAudioUnit().setFullStateForDocument(*state);
  EXPECT_EQ(second.block(16), sound);
  lv2::Player here(inProcess_.make("urn:vrel:zoo:state").unit);
  here.unit().auAudioUnit().setFullStateForDocument(*state);
  EXPECT_EQ(here.block(16), sound) << "and into this process";
}

TEST_F(Sandboxed, AResetForgetsWhatWasSentBeforeItButNotWhatFollows) {
  const auto unit = rebel();
  lv2::Player player(unit);
  player.send(0x90, 60, 100);
  unit->reset();
  EXPECT_EQ(lv2::peak(player.block(16).left), 0.0F);
  player.send(0x90, 60, 100);
  unit->reset();
  player.send(0x90, 60, 32);
  EXPECT_EQ(lv2::peak(player.block(16).left), 0.25F);
}

TEST_F(Sandboxed, AnotherRateRecreatesThePluginWithItsState) {
  lv2::Player sandboxed(make("urn:vrel:zoo:sine").unit, 44100);
  lv2::Player inProcess(inProcess_.make("urn:vrel:zoo:sine").unit, 44100);
  for (auto* player : {&sandboxed, &inProcess}) {
    player->send(0x90, 69, 100);
  }
  EXPECT_EQ(sandboxed.play(4410), inProcess.play(4410));
}

TEST_F(Sandboxed, ManyPluginsAreMadeSideBySide) {
  std::vector<std::future<Made>> pending;
  for (int index = 0; index < 4; ++index) {
    pending.push_back(makeLater("urn:vrel:zoo:rebel-hang-instantiate"));
  }
  EXPECT_TRUE(happens([] { return childrenOf(getpid()).size() == 4; })) << "behind the first no other would begin";
  for (const pid_t child : childrenOf(getpid())) {
    kill(child, SIGKILL);
  }
  for (auto& made : pending) {
    EXPECT_EQ(made.get().unit, nullptr);
  }
}

TEST_F(Sandboxed, AGeneratorComesAsAPlainUnit) {
  const Made made = make("urn:vrel:zoo:generator");
  ASSERT_NE(made.unit, nullptr);
  EXPECT_EQ(dynamic_cast<AVAudioUnitMIDIInstrument*>(made.unit.get()), nullptr);
  EXPECT_GT(lv2::peak(lv2::Player(made.unit).block(64).left), 0.0F);
}

TEST_F(Sandboxed, WhatIsNotInstalledFails) {
  const Made made = make("urn:vrel:zoo:no-such-plugin");
  EXPECT_EQ(made.unit, nullptr);
  ASSERT_TRUE(made.error);
  EXPECT_EQ(made.error->description, "component not installed");
}

TEST_F(Sandboxed, APluginThatRefusesIsReportedInTheWordsOfThisProcess) {
  const Made made = make("urn:vrel:zoo:refuses");
  ASSERT_TRUE(made.error);
  EXPECT_EQ(made.error->description, inProcess_.errorOf("urn:vrel:zoo:refuses"));
}

TEST_F(Sandboxed, LinesOfThePluginsLogComeThrough) {
  const Made made = make("urn:vrel:zoo:state");
  made.unit->auAudioUnit().setFullStateForDocument({{"nonsense", {true}}});
  EXPECT_TRUE(hasLogged("state not restored"));
}

class WithoutHelper : public SandboxStage {
 protected:
  WithoutHelper() : SandboxStage(std::nullopt, "/no/such/program") {}
};

TEST_F(WithoutHelper, EveryInstantiationFailsAndSaysWhy) {
  const Made made = make("urn:vrel:zoo:sine");
  ASSERT_TRUE(made.error);
  EXPECT_NE(made.error->description.find("/no/such/program"), std::string::npos);
}

class WithWrongHelper : public SandboxStage {
 protected:
  WithWrongHelper() : SandboxStage(std::nullopt, "/bin/false") {}
};

TEST_F(WithWrongHelper, AHelperThatEndsAtOnceIsAFailureLikeAnyOther) {
  const Made made = make("urn:vrel:zoo:sine");
  ASSERT_TRUE(made.error);
  EXPECT_NE(made.error->description.find("ended with code 1"), std::string::npos) << made.error->description;
}

}  // namespace
}  // namespace vrel::sandbox
