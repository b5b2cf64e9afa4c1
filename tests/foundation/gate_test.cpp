// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/gate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

namespace vrel {
namespace {

TEST(Gate, LetsWorkPassToItsTargetOnlyWhileItIsOpen) {
  int target = 0;
  Gate<int> gate;
  const auto passOnce = [&gate] { gate.pass([](int& number) { ++number; }); };
  passOnce();
  EXPECT_EQ(target, 0);
  gate.open(target);
  passOnce();
  EXPECT_EQ(target, 1);
  gate.close();
  passOnce();
  EXPECT_EQ(target, 1);
}

TEST(Gate, ClosesOnlyWhenTheWorkThatIsPassingHasEnded) {
  std::atomic<bool> hasEnded{false};
  Gate<std::atomic<bool>> gate;
  gate.open(hasEnded);
  std::promise<void> begun;
  std::thread other([&] {
    gate.pass([&](std::atomic<bool>& ended) {
      begun.set_value();
      std::this_thread::yield();
      ended = true;
    });
  });
  begun.get_future().wait();
  gate.close();
  EXPECT_TRUE(hasEnded);
  other.join();
}

}  // namespace
}  // namespace vrel
