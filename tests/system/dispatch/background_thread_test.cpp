// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/dispatch/background_thread.h"

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>
#include <vector>

#include "system/dispatch/main_loop.h"

namespace vrel::system {
namespace {

using Notes = std::vector<std::string>;

TEST(BackgroundWorkBeside, TheMainLoopGoesOnWhileItRuns) {
  MainLoop loop;
  BackgroundThread background(loop);
  Notes notes;
  std::promise<void> meanwhile;
  std::thread::id ranOn;
  loop.async([&] {
    notes.emplace_back("meanwhile");
    meanwhile.set_value();
  });
  background.run(
      [&] {
        meanwhile.get_future().wait();
        ranOn = std::this_thread::get_id();
      },
      [&] { notes.emplace_back("ended"); });
  EXPECT_EQ(notes, (Notes{"meanwhile", "ended"}));
  EXPECT_NE(ranOn, std::this_thread::get_id());
}

TEST(BackgroundWorkBeside, WorkThatIsAskedForMeanwhileComesBehindAndBothHaveEnded) {
  MainLoop loop;
  BackgroundThread background(loop);
  Notes done;   // there
  Notes ended;  // on the main queue
  std::promise<void> isAskedFor;
  loop.async([&] {
    loop.async([&] { isAskedFor.set_value(); });
    background.run([&] { done.emplace_back("second"); }, [&] { ended.emplace_back("second"); });
    EXPECT_EQ(ended, (Notes{"first", "second"}));
  });
  background.run(
      [&] {
        isAskedFor.get_future().wait();
        done.emplace_back("first");
      },
      [&] { ended.emplace_back("first"); });
  EXPECT_EQ(done, (Notes{"first", "second"}));
}

TEST(BackgroundWorkBeside, AWaitEndsWithTheWorkThatItWaitsFor) {
  MainLoop loop;
  BackgroundThread background(loop);
  bool isOver = false;
  loop.async([&] {
    background.waitUntil([&] { return isOver; });
    EXPECT_TRUE(isOver);
  });
  std::promise<void> isWaiting;
  loop.async([&] { isWaiting.set_value(); });
  background.run([&] { isWaiting.get_future().wait(); }, [&] { isOver = true; });
  EXPECT_TRUE(isOver);
}

}  // namespace
}  // namespace vrel::system
