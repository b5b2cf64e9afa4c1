// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/processes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <thread>

namespace vrel::sandbox {
namespace {

namespace fs = std::filesystem;

/// What the system's table says of a process; all zero when it has gone.
struct TableLine {
  char state = 0;
  pid_t parent = 0;
  long userTicks = 0;
};

TableLine lineOf(const fs::path& entry) {
  std::ifstream file(entry / "stat");
  std::string line;
  std::getline(file, line);
  const std::size_t behindName = line.rfind(')');
  if (behindName == std::string::npos) {
    return {};
  }
  std::istringstream rest(line.substr(behindName + 1));
  TableLine result;
  rest >> result.state >> result.parent;
  std::string skipped;
  for (int field = 5; field < 14; ++field) {
    rest >> skipped;
  }
  rest >> result.userTicks;
  return result;
}

}  // namespace

std::vector<pid_t> childrenOf(pid_t process) {
  std::vector<pid_t> children;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator("/proc", ignored)) {
    const std::string name = entry.path().filename().string();
    if (name.find_first_not_of("0123456789") == std::string::npos && lineOf(entry.path()).parent == process) {
      children.push_back(std::stoi(name));
    }
  }
  return children;
}

std::vector<pid_t> guestsOf(pid_t program) {
  std::vector<pid_t> guests;
  for (const pid_t keeper : childrenOf(program)) {
    const auto kept = childrenOf(keeper);
    guests.insert(guests.end(), kept.begin(), kept.begin() + (kept.empty() ? 0 : 1));
  }
  return guests;
}

std::vector<pid_t> descendantsOf(pid_t process) {
  std::vector<pid_t> all = childrenOf(process);
  for (std::size_t index = 0; index < all.size(); ++index) {
    const auto next = childrenOf(all[index]);
    all.insert(all.end(), next.begin(), next.end());
  }
  return all;
}

bool isThere(pid_t process) {
  return kill(process, 0) == 0;
}

void stop(pid_t process) {
  kill(process, SIGSTOP);
  EXPECT_TRUE(happens([process] {
    std::error_code ignored;
    const fs::directory_iterator threads(fs::path("/proc") / std::to_string(process) / "task", ignored);
    return std::all_of(begin(threads), end(threads), [](const auto& thread) { return lineOf(thread).state == 'T'; });
  }));
}

long ticksOf(pid_t process) {
  return lineOf(fs::path("/proc") / std::to_string(process)).userTicks;
}

std::size_t descriptorCount() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

std::size_t sharedMappingCount() {
  std::ifstream file("/proc/self/maps");
  std::size_t count = 0;
  for (std::string line; std::getline(file, line);) {
    count += line.find("memfd:vrel-plugin") != std::string::npos ? 1U : 0U;
  }
  return count;
}

std::size_t residentBytes() {
  std::ifstream file("/proc/self/statm");
  std::size_t total = 0;
  std::size_t resident = 0;
  file >> total >> resident;
  return resident * 4096;
}

bool happensWithin(std::chrono::milliseconds time, const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + time;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

bool happens(const std::function<bool()>& condition) {
  return happensWithin(std::chrono::minutes(1), condition);
}

}  // namespace vrel::sandbox
