// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "system/plugins/lv2/lv2_processor.h"
#include "system/plugins/lv2/lv2_stage.h"
#include "system/plugins/observable_instrument.h"

namespace vrel::lv2 {
namespace {

using Message = std::array<std::uint8_t, 3>;

/// The messages that the echo plug-in has put into its sound, with their lengths.
struct Echoed {
  std::vector<Message> messages;
  std::vector<int> lengths;
};

Echoed echoed(const Sound& sound) {
  Echoed result;
  for (std::size_t frame = 0; frame < sound.left.size() && sound.right[frame] > 0; ++frame) {
    const auto value = static_cast<std::uint32_t>(sound.left[frame] * 0x1p24F);  // as the zoo scales it
    result.messages.push_back({static_cast<std::uint8_t>(value >> 16U), static_cast<std::uint8_t>(value >> 8U),
                               static_cast<std::uint8_t>(value)});
    result.lengths.push_back(static_cast<int>(sound.right[frame]));
  }
  return result;
}

std::vector<float> constant(std::size_t frames, float value) {
  return std::vector<float>(frames, value);
}

TEST(Unit, ANoteSoundsAndItsReleaseDecays) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:sine").unit);
  EXPECT_EQ(peak(player.play(1024).left), 0.0F);
  player.send(0x90, 69, 127);
  const Sound held = player.play(4800);
  EXPECT_NEAR(peak(held.left, 2400), 1.0F, 0.01F);
  EXPECT_NEAR(peak(held.right, 2400), 0.5F, 0.01F);
  player.send(0x80, 69, 0);
  EXPECT_LT(peak(player.play(9600).left, 9000), 1e-6F);
}

TEST(Unit, APanicSilences) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:sine").unit);
  player.send(0x93, 100, 100);
  EXPECT_GT(peak(player.play(512).left), 0.5F);
  player.panic();
  EXPECT_LT(peak(player.play(9600).left, 9000), 1e-6F);
}

TEST(Unit, EventsArriveRawInOrderAndWithTheirOwnLength) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:echo").unit);
  player.send(0x90, 60, 100);
  player.send(0x9F, 0, 127);
  player.send(0xC3, 5, 9);
  player.send(0xD1, 77, 1);
  player.send(0xE0, 1, 64);
  player.send(0xF8, 3, 3);
  player.send(0xFF, 0, 0);
  player.send(0xB0, 200, 255);
  player.instrument().sendMIDIEvent(0xC0, 12);
  const Echoed got = echoed(player.block(64));
  const std::vector<Message> expected{{0x90, 60, 100}, {0x9F, 0, 127}, {0xC3, 5, 0},     {0xD1, 77, 0}, {0xE0, 1, 64},
                                      {0xF8, 0, 0},    {0xFF, 0, 0},   {0xB0, 200, 255}, {0xC0, 12, 0}};
  EXPECT_EQ(got.messages, expected);
  EXPECT_EQ(got.lengths, (std::vector<int>{3, 3, 2, 2, 3, 1, 1, 3, 2}));
  EXPECT_EQ(player.block(64).right, constant(64, 0));
}

TEST(Unit, WhatIsRoutedWithinTheBlockArrivesAtItsFrame) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:echo").unit);
  player.send(0xB0, 7, 5);
  player.route(0, {0x90, 60, 100});
  player.route(17, {0x90, 64, 100});
  player.route(63, {0x80, 60, 0});
  player.route(63, {0x12, 1, 1});
  const Echoed got = echoed(player.block(64));
  EXPECT_EQ(got.messages, (std::vector<Message>{{0xB0, 7, 5}, {0x90, 60, 100}, {0x90, 64, 100}, {0x80, 60, 0}}));
  EXPECT_EQ(got.lengths, (std::vector<int>{3, 3, 1703, 6303}));
}

TEST(Unit, WhatIsNoStatusGoesNowhere) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:echo").unit);
  int observed = 0;
  dynamic_cast<ObservableInstrument&>(player.unit()).setEventObserver([&](auto, auto, auto) { ++observed; });
  player.send(0x7F, 1, 2);
  player.send(0x00, 1, 2);
  EXPECT_TRUE(echoed(player.block(64)).messages.empty());
  EXPECT_EQ(observed, 0);
  EXPECT_EQ(stage.settings.counters->droppedEvents, 0U);
}

TEST(Unit, TenPanicsBeforeOneBlockArriveWhole) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:echo").unit);
  for (int count = 0; count < 10; ++count) {
    player.panic();
  }
  const Sound sound = player.play(2048, 1024);
  const Echoed got = echoed(sound);
  ASSERT_EQ(got.messages.size(), 1920U);
  EXPECT_EQ(got.messages.front(), (Message{0xB0, 64, 0}));
  EXPECT_EQ(got.messages.back(), (Message{0x80, 127, 0}));
  EXPECT_EQ(stage.settings.counters->droppedEvents, 0U);
}

TEST(Unit, AFullQueueDropsTheNewestControllersAndCountsThem) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:echo").unit);
  int observed = 0;
  dynamic_cast<ObservableInstrument&>(player.unit()).setEventObserver([&](auto, auto, auto) { ++observed; });
  for (int count = 0; count < 2100; ++count) {
    player.send(0xB0, static_cast<std::uint8_t>(count / 128), static_cast<std::uint8_t>(count % 128));
  }
  EXPECT_EQ(stage.settings.counters->droppedEvents, 564U);
  EXPECT_EQ(dynamic_cast<AVAudioUnitMIDIInstrument&>(player.unit()).droppedEvents(), 564U);
  EXPECT_EQ(observed, 1536);
  const Echoed got = echoed(player.play(3072, 1024));
  ASSERT_EQ(got.messages.size(), 1536U);
  EXPECT_EQ(got.messages.back(), (Message{0xB0, 11, 127}));
  player.send(0x90, 1, 1);
  EXPECT_EQ(echoed(player.block(16)).messages.size(), 1U);
}

TEST(Unit, TheObserverSeesEachEventBeforeTheCallReturns) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:echo").unit);
  std::vector<Message> seen;
  dynamic_cast<ObservableInstrument&>(player.unit())
      .setEventObserver([&](std::uint8_t status, std::uint8_t data1, std::uint8_t data2) {
        seen.push_back({status, data1, data2});
      });
  player.send(0x90, 60, 100);
  EXPECT_EQ(seen, (std::vector<Message>{{0x90, 60, 100}}));
  player.send(0x80, 60, 0);
  dynamic_cast<ObservableInstrument&>(player.unit()).setEventObserver({});
  player.send(0x90, 61, 100);
  EXPECT_EQ(seen, (std::vector<Message>{{0x90, 60, 100}, {0x80, 60, 0}}));
}

TEST(Unit, BlocksOfAnySizeGiveTheSameSound) {
  const Stage stage;
  const auto render = [&stage](const std::vector<std::uint32_t>& sizes) {
    Player player(stage.make("urn:vrel:zoo:sine").unit);
    player.send(0x90, 57, 90);
    Sound all;
    for (std::size_t index = 0; all.left.size() < 8192; ++index) {
      const auto room = static_cast<std::uint32_t>(8192 - all.left.size());
      const Sound next = player.block(std::min(sizes[index % sizes.size()], room));
      all.left.insert(all.left.end(), next.left.begin(), next.left.end());
      all.right.insert(all.right.end(), next.right.begin(), next.right.end());
    }
    return all;
  };
  const Sound even = render({1024});
  EXPECT_GT(peak(even.left), 0.5F);
  EXPECT_EQ(render({1, 1023, 17, 64, 333, 2, 1024, 5}), even);
  EXPECT_EQ(render({1}), even);
}

TEST(Unit, TheVolumeIsSmoothedAndReadBackAsSet) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:mono").unit);
  player.instrument().setVolume(0.5F);
  EXPECT_EQ(player.instrument().volume(), 0.5F);
  player.send(0x90, 60, 100);
  EXPECT_EQ(player.block(128).left, constant(128, 0.25F)) << "no ramp from a level that never sounded";
  player.instrument().setVolume(0.0F);
  const std::vector<float> falling = player.play(1024).left;
  for (std::size_t frame = 1; frame < falling.size(); ++frame) {
    ASSERT_LE(falling[frame], falling[frame - 1]);
    ASSERT_LT(falling[frame - 1] - falling[frame], 0.01F) << "a step would click";
  }
  EXPECT_EQ(falling.back(), 0.0F);
  player.instrument().setVolume(std::nanf(""));
  EXPECT_EQ(peak(player.play(1024).left), 0.0F);
}

TEST(Unit, AMonoInstrumentHasOneChannel) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:mono").unit);
  EXPECT_EQ(player.processor().outputChannelCount(0), 1U);
  player.send(0x90, 60, 100);
  EXPECT_EQ(player.block(8).left, constant(8, 0.5F));
}

TEST(Unit, OfManyOutputsTheFirstTwoGoOut) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:wide").unit);
  EXPECT_EQ(player.processor().outputChannelCount(0), 2U);
  const Sound sound = player.block(1024);
  EXPECT_EQ(sound.left, constant(1024, 1.0F / 16));
  EXPECT_EQ(sound.right, constant(1024, 2.0F / 16));
}

TEST(Unit, StereoIntoAMonoEffectIsMixed) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:monoeffect").unit);
  EXPECT_EQ(player.processor().outputChannelCount(2), 1U);
  EXPECT_EQ(player.block(32, {constant(32, 0.5F), constant(32, 0.25F)}).left, constant(32, 0.375F));
  EXPECT_EQ(player.block(32, {constant(32, 0.5F)}).left, constant(32, 0.5F));
}

TEST(Unit, MonoIntoAStereoEffectGoesToBothSides) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:gain").unit);
  const Sound sound = player.block(32, {constant(32, 0.5F)});
  EXPECT_EQ(sound.left, constant(32, 0.5F));
  EXPECT_EQ(sound.right, constant(32, 0.5F));
}

TEST(Unit, AnEffectWithNothingConnectedToItIsFedSilence) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:gain").unit);
  player.block(32, {constant(32, 0.5F), constant(32, 0.5F)});
  EXPECT_EQ(peak(player.block(32).left), 0.0F);
}

TEST(Unit, AnEffectThatTakesMidiPassesItsSound) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:midieffect").unit);
  const Sound sound = player.block(32, {constant(32, 0.5F), constant(32, -0.5F)});
  EXPECT_EQ(sound.left, constant(32, 0.5F));
  EXPECT_EQ(sound.right, constant(32, -0.5F));
}

/// What an effect makes of a constant in each channel. The side chains of the zoo add ten times what they get, and a
/// hundred times what comes in at a port of no known use.
Sound effectOn(const char* uri, float left, float right) {
  const Stage stage;
  Player player(stage.make(uri).unit);
  return player.block(32, {constant(32, left), constant(32, right)});
}

TEST(SideChain, AMonoEffectGetsBothChannelsMixedAndTheSameAsItsSideChain) {
  for (const char* uri : {"urn:vrel:zoo:sidechain-mono", "urn:vrel:zoo:sidechain-optional"}) {
    const Sound sound = effectOn(uri, 0.5F, 0.25F);
    EXPECT_EQ(sound.left, constant(32, 11 * 0.375F)) << uri;
    EXPECT_TRUE(sound.right.empty()) << "mono goes on as one channel, which sounds in both";
  }
}

TEST(SideChain, ThatComesFirstDoesNotTakeTheLeftChannel) {
  const Sound sound = effectOn("urn:vrel:zoo:sidechain-first", 0.5F, 0.25F);
  EXPECT_EQ(sound.left, constant(32, 0.5F + 10 * 0.375F)) << "the stereo signal, mixed, is the key of both";
  EXPECT_EQ(sound.right, constant(32, 0.25F + 10 * 0.375F));
}

TEST(SideChain, GroupsAndDesignationsSayWhichPortIsWhich) {
  const Sound sound = effectOn("urn:vrel:zoo:sidechain-groups", 0.5F, 0.25F);
  EXPECT_EQ(sound.left, constant(32, 11 * 0.5F)) << "an input outside the groups is silent";
  EXPECT_EQ(sound.right, constant(32, 11 * 0.25F));
}

TEST(Unit, DefaultsOutOfBoundsAreBroughtInsideAndMissingOnesAreTheMinimum) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:gain").unit);
  const auto state = player.unit().auAudioUnit().fullStateForDocument();
  ASSERT_TRUE(state);
  const PropertyListDictionary expected{{"gain", {1.0}}, {"high", {2.0}}, {"unset", {0.5}}};
  EXPECT_EQ(state->at("ports"), PropertyListValue{expected});
}

TEST(Unit, OutputThatIsNotANumberOrTooLargeIsSilencedAndCounted) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:notanumber").unit);
  EXPECT_EQ(player.block(64).left, constant(64, 0.5F));
  for (const std::uint8_t key : std::initializer_list<std::uint8_t>{1, 2, 3, 4, 5}) {
    player.send(0x90, key, 100);
    const Sound sound = player.block(64);
    EXPECT_EQ(sound.left, constant(64, 0));
    EXPECT_EQ(sound.right, constant(64, 0));
    EXPECT_EQ(stage.settings.counters->silencedBlocks, key);
    player.send(0x80, key, 0);
    EXPECT_EQ(player.block(64).right, constant(64, 0.5F));
  }
  player.send(0x90, 6, 100);
  EXPECT_EQ(player.block(64).right.back(), 1e6F) << "120 dB above full scale is not yet too large";
  EXPECT_EQ(stage.settings.counters->silencedBlocks, 5U);
}

TEST(Unit, TwoCopiesPlayingTheSameGiveTheSameBytes) {
  for (const char* uri : {"urn:vrel:zoo:sine", "urn:vrel:zoo:worker"}) {
    const auto render = [uri] {
      const Stage stage;
      Player player(stage.make(uri).unit);
      Sound all = player.play(100, 31);
      for (std::uint8_t note = 40; note < 60; ++note) {
        player.send(0x90, note, 100);
        const Sound next = player.play(1000, 77);
        all.left.insert(all.left.end(), next.left.begin(), next.left.end());
      }
      return all;
    };
    const Sound first = render();
    EXPECT_GT(peak(first.left), 0.1F);
    EXPECT_EQ(render(), first) << uri;
  }
}

TEST(Unit, WorkWithinTheBlockIsAnsweredBeforeTheNext) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:worker").unit);
  player.send(0x90, 100, 1);
  player.send(0x90, 28, 1);
  EXPECT_EQ(player.block(8).left, constant(8, 0.0F));
  const Sound after = player.block(8);
  EXPECT_EQ(after.left, constant(8, 256.0F / 1024));
  EXPECT_EQ(after.right, constant(8, 0.0F)) << "each run was ended once";
}

TEST(Unit, WorkOnItsThreadIsAnsweredInTheEnd) {
  const Stage stage(Bundles::zoo, WorkerMode::thread);
  Player player(stage.make("urn:vrel:zoo:worker").unit);
  player.send(0x90, 100, 1);
  float level = 0;
  while (level == 0) {
    level = player.block(8).left[0];
    std::this_thread::yield();
  }
  EXPECT_EQ(level, 200.0F / 1024);
}

TEST(Unit, AWorkerMessageThatIsTooLongIsRefused) {
  constexpr float noSpace = 2;  // the plug-in interface's number for it
  for (const WorkerMode mode : {WorkerMode::withinBlock, WorkerMode::thread}) {
    const Stage stage(Bundles::zoo, mode);
    Player player(stage.make("urn:vrel:zoo:worker").unit);
    player.send(0x90, 1, 1);
    EXPECT_EQ(player.block(8).right, constant(8, noSpace));
    EXPECT_EQ(stage.settings.counters->refusedWork, 1U);
    EXPECT_EQ(player.block(8).left, constant(8, 0.0F));
  }
}

TEST(Unit, AResetForgetsPendingEventsAndStopsWhatSounds) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:sine").unit);
  player.send(0x90, 60, 127);
  EXPECT_GT(peak(player.play(512).left), 0.5F);
  player.send(0x90, 72, 127);
  player.unit().reset();
  EXPECT_EQ(peak(player.play(512).left), 0.0F);
  player.send(0x90, 60, 127);
  EXPECT_GT(peak(player.play(512).left), 0.5F);
}

TEST(Unit, ABlockThatMeetsTheControlHalfIsSilentAndItsEventsWait) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:mono").unit);
  player.send(0x90, 60, 100);
  auto& processor = dynamic_cast<Lv2Processor&>(player.processor());
  const Outcome outcome = processor.withPlugin([&player](HostedPlugin&) -> Outcome {
    EXPECT_EQ(player.block(16).left, constant(16, 0));
    return std::nullopt;
  });
  EXPECT_FALSE(outcome);
  EXPECT_EQ(stage.settings.counters->skippedBlocks, 1U);
  EXPECT_EQ(player.block(16).left, constant(16, 0.5F));
}

TEST(Unit, PreparingForTheSameRateChangesNothing) {
  const Stage stage;
  Player player(stage.make("urn:vrel:zoo:mono").unit);
  player.send(0x90, 60, 100);
  player.block(16);
  player.processor().prepare(48000);
  EXPECT_EQ(player.block(16).left, constant(16, 0.5F)) << "a recreated copy would have forgotten the key";
}

TEST(Unit, ControlsThatAreTheHostsToSayAreFedInEveryBlock) {
  for (const WorkerMode mode : {WorkerMode::withinBlock, WorkerMode::thread}) {
    const Stage stage(Bundles::zoo, mode);
    const std::shared_ptr<AVAudioUnit> unit = stage.make("urn:vrel:zoo:hostaware").unit;
    Player player(unit);
    const float isRender = mode == WorkerMode::withinBlock ? 1.0F : 0.0F;
    EXPECT_EQ(player.block(11).left, (std::vector<float>{0.5F, isRender, 1, 0, 0, 0, 0, 0, 0, 0, 0}))
        << "no time is known yet";
    double beat = 7.5;
    unit->auAudioUnit().setMusicalContextBlock([&](double* tempo, double* numerator, std::int64_t* denominator,
                                                   double* position, std::int64_t* /*offset*/, double* downbeat) {
      *tempo = 90;
      *numerator = 4;
      *denominator = 4;
      *position = beat;
      *downbeat = 4;
      return true;
    });
    unit->auAudioUnit().setTransportStateBlock([](std::uint64_t* flags, double* samplePosition, double*, double*) {
      *flags = transportStateMoving;
      *samplePosition = 240000;
      return true;
    });
    EXPECT_EQ(player.block(11).left, (std::vector<float>{0.5F, isRender, 1, 90, 1, 7.5F, 1, 3.5F, 4, 4, 240000}));
    beat = 7.75;
    EXPECT_EQ(player.block(11).left[5], 7.75F);
  }
}

TEST(Unit, WhatTheHostSaysIsNoPartOfTheState) {
  const Stage stage;
  const std::shared_ptr<AVAudioUnit> unit = stage.make("urn:vrel:zoo:hostaware").unit;
  PropertyListDictionary state = *unit->auAudioUnit().fullStateForDocument();
  auto& ports = std::get<PropertyListDictionary>(state["ports"].content);
  EXPECT_EQ(ports.size(), 1U);
  EXPECT_TRUE(ports.contains("level"));
  ports["enabled"] = {0.0};
  unit->auAudioUnit().setFullStateForDocument(state);
  EXPECT_EQ(Player(unit).block(11).left[2], 1);
}

TEST(Unit, TheMainThreadMayDoAnythingWhileBlocksRender) {
  const Stage stage(Bundles::zoo, WorkerMode::thread);
  for (const char* uri : {"urn:vrel:zoo:sine", "urn:vrel:zoo:worker", "urn:vrel:zoo:state"}) {
    Player player(stage.make(uri).unit);
    std::atomic<bool> isDone{false};
    std::atomic<int> blocks{0};
    std::thread renderer([&player, &isDone, &blocks] {
      while (!isDone) {
        player.block(64);
        ++blocks;
      }
    });
    while (blocks == 0) {
      std::this_thread::yield();
    }
    for (std::uint8_t round = 0; round < 100; ++round) {
      player.send(0x90, 20 + round % 70, 100);
      player.instrument().setVolume(static_cast<float>(round) / 100);
      const auto state = player.unit().auAudioUnit().fullStateForDocument();
      player.send(0x80, 20 + round % 70, 0);
      player.unit().auAudioUnit().setFullStateForDocument(*state);
      player.unit().reset();
    }
    isDone = true;
    renderer.join();
    EXPECT_TRUE(stage.lines().empty()) << uri;
  }
}

}  // namespace
}  // namespace vrel::lv2
