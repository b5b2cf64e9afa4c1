// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/song_process.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>

namespace vrel::render {
namespace {

using namespace std::chrono_literals;

TEST(WorkInACopy, ReturnsWhatItReturned) {
  const std::string large(300'000, 'x');  // more than a pipe holds
  const auto result = runInCopy([&] { return large; }, 60s);
  ASSERT_TRUE(result) << result.error().description;
  EXPECT_EQ(result.value(), large);
}

TEST(WorkInACopy, ChangesNothingHereAndPrintsNothing) {
  int count = 0;
  testing::internal::CaptureStdout();
  const auto result = runInCopy(
      [&count] {
        std::puts("from the copy");
        std::fflush(stdout);
        return std::to_string(++count);
      },
      60s);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  ASSERT_TRUE(result);
  EXPECT_EQ(result.value(), "1");
  EXPECT_EQ(count, 0);
}

TEST(WorkInACopy, ThatCrashesIsAnError) {
  const auto killed = runInCopy(
      []() -> std::string {
        ::raise(SIGKILL);
        return {};
      },
      60s);
  ASSERT_FALSE(killed);
  EXPECT_EQ(killed.error().description, "killed by signal 9");
  const auto left = runInCopy([]() -> std::string { ::_exit(3); }, 60s);
  ASSERT_FALSE(left);
  EXPECT_EQ(left.error().description, "ended with exit code 3");
}

TEST(WorkInACopy, ThatHangsIsKilledAtTheTimeLimit) {
  const auto result = runInCopy(
      []() -> std::string {
        for (;;) {
          ::pause();
        }
      },
      20ms);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().description, "not done after 0 s");
}

}  // namespace
}  // namespace vrel::render
