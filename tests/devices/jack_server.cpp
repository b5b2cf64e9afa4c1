// SPDX-License-Identifier: GPL-3.0-or-later
#include "jack_server.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <jack/jack.h>
#include <spawn.h>
#include <sys/wait.h>
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

JackServer::JackServer()
    : name_("vrel-test-" + std::to_string(::getpid())), logPath_(testing::TempDir() + name_ + ".log") {
  silenceLibrary();
}

JackServer::~JackServer() {
  end(SIGKILL);
  std::error_code ignored;
  std::filesystem::remove(logPath_, ignored);
}

void JackServer::start() {
  ASSERT_FALSE(isRunning());
  const std::vector<std::string> driver = {"-d", "dummy", "-m", "-r", "48000", "-p", "128"};
  for (const std::string mode : {"-R", "-r"}) {
    std::vector<std::string> arguments = {"jackd", mode, "-S", "-t", "5000", "-n", name_};
    arguments.insert(arguments.end(), driver.begin(), driver.end());
    launch(arguments);
    if (waitUntilReady()) {
      return;
    }
    std::printf("jackd %s does not come up:\n%s\n", mode.c_str(), textOf(logPath_).c_str());
    end(SIGKILL);
  }
  FAIL() << "no JACK server can be started here (Debian's package jackd2 is needed): " << textOf(logPath_);
}

void JackServer::launch(const std::vector<std::string>& arguments) {
  std::vector<char*> pointers;
  for (const auto& argument : arguments) {
    pointers.push_back(const_cast<char*>(argument.c_str()));
  }
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, logPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
  if (posix_spawnp(&process_, pointers[0], &actions, nullptr, pointers.data(), environ) != 0) {
    process_ = 0;
  }
  posix_spawn_file_actions_destroy(&actions);
}

bool JackServer::waitUntilReady() {
  bool isReady = false;
  const auto joins = [&] {
    const auto client = joinServer("ready", name_);
    isReady = client != nullptr;
    return isReady || hasEnded();
  };
  return eventually(joins) && isReady;
}

bool JackServer::hasEnded() {
  if (process_ != 0 && ::waitpid(process_, nullptr, WNOHANG) == process_) {
    process_ = 0;
  }
  return process_ == 0;
}

void JackServer::end(int signal) {
  if (process_ != 0) {
    ::kill(process_, signal);
    ::waitpid(process_, nullptr, 0);
    process_ = 0;
  }
}

void JackServer::kill() {
  end(SIGKILL);
}

void JackServer::stop() {
  end(SIGTERM);
}

}  // namespace vrel::system::test
