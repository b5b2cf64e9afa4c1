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

const std::filesystem::path jackFolder = "/dev/shm";

/// The socket on which the server of this name accepts clients.
std::filesystem::path socketOf(const std::string& name) {
  return jackFolder / ("jack_" + name + "_" + std::to_string(::getuid()) + "_0");
}

/// JACK keeps port metadata in a database per user, which all clients open. A program that is killed while it creates
/// it leaves it damaged, and each program that opens it later crashes with a bus error.
void removeLeftovers(const std::string& name) {
  std::error_code ignored;
  std::filesystem::remove_all(jackFolder / ("jack_db-" + std::to_string(::getuid())), ignored);
  std::filesystem::remove(socketOf(name), ignored);
}

std::string inTemporaryFolder(const std::string& file) {
  return std::filesystem::temp_directory_path() / file;
}

}  // namespace

JackServer::JackServer() : logPath_(inTemporaryFolder(name_ + ".log")) {
  silenceLibrary();
  if (!eventually([this] { return takeTurn(); }, std::chrono::seconds(100))) {
    throw std::runtime_error("another program holds the JACK server lock");
  }
}

JackServer::~JackServer() {
  process_.end(SIGTERM);
  std::error_code ignored;
  std::filesystem::remove(logPath_, ignored);
  if (turn_ >= 0) {
    ::close(turn_);
  }
}

bool JackServer::takeTurn() {
  turn_ = ::open(inTemporaryFolder(name_ + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (turn_ >= 0 && ::flock(turn_, LOCK_EX | LOCK_NB) != 0) {
    ::close(turn_);
    turn_ = -1;
  }
  return turn_ >= 0;
}

void JackServer::start() {
  if (isRunning()) {
    throw std::logic_error("the JACK server is already running");
  }
  const std::vector<std::string> driver = {"-d", "dummy", "-m", "-r", "48000", "-p", "128"};
  for (const std::string mode : {"-R", "-R", "-r"}) {
    std::vector<std::string> arguments = {"jackd", mode, "-S", "-t", "5000", "-n", name_};
    arguments.insert(arguments.end(), driver.begin(), driver.end());
    // The server of a killed test may still be running for a while.
    const auto comesUp = [&] {
      removeLeftovers(name_);
      process_.start(arguments, logPath_);
      return waitUntilReady() || textOf(logPath_).find("server already active") == std::string::npos;
    };
    if (eventually(comesUp) && isRunning()) {
      return;
    }
    std::printf("jackd %s did not start:\n%s\n", mode.c_str(), textOf(logPath_).c_str());
    process_.end(SIGKILL);
  }
  throw std::runtime_error("cannot start a JACK server (Debian package jackd2): " + textOf(logPath_));
}

bool JackServer::waitUntilReady() {
  bool isReady = false;
  const auto joins = [&] {
    if (!std::filesystem::exists(socketOf(name_))) {
      return !process_.isRunning();  // no client before: it would create the database concurrently with the server
    }
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
