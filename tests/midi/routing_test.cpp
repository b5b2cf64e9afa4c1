// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "midi/midi_router.h"
#include "midi/routing_rules.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

using std::uint8_t;

class VisualRecorder : public VisualNoteTarget {
 public:
  void noteOn(uint8_t note, AudioChannel& channel) override { calls.push_back("on " + text(note, channel)); }
  void noteOff(uint8_t note, AudioChannel& channel) override { calls.push_back("off " + text(note, channel)); }
  Lines calls;

 private:
  static std::string text(uint8_t note, const AudioChannel& channel) {
    return std::to_string(note) + " " + channel.name.get();
  }
};

class PlaybackRecorder : public PlaybackTarget {
 public:
  void triggerPlayback(AudioChannel& channel) override { calls.push_back(channel.name.get()); }
  Lines calls;
};

class Routing : public SimulatedStage {
 protected:
  Routing() {
    engine->midiCallbacks.onMidiNoteActivity = [this](uint8_t note, bool isOn) {
      callbacks.push_back("activity " + std::to_string(note) + (isOn ? " on" : " off"));
    };
    engine->midiCallbacks.onMidiControlMessage = [this](uint8_t status, uint8_t data1, uint8_t data2) {
      callbacks.push_back("control " + text(status, data1, data2));
    };
    engine->midiCallbacks.onMidiPerformanceControlMessage = [this](uint8_t status, uint8_t data1, uint8_t data2) {
      callbacks.push_back("performance " + text(status, data1, data2));
    };
    engine->midiRouter().setVisualNoteTarget(&visuals);
    engine->midiRouter().setPlaybackTarget(&playbacks);
  }

  static std::string text(uint8_t status, uint8_t data1, uint8_t data2) {
    return std::to_string(status) + " " + std::to_string(data1) + " " + std::to_string(data2);
  }

  /// What one instrument alone on stage gets for this message.
  Events routed(uint8_t status, uint8_t data1, uint8_t data2) {
    strip.instrument->events.clear();
    engine->routeMIDI(status, data1, data2);
    return strip.instrument->events;
  }

  [[nodiscard]] AudioChannel& channel() { return *strip.channel; }

  Lines callbacks;
  VisualRecorder visuals;
  PlaybackRecorder playbacks;
  Strip strip = addStrip("Piano");
};

TEST_F(Routing, AStoppedEngineRaisesNoCallbackAndSendsNothing) {
  graph().stop();
  EXPECT_EQ(routed(0x90, 60, 100), Events{});
  EXPECT_EQ(routed(0xB0, 7, 100), Events{});
  engine->sendPerformanceMIDI(0xB0, 64, 127);
  engine->panic();
  EXPECT_EQ(strip.instrument->events, Events{});
  EXPECT_TRUE(callbacks.empty());
  EXPECT_FALSE(graph().isRunning());
}

TEST_F(Routing, NoteOutsideTheSplitReachesNothing) {
  channel().minNote.set(60);
  channel().maxNote.set(72);
  EXPECT_EQ(routed(0x90, 59, 100), Events{});
  EXPECT_EQ(routed(0x90, 73, 100), Events{});
  EXPECT_EQ(routed(0x90, 60, 100), (Events{{0x90, 60, 100}}));
  EXPECT_EQ(routed(0x90, 72, 100), (Events{{0x90, 72, 100}}));
}

TEST_F(Routing, ASplitOfOneKeyTakesThatKeyAlone) {
  channel().minNote.set(60);
  channel().maxNote.set(60);
  for (int note = 0; note < 128; ++note) {
    EXPECT_EQ(routed(0x90, static_cast<uint8_t>(note), 1).size(), note == 60 ? 1U : 0U) << note;
  }
}

TEST_F(Routing, ASplitTheWrongWayRoundTakesNoNoteButStillBendsAndControllers) {
  channel().minNote.set(61);
  channel().maxNote.set(60);
  EXPECT_EQ(routed(0x90, 60, 100), Events{});
  EXPECT_EQ(routed(0x90, 61, 100), Events{});
  EXPECT_EQ(routed(0xA0, 60, 100), Events{});
  EXPECT_EQ(routed(0xE0, 1, 2), (Events{{0xE0, 1, 2}}));
  EXPECT_EQ(routed(0xB0, 7, 2), (Events{{0xB0, 7, 2}}));
  EXPECT_EQ(routed(0xD0, 9, 0), (Events{{0xD0, 9, 0}}));
}

TEST_F(Routing, TheSplitIsTestedOnTheNoteAsPlayed) {
  channel().minNote.set(60);
  channel().maxNote.set(60);
  channel().transpose.set(12);
  EXPECT_EQ(routed(0x90, 60, 100), (Events{{0x90, 72, 100}}));
  EXPECT_EQ(routed(0x90, 48, 100), Events{});
}

TEST_F(Routing, TransposeStopsAtBothEndsOfTheKeyboard) {
  channel().transpose.set(-24);
  EXPECT_EQ(routed(0x90, 10, 100), (Events{{0x90, 0, 100}}));
  channel().transpose.set(24);
  EXPECT_EQ(routed(0x90, 110, 100), (Events{{0x90, 127, 100}}));
  channel().transpose.set(12);
  EXPECT_EQ(routed(0x90, 120, 100), (Events{{0x90, 127, 100}}));
  EXPECT_EQ(routed(0x90, 127, 100), (Events{{0x90, 127, 100}}));
  channel().transpose.set(-128);
  EXPECT_EQ(routed(0x80, 127, 0), (Events{{0x80, 0, 0}}));
}

TEST_F(Routing, ANoteOnWithoutVelocityIsANoteOffForTheInterfaceAndGoesOnAsItCame) {
  channel().transpose.set(3);
  EXPECT_EQ(routed(0x90, 60, 0), (Events{{0x90, 63, 0}}));
  EXPECT_EQ(callbacks, (Lines{"activity 60 off", "control 144 60 0"}));
}

TEST_F(Routing, CallbacksRunBeforeTheChannelsGetTheMessage) {
  std::vector<std::size_t> eventsBefore;
  engine->midiCallbacks.onMidiNoteActivity = [&](uint8_t, bool) {
    eventsBefore.push_back(strip.instrument->events.size());
  };
  engine->midiCallbacks.onMidiPerformanceControlMessage = [&](uint8_t, uint8_t, uint8_t) {
    eventsBefore.push_back(strip.instrument->events.size());
  };
  routed(0x90, 60, 100);
  routed(0xB0, 7, 100);
  EXPECT_EQ(eventsBefore, (std::vector<std::size_t>{0, 0}));
}

TEST_F(Routing, AStripWithoutAPathGetsNothingButThePanic) {
  channel().pluginPath.set("");
  EXPECT_EQ(routed(0x90, 60, 100), Events{});
  EXPECT_EQ(routed(0xE0, 1, 2), Events{});
  engine->sendPerformanceMIDI(0xB0, 64, 127);
  EXPECT_EQ(strip.instrument->events, Events{});
  engine->panic();
  EXPECT_EQ(strip.instrument->events.size(), 192U);
}

TEST_F(Routing, CallbacksRunInOrderAndOnlyForTheirMessages) {
  const std::vector<std::tuple<int, int, int, Lines>> cases{
      {0x83, 60, 5, {"activity 60 off", "control 131 60 5"}},
      {0x92, 60, 5, {"activity 60 on", "control 146 60 5"}},
      {0xB1, 7, 5, {"control 177 7 5", "performance 177 7 5"}},
      {0xE1, 7, 5, {"control 225 7 5", "performance 225 7 5"}},
      {0xA0, 60, 5, {}},
      {0xC5, 10, 0, {}},
      {0xD0, 60, 0, {}},
      {0xF0, 60, 5, {}},
      {0xFA, 0, 0, {}},
      {0x45, 60, 5, {}},
  };
  for (const auto& [status, data1, data2, expected] : cases) {
    callbacks.clear();
    engine->routeMIDI(static_cast<uint8_t>(status), static_cast<uint8_t>(data1), static_cast<uint8_t>(data2));
    EXPECT_EQ(callbacks, expected) << status;
  }
}

TEST_F(Routing, WorksWithoutCallbacks) {
  engine->midiCallbacks = {};
  EXPECT_EQ(routed(0x90, 60, 1), (Events{{0x90, 60, 1}}));
  EXPECT_EQ(routed(0xB0, 7, 1), (Events{{0xB0, 7, 1}}));
}

TEST_F(Routing, ProgramChangeAndSystemMessagesReachNoInstrument) {
  for (const int status : {0xC5, 0xF0, 0xF2, 0xF8, 0xFA, 0xFC, 0xFF, 0x00, 0x3C, 0x7F}) {
    EXPECT_EQ(routed(static_cast<uint8_t>(status), 10, 0), Events{}) << status;
  }
  EXPECT_TRUE(callbacks.empty());
}

TEST_F(Routing, BankSelectIsLearnableAndReachesNoInstrument) {
  EXPECT_EQ(routed(0xB0, 32, 1), Events{});
  EXPECT_EQ(routed(0xB0, 0, 1), Events{});
  EXPECT_EQ(callbacks, (Lines{"control 176 32 1", "performance 176 32 1", "control 176 0 1", "performance 176 0 1"}));
}

TEST_F(Routing, OtherControllersGoOnUnchanged) {
  for (const int controller : {1, 2, 7, 33, 63, 65, 120, 123, 127}) {
    const auto number = static_cast<uint8_t>(controller);
    EXPECT_EQ(routed(0xB7, number, 99), (Events{{0xB7, controller, 99}}));
  }
}

TEST_F(Routing, EveryInstrumentGetsBendsWithTheirChannelNibble) {
  const auto second = addStrip("Organ");
  EXPECT_EQ(routed(0xE3, 0, 64), (Events{{0xE3, 0, 64}}));
  EXPECT_EQ(second.instrument->events, (Events{{0xE3, 0, 64}}));
}

TEST_F(Routing, TheProgramIsOmniAndBytesStayRaw) {
  EXPECT_EQ(routed(0x9F, 60, 200), (Events{{0x9F, 60, 200}}));
  channel().maxNote.set(255);
  EXPECT_EQ(routed(0x95, 200, 90), (Events{{0x95, 127, 90}})) << "an unmasked note is limited by the transposition";
}

TEST_F(Routing, PolyphonicAftertouchIsSplitAndTransposedLikeANote) {
  channel().minNote.set(60);
  channel().transpose.set(2);
  EXPECT_EQ(routed(0xA0, 60, 50), (Events{{0xA0, 62, 50}}));
  EXPECT_EQ(routed(0xA0, 59, 50), Events{});
}

TEST_F(Routing, SustainFollowsItsSwitch) {
  EXPECT_EQ(routed(0xB0, 64, 127), (Events{{0xB0, 64, 127}}));
  channel().sendSustain.set(false);
  EXPECT_EQ(routed(0xB0, 64, 127), Events{});
}

TEST_F(Routing, ExpressionFollowsItsSwitch) {
  EXPECT_EQ(routed(0xB0, 11, 90), (Events{{0xB0, 11, 90}}));
  channel().sendExpression.set(false);
  EXPECT_EQ(routed(0xB0, 11, 90), Events{});
}

TEST_F(Routing, TheRotorTakesTheSustainPedalWhateverTheSwitchSays) {
  channel().sustainControlsRotor.set(true);
  EXPECT_EQ(routed(0xB0, 64, 127), (Events{{0xB0, 1, 127}}));
  EXPECT_EQ(routed(0xB0, 64, 10), (Events{{0xB0, 1, 0}}));
  channel().sendSustain.set(false);
  EXPECT_EQ(routed(0xB0, 64, 127), (Events{{0xB0, 1, 127}}));
}

TEST_F(Routing, TheRotorSwitchesAtHalfTheTravelAndRepeatsEveryPedalMove) {
  channel().sustainControlsRotor.set(true);
  EXPECT_EQ(routed(0xB2, 64, 63), (Events{{0xB2, 1, 0}}));
  EXPECT_EQ(routed(0xB2, 64, 64), (Events{{0xB2, 1, 127}}));
  EXPECT_EQ(routed(0xB2, 64, 65), (Events{{0xB2, 1, 127}}));
  EXPECT_EQ(routed(0xB2, 64, 128), (Events{{0xB2, 1, 127}}));
}

TEST_F(Routing, MuteAndSoloKeepNoMessageAway) {
  const auto other = addStrip("Soloed");
  other.channel->solo.set(true);
  channel().mute.set(true);
  EXPECT_EQ(routed(0x90, 60, 100), (Events{{0x90, 60, 100}}));
}

TEST_F(Routing, ANoteOffIsRoutedByTheSettingsOfItsOwnMoment) {
  routed(0x90, 60, 100);
  channel().transpose.set(5);
  EXPECT_EQ(routed(0x80, 60, 0), (Events{{0x80, 65, 0}}));
}

TEST_F(Routing, AVisualChannelTakesNotesUntransposedAndNothingElse) {
  const auto clips = engine->addChannel("Clips");
  engine->instruments().loadVisualInstrument(*clips, {}, nullptr);
  clips->minNote.set(60);
  clips->maxNote.set(62);
  clips->transpose.set(12);
  engine->routeMIDI(0x90, 60, 100);
  engine->routeMIDI(0x90, 60, 0);
  engine->routeMIDI(0x80, 61, 0);
  engine->routeMIDI(0x90, 63, 100);
  engine->routeMIDI(0xA0, 60, 100);
  engine->routeMIDI(0xB0, 61, 100);
  EXPECT_EQ(visuals.calls, (Lines{"on 60 Clips", "off 60 Clips", "off 61 Clips"}));
}

TEST_F(Routing, ANoteOnStartsAPlaybackThatHasAFileAndANoteOffDoesNothing) {
  const auto file = engine->addChannel("Track");
  file->pluginPath.set("internal:playback");
  file->instrumentNode.set(std::make_shared<simulation::SimulatedPlayer>("player"));
  file->minNote.set(60);
  engine->routeMIDI(0x90, 60, 100);
  EXPECT_TRUE(playbacks.calls.empty()) << "no file is loaded";
  file->playbackBuffer.set(std::make_shared<AVAudioPCMBuffer>(AVAudioFormat{48000, 2}, std::uint32_t{1}));
  engine->routeMIDI(0x90, 59, 100);
  engine->routeMIDI(0x80, 60, 0);
  engine->routeMIDI(0x90, 60, 0);
  EXPECT_TRUE(playbacks.calls.empty());
  engine->routeMIDI(0x90, 60, 100);
  EXPECT_EQ(playbacks.calls, Lines{"Track"});
}

TEST_F(Routing, AStripWithAPathButNoNodeIsPassedOver) {
  const auto crashed = addStrip("Crashed");
  engine->instruments().simulatePluginCrash(*crashed.channel);
  EXPECT_EQ(routed(0x90, 60, 100), (Events{{0x90, 60, 100}}));
  EXPECT_TRUE(crashed.instrument->events.empty());
}

TEST_F(Routing, LayersGetEachTheirOwnTransposition) {
  const auto layer = addStrip("Layer");
  layer.channel->transpose.set(-12);
  EXPECT_EQ(routed(0x90, 60, 100), (Events{{0x90, 60, 100}}));
  EXPECT_EQ(layer.instrument->events, (Events{{0x90, 48, 100}}));
}

TEST_F(Routing, APerformanceMessageHonoursTheSwitchesAndTheRotorOnly) {
  channel().minNote.set(127);
  engine->sendPerformanceMIDI(0xB0, 64, 127);
  engine->sendPerformanceMIDI(0xB0, 11, 20);
  engine->sendPerformanceMIDI(0xB0, 0, 5);
  engine->sendPerformanceMIDI(0xE0, 1, 2);
  EXPECT_EQ(strip.instrument->events, (Events{{0xB0, 64, 127}, {0xB0, 11, 20}, {0xB0, 0, 5}, {0xE0, 1, 2}}));
  strip.instrument->events.clear();
  channel().sendSustain.set(false);
  channel().sendExpression.set(false);
  engine->sendPerformanceMIDI(0xB0, 64, 127);
  engine->sendPerformanceMIDI(0xB0, 11, 20);
  EXPECT_EQ(strip.instrument->events, Events{});
  channel().sustainControlsRotor.set(true);
  engine->sendPerformanceMIDI(0xB0, 64, 63);
  EXPECT_EQ(strip.instrument->events, (Events{{0xB0, 1, 0}}));
  EXPECT_TRUE(callbacks.empty());
}

TEST_F(Routing, PanicSends192EventsEndingWithTheHighestNoteOff) {
  engine->panic();
  const auto& events = strip.instrument->events;
  ASSERT_EQ(events.size(), 192U);
  for (int midiChannel = 0; midiChannel < 16; ++midiChannel) {
    const int status = 0xB0 + midiChannel;
    const auto first = static_cast<std::size_t>(midiChannel) * 4;
    EXPECT_EQ(events[first], (simulation::RecordedEvent{status, 64, 0}));
    EXPECT_EQ(events[first + 1], (simulation::RecordedEvent{status, 1, 0}));
    EXPECT_EQ(events[first + 2], (simulation::RecordedEvent{status, 121, 0}));
    EXPECT_EQ(events[first + 3], (simulation::RecordedEvent{status, 123, 0}));
  }
  for (int note = 0; note < 128; ++note) {
    EXPECT_EQ(events[64 + static_cast<std::size_t>(note)], (simulation::RecordedEvent{128, note, 0}));
  }
  EXPECT_TRUE(callbacks.empty());
}

TEST_F(Routing, PanicStopsPlayersAndLeavesTheirFieldsAlone) {
  const auto file = engine->addChannel("Track");
  const auto player = std::make_shared<simulation::SimulatedPlayer>("player");
  file->pluginPath.set("internal:playback");
  file->instrumentNode.set(player);
  file->playbackIsPlaying.set(true);
  engine->panic();
  EXPECT_EQ(player->stopCount, 1);
  EXPECT_TRUE(file->playbackIsPlaying.get());
}

}  // namespace
}  // namespace vrel
