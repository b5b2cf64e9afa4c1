// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window_layout.h"

#include <gtest/gtest.h>

#include "console/window_settings.h"
#include "simulation/simulated_user_defaults.h"

namespace vrel {
namespace {

TEST(WindowScale, FollowsTheShorterOfWidthAndHeight) {
  EXPECT_DOUBLE_EQ(windowScale(1366, 768, 100), 1);
  EXPECT_DOUBLE_EQ(windowScale(3840, 2160, 100), 3840.0 / 1366);
  EXPECT_DOUBLE_EQ(windowScale(1280, 800, 100), 1280.0 / 1366);
  EXPECT_DOUBLE_EQ(windowScale(3840, 768, 100), 1);
  EXPECT_DOUBLE_EQ(windowScale(3840, 2160, 0), 3840.0 / 1366) << "before the zoom is known";
}

TEST(WindowScale, IsNeverBelowNineTenths) {
  EXPECT_DOUBLE_EQ(windowScale(640, 480, 100), 0.9);
  EXPECT_DOUBLE_EQ(windowScale(1366, 768, 50), 0.9);
  EXPECT_DOUBLE_EQ(windowScale(640, 480, 200), 1.8);
}

TEST(WindowScale, TheZoomHasStepsOfTenPercentAndTwoEnds) {
  EXPECT_EQ(steppedZoom(100, 1), 110);
  EXPECT_EQ(steppedZoom(100, -1), 90);
  EXPECT_EQ(steppedZoom(200, 1), 200);
  EXPECT_EQ(steppedZoom(50, -1), 50);
  EXPECT_EQ(steppedZoom(170, 0), 100);
}

TEST(SetlistColumn, BecomesNarrowerBeforeFewerStripsAreInSight) {
  const double fitting = setlistWidth(1366);
  EXPECT_GT(fitting, 250);
  EXPECT_DOUBLE_EQ(setlistWidth(1326), fitting - 40);
  EXPECT_DOUBLE_EQ(setlistWidth(800), 220);
  EXPECT_DOUBLE_EQ(setlistWidth(4000), 440);
}

TEST(SplitBand, HasABarForEachStripUpToTwelve) {
  EXPECT_DOUBLE_EQ(splitBandHeight(0), 16);
  EXPECT_DOUBLE_EQ(splitBandHeight(1), 16);
  EXPECT_DOUBLE_EQ(splitBandHeight(11), 96);
  EXPECT_DOUBLE_EQ(splitBandHeight(32), 104);
}

TEST(WindowSettings, AreKeptForTheNextRun) {
  simulation::SimulatedUserDefaults defaults;
  WindowSettings first(defaults);
  first.zoom(1);
  first.toggleKeyboard();
  EXPECT_TRUE(first.isStageFolded.get()) << "at first there is no room for it";
  first.toggleStage();
  WindowSettings second(defaults);
  EXPECT_FALSE(second.isStageFolded.get());
  EXPECT_EQ(second.zoomPercent.get(), 110);
  EXPECT_TRUE(second.isKeyboardFolded.get());
  second.zoom(0);
  second.toggleKeyboard();
  const WindowSettings third(defaults);
  EXPECT_EQ(third.zoomPercent.get(), 100);
  EXPECT_FALSE(third.isKeyboardFolded.get());
}

TEST(WindowSettings, KeepTheSizeOfTheLargeNotesAndTheirDisplay) {
  simulation::SimulatedUserDefaults defaults;
  WindowSettings first(defaults);
  EXPECT_EQ(first.notesTextSize.get(), 40);
  EXPECT_EQ(first.notesDisplay.get(), "") << "the console";
  first.stepNotesText(1);
  first.showNotesOn("HDMI-1");
  WindowSettings second(defaults);
  EXPECT_EQ(second.notesTextSize.get(), 46);
  EXPECT_EQ(second.notesDisplay.get(), "HDMI-1");
  for (const auto& [by, end] : {std::pair{-1, 22}, {1, 112}}) {
    for (int step = 0; step < 30; ++step) {
      second.stepNotesText(by);
    }
    EXPECT_EQ(second.notesTextSize.get(), end);
  }
}

TEST(WindowSettings, ReadAZoomThatIsNoneAsTheNormalSize) {
  simulation::SimulatedUserDefaults defaults;
  for (const long long written : {0LL, -100LL, 105LL, 100000LL, 9223372036854775807LL}) {
    defaults.setInteger("vrel.window.zoomPercent", written);
    EXPECT_EQ(WindowSettings(defaults).zoomPercent.get(), 100) << written;
  }
}

}  // namespace
}  // namespace vrel
