// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/meter_readings.h"

#include <cmath>
#include <map>
#include <memory>
#include <optional>

#include "support/raw_peaks.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

constexpr double oneTick = 1 / MeterBar::refreshRate;

class Readings : public SimulatedStage {
 protected:
  static void raise(AudioChannel& channel, float left, float right) { test::setRawPeaks(channel, {left, right}); }
  void run(int ticks) {
    for (int tick = 0; tick < ticks; ++tick) {
      readings->tick();
    }
  }

  /// What is shown of a channel.
  const MeterCell& shown(const AudioChannel& channel) { return *cells.at(channel.id); }
  float displayed(const AudioChannel& channel) { return shown(channel).left.displayed.load(); }

  AudioChannel& master() { return *engine->masterChannel(); }

  std::map<Uuid, std::shared_ptr<MeterCell>> cells;
  std::optional<MeterReadings> readings{std::in_place, *engine, mainQueue, [this](const AudioChannel& channel) {
                                          return cells[channel.id] = std::make_shared<MeterCell>();
                                        }};
  std::shared_ptr<AudioChannel> strip = engine->addChannel("Piano");
};

TEST_F(Readings, TakeTheRawPeaksOfStripsAndMasterOnce) {
  raise(*strip, 0.5F, 0.25F);
  raise(master(), 0.75F, 1.0F);
  mainQueue.advance(oneTick);
  EXPECT_EQ(strip->peakL.get(), 0.5F);
  EXPECT_EQ(strip->peakR.get(), 0.25F);
  EXPECT_EQ(test::rawPeaks(*strip).left, 0.0F);
  EXPECT_EQ(test::rawPeaks(*strip).right, 0.0F);
  EXPECT_EQ(master().peakL.get(), 0.75F);
  EXPECT_EQ(master().peakR.get(), 1.0F);
}

TEST_F(Readings, ALowerPeakLeavesADisplayedOneToItsDecay) {
  raise(*strip, 0.5F, 0.0F);
  mainQueue.advance(oneTick);
  raise(*strip, 0.125F, 0.0F);
  mainQueue.advance(2 * oneTick);
  EXPECT_EQ(test::rawPeaks(*strip).left, 0.0F);
  EXPECT_GT(strip->peakL.get(), 0.4F);
  EXPECT_LT(strip->peakL.get(), 0.5F);
}

TEST_F(Readings, ASilentStripNotifiesNoChange) {
  int changes = 0;
  const auto connection = strip->peakL.changed.connect([&](float) { ++changes; });
  mainQueue.advance(1.0);
  EXPECT_EQ(changes, 0);
}

TEST_F(Readings, EndWithTheirObject) {
  readings.reset();
  raise(*strip, 0.5F, 0.5F);
  mainQueue.advance(1.0);
  EXPECT_EQ(test::rawPeaks(*strip).left, 0.5F);
}

TEST_F(Readings, RunAHundredAndTwentyTimesASecond) {
  raise(*strip, 1, 1);
  mainQueue.advance(oneTick / 2);
  EXPECT_EQ(strip->peakL.get(), 0.0F);
  mainQueue.advance(oneTick);
  EXPECT_EQ(strip->peakL.get(), 1.0F);
}

TEST_F(Readings, AMeterThatComesUpOnlyLooksAtItsFirstTick) {
  raise(*strip, 1, 0);
  run(1);
  EXPECT_EQ(displayed(*strip), 0);
  run(1);
  EXPECT_FLOAT_EQ(displayed(*strip), 0.98F);
  EXPECT_FLOAT_EQ(shown(*strip).left.hold.load(), 0.98F);
  EXPECT_EQ(shown(*strip).right.displayed.load(), 0.0F);
}

TEST_F(Readings, EachChannelOfTheStripHasABarOfItsOwn) {
  run(1);
  raise(*strip, 0, 1);
  run(1);
  EXPECT_EQ(shown(*strip).left.displayed.load(), 0.0F);
  EXPECT_FLOAT_EQ(shown(*strip).right.displayed.load(), 0.98F);
}

TEST_F(Readings, TwoStripsAtSixTenthsFillTheMasterAtUnity) {
  const auto second = engine->addChannel("Organ");
  master().volume.set(0.75F);
  run(1);
  raise(*strip, 0.6F, 0.3F);
  raise(*second, 0.6F, 0.3F);
  run(20);
  EXPECT_NEAR(displayed(master()), 1, 1e-6);
  EXPECT_NEAR(shown(master()).right.displayed.load(), meterProportion(0.6), 1e-6);
  EXPECT_EQ(master().peakL.get(), 0.0F);  // its own tap has delivered nothing
}

TEST_F(Readings, AMutedMasterShowsItsOwnReadingOnly) {
  master().volume.set(0.75F);
  master().mute.set(true);
  run(1);
  raise(*strip, 1, 1);
  run(20);
  EXPECT_EQ(displayed(master()), 0);
  raise(master(), 0.25F, 0);
  run(20);
  EXPECT_NEAR(displayed(master()), meterProportion(0.25), 1e-6);
}

TEST_F(Readings, AClosedMasterFaderAddsNothing) {
  master().volume.set(0);
  run(1);
  raise(*strip, std::numeric_limits<float>::infinity(), 1);
  run(2);
  EXPECT_EQ(displayed(master()), 0);
}

TEST_F(Readings, TheStripInAPlaceTakesOverItsMeterWhichFallsFromThere) {
  run(1);
  raise(*strip, 1, 1);
  run(1);
  const double before = displayed(*strip);
  engine->removeChannel(*strip);
  const auto next = engine->addChannel("Next song");
  run(1);
  EXPECT_LT(displayed(*next), before);
  EXPECT_GT(displayed(*next), before / 2);
  run(60);
  EXPECT_LT(displayed(*next), 0.001);
}

TEST_F(Readings, AStripThatIsGoneLeavesNoMeter) {
  const auto second = engine->addChannel("Organ");
  run(1);
  engine->removeChannel(*second);
  run(1);
  EXPECT_EQ(cells.at(second->id).use_count(), 1);
}

}  // namespace
}  // namespace vrel
