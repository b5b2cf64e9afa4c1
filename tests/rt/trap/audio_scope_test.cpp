// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <thread>

#include "foundation/thread_roles.h"

namespace {

TEST(AudioScope, CountsTheScopesOfThisThreadOnly) {
  EXPECT_EQ(vrel::audioScopeDepth(), 0);
  {
    const vrel::AudioThreadScope block;
    EXPECT_EQ(vrel::audioScopeDepth(), 1);
    int depthElsewhere = -1;
    std::thread([&depthElsewhere] { depthElsewhere = vrel::audioScopeDepth(); }).join();
    EXPECT_EQ(depthElsewhere, 0);
  }
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
