// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "foundation/thread_roles.h"

namespace {

TEST(AudioScope, CountsTheScopesOfThisThreadOnly) {
  std::atomic<bool> begun{false};
  std::atomic<int> depthElsewhere{-1};
  std::thread other([&] {
    while (!begun.load()) {
      std::this_thread::yield();
    }
    depthElsewhere = vrel::audioScopeDepth();
  });
  EXPECT_EQ(vrel::audioScopeDepth(), 0);
  {
    const vrel::AudioThreadScope block;
    EXPECT_EQ(vrel::audioScopeDepth(), 1);
    begun = true;
    while (depthElsewhere.load() < 0) {
      std::this_thread::yield();
    }
  }
  other.join();
  EXPECT_EQ(depthElsewhere.load(), 0);
  EXPECT_EQ(vrel::audioScopeDepth(), 0);
}

TEST(AudioScope, ForeignCodeSuspendsItAndGivesItBack) {
  const vrel::AudioThreadScope block;
  {
    const vrel::ForeignCodeScope plugin;
    EXPECT_EQ(vrel::audioScopeDepth(), 0);
  }
  EXPECT_EQ(vrel::audioScopeDepth(), 1);
}

TEST(AudioScope, ForeignCodeOutsideABlockLeavesEverythingAsItIs) {
  {
    const vrel::ForeignCodeScope plugin;
    EXPECT_EQ(vrel::audioScopeDepth(), 0);
  }
  EXPECT_EQ(vrel::audioScopeDepth(), 0);
}

}  // namespace
