// SPDX-License-Identifier: GPL-3.0-or-later
// Effects in guests: they sound as in this process, and whatever one of them does, its strip plays on, dry.

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <ostream>
#include <string>
#include <vector>

#include "system/audio/continuation.h"
#include "system/audio/mixer_node.h"
#include "system/audio/offline_device.h"
#include "system/audio/render_engine.h"
#include "system/plugins/sandbox/processes.h"
#include "system/plugins/sandbox/sandbox_stage.h"
#include "system/plugins/sandbox/word_wait.h"

namespace vrel::sandbox {
namespace {

using Unit = std::shared_ptr<AVAudioUnit>;
using Instrument = std::shared_ptr<AVAudioUnitMIDIInstrument>;

/// A render graph without a deadline, and chains on it.
struct Rig {
  Rig() { engine.connect(engine.mainMixerNode(), engine.outputNode(), std::nullopt); }

  void chain(const std::shared_ptr<AVAudioNode>& first, const std::vector<Unit>& effects,
             const std::shared_ptr<AVAudioNode>& end) {
    engine.attach(first);
    std::shared_ptr<AVAudioNode> last = first;
    for (const Unit& effect : effects) {
      engine.attach(effect);
      engine.connect(last, effect, std::nullopt);
      last = effect;
    }
    engine.connect(last, end, std::nullopt);
  }
  void strip(const Instrument& instrument, const std::vector<Unit>& effects) {
    chain(instrument, effects, engine.mainMixerNode());
  }
  void master(const std::vector<Unit>& effects) { chain(engine.mainMixerNode(), effects, engine.outputNode()); }

  lv2::Sound block(std::uint32_t frames = 128) {
    const auto rendered = device->renderBlock(frames);
    return {{rendered.left.begin(), rendered.left.end()}, {rendered.right.begin(), rendered.right.end()}};
  }

  /// A block after as many as the end of a sound is continued from.
  lv2::Sound settledBlock() {
    for (std::uint32_t frame = 0; frame < audio::continuationHistory; frame += 128) {
      (void)block();
    }
    return block();
  }

  /// Two blocks in which one level goes softly into another, with nothing but levels between them, and then the other.
  void expectSoftChange(int from, int to) {
    for (int round = 0; round < 2; ++round) {
      const lv2::Sound changing = block();
      const auto [least, most] = std::ranges::minmax(changing.left);
      constexpr float rounding = 1e-3F;
      EXPECT_GE(least, static_cast<float>(std::min(from, to)) / 128.0F - rounding);
      EXPECT_LE(most, static_cast<float>(std::max(from, to)) / 128.0F + rounding);
      EXPECT_TRUE(round > 0 || from == to || changing != constant(from)) << "it begins at once";
    }
    EXPECT_EQ(block(), constant(to));
  }

  std::shared_ptr<audio::RenderCounters> counters = std::make_shared<audio::RenderCounters>();
  std::shared_ptr<audio::OfflineDevice> device = std::make_shared<audio::OfflineDevice>(48000, 128);
  audio::RenderEngine engine{device, counters};
};

class Effects : public SandboxStage {
 protected:
  explicit Effects(std::chrono::milliseconds longestBlock = std::chrono::minutes(10))
      : SandboxStage(std::nullopt, VREL_PLUGIN_HOST_PROGRAM, false, lv2::Bundles::zoo, longestBlock) {}

  /// As the logic asks for an effect at first.
  Unit effect(const std::string& name) {
    return make("urn:vrel:zoo:" + name, AudioComponentInstantiationOptions::inProcess).unit;
  }
  Unit effectHere(const std::string& name) { return inProcess_.make("urn:vrel:zoo:" + name).unit; }
  Instrument instrument(const std::string& name) {
    return std::dynamic_pointer_cast<AVAudioUnitMIDIInstrument>(make("urn:vrel:zoo:" + name).unit);
  }
};

TEST_F(Effects, AskedForInThisProcessTheyLiveInGuests) {
  const Unit unit = effect("monoeffect");
  EXPECT_NE(processOf(unit), getpid());
  EXPECT_EQ(guestCount(), 1U);
}

TEST_F(Effects, RacksSoundSampleForSampleAsInThisProcessInBlocksOfAnySize) {
  const auto play = [this](auto makeEffect) {
    Rig rig;
    std::vector<Instrument> instruments;
    const auto strip = [&](const char* name, const std::vector<std::string>& effects) {
      instruments.push_back(instrument(name));
      std::vector<Unit> units;
      for (const std::string& each : effects) {
        units.push_back(makeEffect(each));
      }
      rig.strip(instruments.back(), units);
    };
    strip("sine", {"gain", "sidechain-first"});
    strip("sine", {"sidechain-groups", "monoeffect", "gain"});
    strip("mono", {"gain"});
    strip("sine", {});
    rig.master({makeEffect("sidechain-first"), makeEffect("monoeffect")});
    EXPECT_EQ(rig.engine.start(), std::nullopt);
    lv2::Sound all;
    for (int round = 0; round < 200; ++round) {
      for (std::size_t index = 0; index < instruments.size(); ++index) {
        instruments[index]->sendMIDIEvent(round % 40 < 20 ? 0x90 : 0x80, static_cast<std::uint8_t>(50 + 7 * index), 80);
      }
      const lv2::Sound next = rig.block(std::vector<std::uint32_t>{128, 1, 77, 1024, 512}[round % 5]);
      all.left.insert(all.left.end(), next.left.begin(), next.left.end());
      all.right.insert(all.right.end(), next.right.begin(), next.right.end());
    }
    return all;
  };
  const lv2::Sound inGuests = play([this](const std::string& name) { return effect(name); });
  const lv2::Sound here = play([this](const std::string& name) { return effectHere(name); });
  EXPECT_GT(lv2::peak(here.left), 0.1F);
  EXPECT_EQ(inGuests, here) << "nothing is added, nothing is late by a block";
}

TEST_F(Effects, ADeathBetweenBlocksLeavesTheStripDryFromTheNextBlockOn) {
  Rig rig;
  const Instrument rebel = instrument("rebel-kind");
  const Unit halved = effect("effectrebel");
  const Unit other = effect("effectrebel");
  rig.strip(rebel, {halved, other});
  ASSERT_EQ(rig.engine.start(), std::nullopt);
  rebel->sendMIDIEvent(0x90, 60, 64);
  EXPECT_EQ(rig.settledBlock(), constant(16)) << "halved twice";
  kill(processOf(halved), SIGKILL);
  EXPECT_TRUE(happens([this] { return deaths().size() == 1; }));
  rig.expectSoftChange(16, 32);  // the other effect of the rack works on
}

TEST_F(Effects, AMonoEffectThatDiesLeavesBothChannelsOfItsStripInOne) {
  Rig rig;
  const Instrument sine = instrument("sine");
  const Unit mono = effect("monoeffect");
  rig.strip(sine, {mono});
  ASSERT_EQ(rig.engine.start(), std::nullopt);
  sine->sendMIDIEvent(0x90, 69, 127);
  (void)rig.block();
  kill(processOf(mono), SIGKILL);
  EXPECT_TRUE(happens([this] { return deaths().size() == 1; }));
  const lv2::Sound dry = rig.block();
  EXPECT_GT(lv2::peak(dry.left), 0.1F);
  EXPECT_EQ(dry.left, dry.right) << "until the chain is made without it the strip stays mono";
}

TEST_F(Effects, OfTheMasterThatDiesTheMixStaysDry) {
  Rig rig;
  const Instrument rebel = instrument("rebel-kind");
  const Unit halved = effect("effectrebel");
  rig.strip(rebel, {});
  rig.master({halved});
  ASSERT_EQ(rig.engine.start(), std::nullopt);
  rebel->sendMIDIEvent(0x90, 60, 64);
  EXPECT_EQ(rig.settledBlock(), constant(32));
  kill(processOf(halved), SIGKILL);
  EXPECT_TRUE(happens([this] { return deaths().size() == 1; }));
  rig.expectSoftChange(32, 64);
}

/// What an effect does in its run, by the velocity that makes it.
class EffectsThatEnd : public Effects, public testing::WithParamInterface<int> {};

TEST_P(EffectsThatEnd, InTheMidstOfABlockTheStripBecomesDryInThatVeryBlock) {
  Rig rig;
  const Instrument rebel = instrument("rebel-kind");
  const Instrument beside = instrument("rebel-kind");
  rig.strip(rebel, {effect("effectrebel")});
  rig.strip(beside, {effect("effectrebel")});
  ASSERT_EQ(rig.engine.start(), std::nullopt);
  beside->sendMIDIEvent(0x90, 60, 64);
  EXPECT_EQ(rig.settledBlock(), constant(32));
  rebel->sendMIDIEvent(0x90, 60, static_cast<std::uint8_t>(GetParam()));
  rig.expectSoftChange(32, 32 + GetParam());  // dry, and the strip beside it as it was
  EXPECT_TRUE(happens([this] { return deaths().size() == 1; }));
  EXPECT_EQ(rig.block(), constant(32 + GetParam()));
  EXPECT_EQ(counters().deaths, 1U);
}

INSTANTIATE_TEST_SUITE_P(WriteToNothingExitAndAbort, EffectsThatEnd, testing::Values(2, 3, 4));

/// Plays single blocks of 128 frames of an effect, as a device would.
class EffectPlayer {
 public:
  explicit EffectPlayer(const Unit& unit) : processor_(dynamic_cast<audio::GraphNode&>(*unit).processor()) {}

  lv2::Sound play(int velocity, std::chrono::nanoseconds wait) {
    lv2::Sound input = constant(velocity);
    lv2::Sound output = constant(0);
    const AudioThreadScope block;
    processor_->accept(128, {{input.left.data(), input.right.data()}, 2});
    processor_->process({.frameCount = 128,
                         .inputs = {},
                         .output = {{output.left.data(), output.right.data()}, 2},
                         .deadline = (std::chrono::steady_clock::now().time_since_epoch() + wait).count()});
    return output;
  }
  [[nodiscard]] audio::Delivery delivery() const { return processor_->delivery(); }

 private:
  std::shared_ptr<audio::NodeProcessor> processor_;
};

TEST_F(Effects, ThatHangOnADeviceCostOneWaitAndLeaveTheStripDry) {
  EffectPlayer effectOnDevice(effect("effectrebel"));
  EXPECT_EQ(effectOnDevice.play(64, 10s), constant(32));
  EXPECT_EQ(effectOnDevice.delivery(), audio::Delivery::whole);
  EXPECT_EQ(effectOnDevice.play(1, 5ms), constant(1)) << "it hangs, and the block is dry";
  EXPECT_EQ(effectOnDevice.delivery(), audio::Delivery::bypassed);
  for (int block = 0; block < 100; ++block) {
    EXPECT_EQ(effectOnDevice.play(64, std::chrono::hours(1)), constant(64))
        << "one that owes an answer is not waited for";
  }
}

TEST_F(Effects, ThatHangForTwoSecondsOfADeviceAreEnded) {
  const Unit unit = effect("effectrebel");
  EffectPlayer effectOnDevice(unit);
  const int process = processOf(unit);
  stop(process);
  for (int block = 0; block < 2 * 375 + 2; ++block) {  // the first does not count where it began too late
    (void)effectOnDevice.play(64, 2ms);
  }
  EXPECT_TRUE(happens([&] { return deaths() == std::vector<int>{process}; }));
  EXPECT_TRUE(hasLogged("missed every block for 2 s and was ended"));
}

TEST_F(Effects, WhoseInputAlwaysComesTooLateAreBypassedButNotCalledHung) {
  const Unit unit = effect("effectrebel");
  EffectPlayer effectOnDevice(unit);
  GuestLink& link = linkOf(unit);
  for (int block = 0; block < 100; ++block) {
    stop(processOf(unit));
    EXPECT_EQ(effectOnDevice.play(64, -1ms), constant(64));
    kill(processOf(unit), SIGCONT);
    EXPECT_TRUE(happens([&] { return read(link.block().answer) == read(link.block().request); }));
  }
  EXPECT_FALSE(link.isBehind());
  EXPECT_EQ(effectOnDevice.play(64, 10s), constant(32));
}

/// A guest that takes longer than five seconds for a block without a deadline is hung.
class EffectsInARender : public Effects {
 protected:
  EffectsInARender() : Effects(5s) {}
};

TEST_F(EffectsInARender, ThatHangAreEndedAndTheRenderGoesOnDry) {
  Rig rig;
  const Instrument rebel = instrument("rebel-kind");
  const Unit hanging = effect("effectrebel");
  rig.strip(rebel, {hanging});
  ASSERT_EQ(rig.engine.start(), std::nullopt);
  rebel->sendMIDIEvent(0x90, 60, 64);
  EXPECT_EQ(rig.block(), constant(32));
  rebel->sendMIDIEvent(0x90, 60, 40);
  EXPECT_EQ(rig.settledBlock(), constant(20));
  rebel->sendMIDIEvent(0x90, 60, 64);
  stop(processOf(hanging));
  rig.expectSoftChange(20, 64);  // in the very block
  EXPECT_TRUE(happens([this] { return deaths().size() == 1; })) << "so that no capture waits for it";
  EXPECT_EQ(rig.block(), constant(64));
}

/// What an effect does while it is made.
class EffectsThatAreNotMade : public Effects, public testing::WithParamInterface<const char*> {};

TEST_P(EffectsThatAreNotMade, FailLikeAnyOther) {
  for (const auto options :
       {AudioComponentInstantiationOptions::inProcess, AudioComponentInstantiationOptions::outOfProcess}) {
    const Made made = make(std::string("urn:vrel:zoo:effectrebel-") + GetParam(), options);
    EXPECT_EQ(made.unit, nullptr);
    EXPECT_TRUE(made.error);
  }
}

TEST_P(EffectsThatAreNotMade, AreNotTriedInASecondProcessForTheSameRequest) {
  const auto codes =
      inProcess_.component(std::string("urn:vrel:zoo:effectrebel-") + GetParam()).audioComponentDescription;
  for (int request = 0; request < 2; ++request) {
    std::promise<void> done;
    std::vector<std::string> errors;
    factory_->instantiate(codes, AudioComponentInstantiationOptions::inProcess,
                          [&](const Unit&, const std::optional<Error>& error) {
                            errors.push_back(error ? error->description : "none");
                            factory_->instantiate(codes, AudioComponentInstantiationOptions::outOfProcess,
                                                  [&](const Unit&, const std::optional<Error>& again) {
                                                    errors.push_back(again ? again->description : "none");
                                                  });
                            EXPECT_EQ(errors.size(), 2U) << "answered at once";
                            done.set_value();
                          });
    done.get_future().wait();
    ASSERT_EQ(errors.size(), 2U);
    EXPECT_NE(errors[0], "none");
    EXPECT_EQ(errors[0], errors[1]);
  }
}

INSTANTIATE_TEST_SUITE_P(ByExitOrCrash, EffectsThatAreNotMade, testing::Values("exit", "crash"));

TEST_F(Effects, ThatHangAsTheyAreMadeHoldUpNobody) {
  const auto hanging = makeLater("urn:vrel:zoo:effectrebel-hang", AudioComponentInstantiationOptions::inProcess);
  Rig rig;
  const Instrument rebel = instrument("rebel-kind");
  rig.strip(rebel, {effect("effectrebel")});
  ASSERT_EQ(rig.engine.start(), std::nullopt);
  rebel->sendMIDIEvent(0x90, 60, 64);
  EXPECT_EQ(rig.block(), constant(32));
  EXPECT_EQ(hanging.wait_for(0s), std::future_status::timeout);
}

}  // namespace
}  // namespace vrel::sandbox
