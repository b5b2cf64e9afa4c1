// SPDX-License-Identifier: GPL-3.0-or-later
// The program when the sound server does not answer.

#include <gtest/gtest.h>

#include <cstdlib>

#include "apps/vrel/whole_program.h"
#include "support/devices/jack_server.h"

namespace vrel::app::test {
namespace {

class HungServer : public WholeProgram {
 protected:
  void SetUp() override {
    server.start();
    ::setenv("JACK_DEFAULT_SERVER", server.name().c_str(), 1);
    WholeProgram::SetUp();
  }

  static bool showsWindow() { return std::system("xdotool search --onlyvisible --name VREL >/dev/null 2>&1") == 0; }

  void TearDown() override { ::unsetenv("JACK_DEFAULT_SERVER"); }

  system::test::JackServer server;
};

TEST_F(HungServer, KeepsNeitherTheWindowNorTheProgram) {
  ASSERT_TRUE(opens());
  ASSERT_TRUE(asksOnQuit());
  server.hang();
  press("Tab");
  press("space");
  EXPECT_TRUE(driver.eventually([] { return !showsWindow(); }));
  EXPECT_TRUE(ends());
  EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
  server.kill();
}

TEST_F(HungServer, ThatDiesWhileTheQuestionIsOpenIsNotWaitedFor) {
  ASSERT_TRUE(opens());
  ASSERT_TRUE(asksOnQuit());
  server.kill();
  press("Tab");
  press("space");
  ASSERT_TRUE(ends());
  EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
  EXPECT_EQ(program.exitCode(), 0);
}

class ServerHungFromTheStart : public HungServer {
 protected:
  void SetUp() override {
    server.start();
    server.hang();
    ::setenv("JACK_DEFAULT_SERVER", server.name().c_str(), 1);
    WholeProgram::SetUp();
  }
};

TEST_F(ServerHungFromTheStart, LeavesTheConsoleUsable) {
  ASSERT_TRUE(opens());
  EXPECT_TRUE(asksOnQuit());
  server.kill();
  press("Tab");
  press("space");
  EXPECT_TRUE(ends());
}

}  // namespace
}  // namespace vrel::app::test
