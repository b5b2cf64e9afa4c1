// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/movement.h"

#include <gtest/gtest.h>

#include <chrono>

namespace vrel::sandbox {
namespace {

using std::chrono_literals::operator""ms;

TEST(Movement, BeginsAfterASecondAtRest) {
  Movement movement;
  const Movement::Time start{};
  EXPECT_TRUE(movement.begins(start));
  EXPECT_FALSE(movement.begins(start + 30ms)) << "it goes on";
  EXPECT_TRUE(movement.begins(start + 1030ms));
}

TEST(Movement, ThatNeverRestsHasBegunOnce) {
  Movement movement;
  Movement::Time now{};
  EXPECT_TRUE(movement.begins(now));
  for (int step = 0; step < 100; ++step) {
    now += 999ms;
    EXPECT_FALSE(movement.begins(now)) << step;
  }
}

}  // namespace
}  // namespace vrel::sandbox
