// SPDX-License-Identifier: GPL-3.0-or-later
#include "jack_server.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <jack/jack.h>
#include <sys/file.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "jack_peer.h"

namespace vrel::system::test {
namespace {

std::string textOf(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

JackServer::JackServer() {
  silenceLibrary();
  EXPECT_TRUE(eventually([this] {
    takeName();
    return nameLock_ >= 0;
  })) << "other tests hold all names for servers";
  logPath_ = testing::TempDir() + name_ + ".log";
}

JackServer::~JackServer() {
  process_.end(SIGTERM);
  std::error_code ignored;
  std::filesystem::remove(logPath_, ignored);
  if (nameLock_ >= 0) {
    ::close(nameLock_);
  }
}

void JackServer::takeName() {
  constexpr int names = 4;
  for (int number = 0; number < names && nameLock_ < 0; ++number) {
    name_ = "vrel-test-" + std::to_string(number);
    nameLock_ = ::open((testing::TempDir() + name_ + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (nameLock_ >= 0 && ::flock(nameLock_, LOCK_EX | LOCK_NB) != 0) {
      ::close(nameLock_);
      nameLock_ = -1;
    }
  }
}

void JackServer::start() {
  ASSERT_FALSE(isRunning());
  const std::vector<std::string> driver = {"-d", "dummy", "-m", "-r", "48000", "-p", "128"};
  for (const std::string mode : {"-R", "-R", "-r"}) {
    std::vector<std::string> arguments = {"jackd", mode, "-S", "-t", "5000", "-n", name_};
    arguments.insert(arguments.end(), driver.begin(), driver.end());
    process_.start(arguments, logPath_);
    if (waitUntilReady()) {
      return;
    }
    std::printf("jackd %s does not come up:\n%s\n", mode.c_str(), textOf(logPath_).c_str());
    process_.end(SIGKILL);
  }
  FAIL() << "no JACK server can be started here (Debian's package jackd2 is needed): " << textOf(logPath_);
}

bool JackServer::waitUntilReady() {
  bool isReady = false;
  const auto joins = [&] {
    const auto client = joinServer("ready", name_);
    isReady = client != nullptr;
    return isReady || !process_.isRunning();
  };
  return eventually(joins) && isReady;
}

void JackServer::kill() {
  process_.end(SIGKILL);
}

void JackServer::stop() {
  process_.end(SIGTERM);
}

}  // namespace vrel::system::test
