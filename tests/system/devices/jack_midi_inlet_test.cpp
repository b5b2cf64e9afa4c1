// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/jack_midi_inlet.h"

#include <gtest/gtest.h>

#include <chrono>

namespace vrel::system {
namespace {

TEST(JackMidiInlet, AChangeOfTheClientThatPlaysIsGivenItsPeriodsAtAnyBlockSize) {
  for (const jack_nframes_t period : {32U, 1024U, 2048U, 4096U, 8192U}) {
    const std::chrono::milliseconds onePeriod(1000 * period / 44100 + 1);
    EXPECT_GE(longestChange(period, 44100), (periodsToChange + 1) * onePeriod) << period;
  }
  EXPECT_LE(longestChange(128, 48000), std::chrono::milliseconds(250)) << "and ends soon where they are short";
  EXPECT_GT(longestChange(0, 0), std::chrono::milliseconds(0)) << "before the first block";
}

}  // namespace
}  // namespace vrel::system
