// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/dispatch/serial_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace vrel::system {
namespace {

TEST(SerialQueue, WorkRunsInTheOrderOfItsArrival) {
  SerialQueue queue;
  std::vector<int> order;
  for (int number = 0; number < 100; ++number) {
    queue.async([&order, number] { order.push_back(number); });
  }
  queue.sync([] {});
  ASSERT_EQ(order.size(), 100U);
  for (int number = 0; number < 100; ++number) {
    EXPECT_EQ(order[static_cast<std::size_t>(number)], number);
  }
}

TEST(SerialQueue, WorkRunsBesideTheCallerAndAlwaysOnTheSameThread) {
  SerialQueue queue;
  std::thread::id first;
  std::thread::id second;
  queue.sync([&] { first = std::this_thread::get_id(); });
  queue.sync([&] { second = std::this_thread::get_id(); });
  EXPECT_NE(first, std::this_thread::get_id());
  EXPECT_EQ(first, second);
}

TEST(SerialQueue, SyncReturnsWhenAllBeforeItAndItselfHaveEnded) {
  SerialQueue queue;
  std::promise<void> gate;
  std::atomic<int> ended{0};
  queue.async([&] {
    gate.get_future().wait();
    ++ended;
  });
  std::thread opener([&] { gate.set_value(); });
  queue.sync([&] { ++ended; });
  EXPECT_EQ(ended, 2);
  opener.join();
}

TEST(SerialQueue, PiecesOfSeveralThreadsNeverOverlap) {
  SerialQueue queue;
  int inside = 0;  // unguarded on purpose: the thread sanitizer watches it
  bool overlapped = false;
  std::vector<std::thread> callers;
  for (int caller = 0; caller < 4; ++caller) {
    callers.emplace_back([&] {
      for (int piece = 0; piece < 100; ++piece) {
        queue.async([&] {
          overlapped = overlapped || inside != 0;
          ++inside;
          --inside;
        });
      }
      queue.sync([] {});
    });
  }
  for (auto& caller : callers) {
    caller.join();
  }
  EXPECT_FALSE(overlapped);
}

/// Opens a gate when the last copy of it goes.
std::shared_ptr<void> openerOf(std::promise<void>& gate) {
  return {static_cast<void*>(&gate), [&gate](void*) { gate.set_value(); }};
}

TEST(SerialQueue, ItsEndWaitsForThePieceUnderWayAndRunsNoOther) {
  std::promise<void> begun;
  std::promise<void> gate;
  std::atomic<bool> firstEnded{false};
  std::atomic<bool> secondRan{false};
  auto queue = std::make_unique<SerialQueue>();
  queue->async([&] {
    begun.set_value();
    gate.get_future().wait();
    firstEnded = true;
  });
  begun.get_future().wait();
  // The first piece ends only when the second has been dropped.
  queue->async([&secondRan, opener = openerOf(gate)] { secondRan = true; });
  queue.reset();
  EXPECT_TRUE(firstEnded);
  EXPECT_FALSE(secondRan);
}

TEST(SerialQueue, WorkPostedByThePieceUnderWayAtTheEndIsNotRun) {
  std::promise<void> begun;
  std::promise<void> gate;
  std::atomic<bool> posted{false};
  std::atomic<bool> ran{false};
  auto queue = std::make_unique<SerialQueue>();
  queue->async([&, borrowed = queue.get()] {
    begun.set_value();
    gate.get_future().wait();
    borrowed->async([&] { ran = true; });
    posted = true;
  });
  begun.get_future().wait();
  queue->async([opener = openerOf(gate)] {});
  queue.reset();
  EXPECT_TRUE(posted);
  EXPECT_FALSE(ran);
}

TEST(SerialQueueFactory, QueuesRunSideBySide) {
  SerialQueueFactory factory;
  const auto first = factory.makeSerialQueue("vrel.first");
  const auto second = factory.makeSerialQueue("vrel.second");
  std::promise<void> gate;
  first->async([&] { gate.get_future().wait(); });
  second->sync([&] { gate.set_value(); });  // would wait forever on one thread
  first->sync([] {});
}

}  // namespace
}  // namespace vrel::system
