// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/host_musical_context.h"

#include <cmath>
#include <memory>

#include "support/simulated_stage.h"

namespace vrel {
namespace {

class BeatClock : public SimulatedStage {
 protected:
  BeatClock() { context().setOutputSampleRate(48000.0); }

  [[nodiscard]] HostMusicalContext& context() { return engine->musicalContext(); }
  void wait(double seconds) {
    clock.setNanoseconds(clock.AudioGetCurrentHostTime() + static_cast<std::uint64_t>(seconds * 1e9));
  }

  struct Transport {
    bool isPlaying = false;
    bool isRecording = true;
    bool changed = false;
    double sample = -1;
    bool isCycling = true;
    double cycleStart = -1;
    double cycleEnd = -1;
  };
  Transport transport() {
    Transport result;
    const auto info = context().hostCallbackInfo();
    EXPECT_EQ(info.transportStateProc2(info.hostUserData, &result.isPlaying, &result.isRecording, &result.changed,
                                       &result.sample, &result.isCycling, &result.cycleStart, &result.cycleEnd),
              0);
    return result;
  }
};

TEST_F(BeatClock, TwoSecondsAfterCreationAt120ItIsAtBeatFour) {
  wait(2.0);
  EXPECT_DOUBLE_EQ(context().currentBeat(), 4.0);
  EXPECT_DOUBLE_EQ(context().currentMoment().measureDownbeat(), 4.0);
  EXPECT_EQ(context().currentMoment().sampleOffsetToNextBeat(), 0);
  EXPECT_DOUBLE_EQ(context().currentMoment().samplePosition(), 96000.0);
}

TEST_F(BeatClock, ABeatOfSevenAndAHalfHasDownbeatFourAndHalfABeatToGo) {
  wait(3.75);
  EXPECT_DOUBLE_EQ(context().currentBeat(), 7.5);
  EXPECT_DOUBLE_EQ(context().currentMoment().measureDownbeat(), 4.0);
  EXPECT_EQ(context().currentMoment().sampleOffsetToNextBeat(), 12000);
}

TEST_F(BeatClock, ARestartByAGraphChangeFollowsTheOutputsRate) {
  engine->ensureEngineRunning("test");
  auto& output = dynamic_cast<simulation::SimulatedNode&>(*engine->engine().outputNode());
  output.format.sampleRate = 96000;
  engine->performGraphMutation("a change", [] {});
  wait(2.0);
  EXPECT_DOUBLE_EQ(context().currentMoment().samplePosition(), 192000.0);
}

TEST_F(BeatClock, TempoIsLimited) {
  engine->setTempo(10);
  EXPECT_EQ(context().currentTempoBpm(), 20.0);
  engine->setTempo(500);
  EXPECT_EQ(context().currentTempoBpm(), 300.0);
}

TEST_F(BeatClock, TheBeatIsContinuousOverATempoChange) {
  wait(1.3);
  const double before = context().currentBeat();
  engine->setTempo(90);
  EXPECT_DOUBLE_EQ(context().currentBeat(), before);
  wait(1.0);
  EXPECT_DOUBLE_EQ(context().currentBeat(), before + 1.5);
}

TEST_F(BeatClock, AfterATempoChangeTheTransportCountsAsChangedForOneSecond) {
  EXPECT_FALSE(transport().changed);
  engine->setTempo(100);
  EXPECT_TRUE(transport().changed);
  wait(1.0);
  EXPECT_TRUE(transport().changed);
  wait(0.001);
  EXPECT_FALSE(transport().changed);
}

TEST_F(BeatClock, AnOutputWithoutARateCountsAs44100) {
  context().setOutputSampleRate(0.0);
  wait(1.0);
  EXPECT_DOUBLE_EQ(context().currentMoment().samplePosition(), 44100.0);
}

TEST_F(BeatClock, TheRateIsThatOfTheOutputAsOfTheLastStart) {
  wait(1.0);
  dynamic_cast<simulation::SimulatedNode&>(*graph().outputNode()).format.sampleRate = 96000.0;
  engine->ensureEngineRunning("initialization");
  EXPECT_DOUBLE_EQ(context().currentMoment().samplePosition(), 96000.0);
}

TEST_F(BeatClock, TheRateIsThatOfTheOutputAlsoBeforeTheFirstStart) {
  simulation::SimulatedNodeFactory otherNodes;
  const auto other = AudioEngine::make({otherNodes, units, mainQueue, queues, clock, propertyLists, console});
  wait(1.0);
  EXPECT_DOUBLE_EQ(other->musicalContext().currentMoment().samplePosition(), 48000.0);
}

TEST_F(BeatClock, TimeBeforeTheAnchorCountsAsNoTime) {
  clock.setNanoseconds(5);
  EXPECT_DOUBLE_EQ(context().currentBeat(), 0.0);
}

TEST_F(BeatClock, ASongSwitchStopsTheTransportAtBeatZeroAndItsEndMovesItAgain) {
  wait(5.0);
  context().songSwitchBegan(500);
  EXPECT_EQ(context().currentTempoBpm(), 300.0);
  EXPECT_DOUBLE_EQ(context().currentBeat(), 0.0);
  EXPECT_FALSE(transport().isPlaying);
  wait(1.0);
  EXPECT_DOUBLE_EQ(context().currentBeat(), 5.0) << "the flag alone stops, the beat counts on";
  context().songSwitchEnded();
  EXPECT_DOUBLE_EQ(context().currentBeat(), 0.0);
  EXPECT_TRUE(transport().isPlaying);
  EXPECT_EQ(context().currentTempoBpm(), 300.0);
  wait(2.0);
  EXPECT_TRUE(transport().changed);
  wait(0.001);
  EXPECT_FALSE(transport().changed);
  context().songSwitchBegan(5);
  EXPECT_EQ(context().currentTempoBpm(), 20.0);
}

TEST_F(BeatClock, AnInstrumentLoadedWithStateSeesAChangeForOneSecond) {
  const auto channel = engine->addChannel("A");
  const auto node = std::make_shared<simulation::ScriptedInstrument>("Piano");
  engine->instruments().installInstrumentNode(*channel, node, pianoKey, "Piano", std::nullopt);
  EXPECT_FALSE(transport().changed);
  engine->instruments().installInstrumentNode(*channel, node, pianoKey, "Piano", "no state at all");
  EXPECT_TRUE(transport().changed) << "also when the state did not decode";
}

TEST_F(BeatClock, TheProceduresFillEveryOutput) {
  wait(3.75);
  const auto info = context().hostCallbackInfo();
  double beat = 0;
  double tempo = 0;
  EXPECT_EQ(info.beatAndTempoProc(info.hostUserData, &beat, &tempo), 0);
  EXPECT_DOUBLE_EQ(beat, 7.5);
  EXPECT_DOUBLE_EQ(tempo, 120.0);
  std::uint32_t delta = 0;
  float numerator = 0;
  std::uint32_t denominator = 0;
  double downbeat = 0;
  EXPECT_EQ(info.musicalTimeLocationProc(info.hostUserData, &delta, &numerator, &denominator, &downbeat), 0);
  EXPECT_EQ(delta, 12000U);
  EXPECT_EQ(numerator, 4.0F);
  EXPECT_EQ(denominator, 4U);
  EXPECT_DOUBLE_EQ(downbeat, 4.0);
  const auto state = transport();
  EXPECT_TRUE(state.isPlaying);
  EXPECT_FALSE(state.isRecording);
  EXPECT_DOUBLE_EQ(state.sample, 3.75 * 48000.0);
  EXPECT_FALSE(state.isCycling);
  EXPECT_EQ(state.cycleStart, 0.0);
  EXPECT_EQ(state.cycleEnd, 0.0);
  bool isPlaying = false;
  bool changed = true;
  double sample = 0;
  EXPECT_EQ(info.transportStateProc(info.hostUserData, &isPlaying, &changed, &sample, nullptr, nullptr, nullptr), 0);
  EXPECT_TRUE(isPlaying);
  EXPECT_FALSE(changed);
  EXPECT_DOUBLE_EQ(sample, state.sample);
}

TEST_F(BeatClock, TheProceduresLeaveNullOutputsAloneAndRefuseANullHost) {
  const auto info = context().hostCallbackInfo();
  EXPECT_EQ(info.beatAndTempoProc(info.hostUserData, nullptr, nullptr), 0);
  EXPECT_EQ(info.musicalTimeLocationProc(info.hostUserData, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(info.transportStateProc(info.hostUserData, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(info.transportStateProc2(info.hostUserData, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
            0);
  EXPECT_EQ(info.beatAndTempoProc(nullptr, nullptr, nullptr), -10863);
  EXPECT_EQ(info.musicalTimeLocationProc(nullptr, nullptr, nullptr, nullptr, nullptr), -10863);
  EXPECT_EQ(info.transportStateProc(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), -10863);
  EXPECT_EQ(info.transportStateProc2(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), -10863);
}

TEST_F(BeatClock, TheBlocksGiveTheContextAndNeverTheChangedFlag) {
  wait(3.75);
  engine->setTempo(120);
  double tempo = 0;
  double numerator = 0;
  std::int64_t denominator = 0;
  double beat = 0;
  std::int64_t offset = 0;
  double downbeat = 0;
  EXPECT_TRUE(context().musicalContextBlock()(&tempo, &numerator, &denominator, &beat, &offset, &downbeat));
  EXPECT_EQ(tempo, 120.0);
  EXPECT_EQ(numerator, 4.0);
  EXPECT_EQ(denominator, 4);
  EXPECT_DOUBLE_EQ(beat, 7.5);
  EXPECT_EQ(offset, 12000);
  EXPECT_EQ(downbeat, 4.0);
  std::uint64_t flags = 0;
  double sample = 0;
  double cycleStart = -1;
  double cycleEnd = -1;
  EXPECT_TRUE(context().transportStateBlock()(&flags, &sample, &cycleStart, &cycleEnd));
  EXPECT_EQ(flags, 2U) << "moving, and nothing of the change";
  EXPECT_DOUBLE_EQ(sample, 3.75 * 48000.0);
  EXPECT_EQ(cycleStart, 0.0);
  EXPECT_EQ(cycleEnd, 0.0);
  EXPECT_TRUE(context().musicalContextBlock()(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
  context().songSwitchBegan(120);
  EXPECT_TRUE(context().transportStateBlock()(&flags, nullptr, nullptr, nullptr));
  EXPECT_EQ(flags, 0U);
}

/// A clock that goes on by a millisecond whenever it is read, as a real one does between two readings.
class GoingClock : public simulation::VirtualClock {
 public:
  [[nodiscard]] std::uint64_t AudioGetCurrentHostTime() const override { return time_ += 1'000'000; }

 private:
  mutable std::uint64_t time_ = 0;
};

TEST_F(BeatClock, OneAnswerDescribesOneMomentAlsoAtTheEndOfABeat) {
  const GoingClock going;
  const auto music = std::make_shared<HostMusicalContext>(going);
  music->setOutputSampleRate(48000.0);
  const auto block = music->musicalContextBlock();
  constexpr double framesPerBeat = 24000.0;
  for (int call = 0; call < 5000; ++call) {
    double beat = 0;
    std::int64_t offset = 0;
    double downbeat = 0;
    ASSERT_TRUE(block(nullptr, nullptr, nullptr, &beat, &offset, &downbeat));
    ASSERT_EQ(downbeat, std::floor(beat / 4) * 4);
    ASSERT_NEAR(static_cast<double>(offset), (std::ceil(beat) - beat) * framesPerBeat, 0.51) << beat;
  }
}

TEST_F(BeatClock, ABlockThatOutlivesTheEngineReportsSo) {
  const auto strip = addStrip("Piano");
  const auto musical = strip.instrument->core.musicalContextBlock;
  const auto transportBlock = strip.instrument->core.transportStateBlock;
  EXPECT_TRUE(musical(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
  engine.reset();
  EXPECT_FALSE(musical(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
  EXPECT_FALSE(transportBlock(nullptr, nullptr, nullptr, nullptr));
}

TEST_F(BeatClock, APluginWithALowLevelHandleGetsTheProceduresTooAndItsRefusalIsLogged) {
  const auto channel = engine->addChannel("A");
  const auto node = std::make_shared<simulation::ScriptedInstrument>("Piano");
  node->handle.emplace();
  node->handle->status = -10879;
  engine->instruments().installInstrumentNode(*channel, node, pianoKey, "Piano", std::nullopt);
  double tempo = 0;
  EXPECT_EQ(node->handle->info.beatAndTempoProc(node->handle->info.hostUserData, nullptr, &tempo), 0);
  EXPECT_EQ(tempo, 120.0);
  EXPECT_EQ(console.lines, Lines{"Failed to set AU host callbacks: -10879"});
  EXPECT_NE(node->core.musicalContextBlock, nullptr);
}

}  // namespace
}  // namespace vrel
