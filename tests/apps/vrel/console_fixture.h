// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "apps/vrel/console_driver.h"

namespace vrel::app::test {

/// The program, open, with the first song of a fresh setlist on stage.
class ConsoleFixture : public testing::Test {
 protected:
  void SetUp() override { driver.open(); }
  void TearDown() override { EXPECT_EQ(ConsoleDriver::takeQmlWarnings(), std::vector<std::string>()); }

  [[nodiscard]] std::vector<std::string> songNames() {
    return driver.fromLogic<std::vector<std::string>>([](Session& session) {
      std::vector<std::string> names;
      for (const auto& song : session.state().songs.get()) {
        names.push_back(song.name);
      }
      return names;
    });
  }

  [[nodiscard]] bool alertIsShown() const { return driver.isShown("alertBox"); }

  ConsoleDriver driver;
};

}  // namespace vrel::app::test
