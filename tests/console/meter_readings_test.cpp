// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/meter_readings.h"

#include <memory>
#include <optional>

#include "support/raw_peaks.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

constexpr double oneReading = 1.0 / MeterReadings::refreshRate;

class Readings : public SimulatedStage {
 protected:
  static void raise(AudioChannel& channel, float left, float right) { test::setRawPeaks(channel, {left, right}); }

  std::optional<MeterReadings> readings{std::in_place, *engine, mainQueue};
  std::shared_ptr<AudioChannel> strip = engine->addChannel("Piano");
};

TEST_F(Readings, TakeTheRawPeaksOfStripsAndMasterOnce) {
  raise(*strip, 0.5F, 0.25F);
  raise(*engine->masterChannel(), 0.75F, 1.0F);
  mainQueue.advance(oneReading);
  EXPECT_EQ(strip->peakL.get(), 0.5F);
  EXPECT_EQ(strip->peakR.get(), 0.25F);
  EXPECT_EQ(test::rawPeaks(*strip).left, 0.0F);
  EXPECT_EQ(test::rawPeaks(*strip).right, 0.0F);
  EXPECT_EQ(engine->masterChannel()->peakL.get(), 0.75F);
  EXPECT_EQ(engine->masterChannel()->peakR.get(), 1.0F);
}

TEST_F(Readings, ALowerPeakLeavesADisplayedOneToItsDecay) {
  raise(*strip, 0.5F, 0.0F);
  mainQueue.advance(oneReading);
  raise(*strip, 0.125F, 0.0F);
  mainQueue.advance(2 * oneReading);
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

}  // namespace
}  // namespace vrel
