// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/serial_thread.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <numeric>
#include <utility>
#include <vector>

namespace vrel {
namespace {

TEST(SerialThread, WorkRunsInOrderAndAllOfItBeforeTheEnd) {
  std::vector<int> order;
  {
    SerialThread thread(SerialThread::AtEnd::runWork);
    for (int number = 0; number < 100; ++number) {
      thread.post([&order, number] { order.push_back(number); });
    }
    thread.runAndWait([&] { EXPECT_TRUE(thread.isCurrent()); });
    EXPECT_EQ(order.size(), 100U);
    thread.runAndWait([&] { thread.runAndWait([&order] { order.push_back(100); }); });
    thread.post([&order] { order.push_back(101); });
  }
  std::vector<int> expected(102);
  std::iota(expected.begin(), expected.end(), 0);
  EXPECT_EQ(order, expected);
}

TEST(SerialThread, WorkThatHasNotBegunIsDroppedAtTheEndIfSoChosen) {
  std::promise<void> begun;
  std::promise<void> mayEnd;
  bool ranLate = false;
  auto thread = std::make_unique<SerialThread>(SerialThread::AtEnd::dropWork);
  thread->post([&] {
    begun.set_value();
    mayEnd.get_future().wait();
  });
  begun.get_future().wait();
  // The work under way ends when the dropped one goes.
  std::shared_ptr<void> opener(static_cast<void*>(&mayEnd), [&mayEnd](void*) { mayEnd.set_value(); });
  thread->post([&ranLate, opener = std::move(opener)] { ranLate = true; });
  thread.reset();
  EXPECT_FALSE(ranLate);
}

TEST(SerialThread, WorkThatDoesNotEndIsLeftBehindWithWhatItOwnsAndWhatComesAfterItIsDropped) {
  const auto hung = std::make_shared<std::promise<void>>();
  std::promise<void> begun;
  std::promise<void> ended;
  bool ranLate = false;
  auto thread = std::make_unique<SerialThread>(std::chrono::milliseconds(1));
  thread->post([hung, &begun, &ended] {
    begun.set_value();
    hung->get_future().wait();
    ended.set_value();
  });
  begun.get_future().wait();
  thread->post([&ranLate] { ranLate = true; });
  thread.reset();
  hung->set_value();
  ended.get_future().wait();
  EXPECT_FALSE(ranLate);
}

TEST(SerialThread, WorkThatEndsInTimeIsWaitedForByABoundedEnd) {
  std::promise<void> begun;
  std::promise<void> mayEnd;
  bool hasEnded = false;
  auto thread = std::make_unique<SerialThread>(std::chrono::hours(1));
  thread->post([&] {
    begun.set_value();
    mayEnd.get_future().wait();
    hasEnded = true;
  });
  begun.get_future().wait();
  // The work under way ends when the dropped one goes.
  std::shared_ptr<void> opener(static_cast<void*>(&mayEnd), [&mayEnd](void*) { mayEnd.set_value(); });
  thread->post([opener = std::move(opener)] {});
  thread.reset();
  EXPECT_TRUE(hasEnded);
}

TEST(SerialThread, MayEndOnItself) {
  auto thread = std::make_shared<SerialThread>(SerialThread::AtEnd::runWork);
  std::promise<void> ended;
  std::promise<void> isReleased;
  thread->post([owner = thread, &ended, &isReleased]() mutable {
    isReleased.get_future().wait();
    owner.reset();
    ended.set_value();
  });
  thread.reset();
  isReleased.set_value();
  ended.get_future().wait();
}

}  // namespace
}  // namespace vrel
