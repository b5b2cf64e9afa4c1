// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/devices/jack_server.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "support/devices/jack_access.h"

namespace vrel::system::test {
namespace {

std::string textOf(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string inTemporaryFolder(const std::string& file) {
  return std::filesystem::temp_directory_path() / file;
}

}  // namespace

JackServer::JackServer() {
  silenceLibrary();
  const auto hasName = [this] {
    takeName();
    return nameLock_ >= 0;
  };
  if (!eventually(hasName, std::chrono::seconds(60))) {
    throw std::runtime_error("other tests hold all names for servers");
  }
  logPath_ = inTemporaryFolder(name_ + ".log");
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
    nameLock_ = ::open(inTemporaryFolder(name_ + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (nameLock_ >= 0 && ::flock(nameLock_, LOCK_EX | LOCK_NB) != 0) {
      ::close(nameLock_);
      nameLock_ = -1;
    }
  }
}

void JackServer::start() {
  if (isRunning()) {
    throw std::logic_error("the JACK server runs already");
  }
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
  throw std::runtime_error("no JACK server can be started here (Debian's package jackd2 is needed): " +
                           textOf(logPath_));
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
