// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/song_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

namespace vrel::render {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint64_t bytesPerKilobyte = 1024;

void writeAll(int descriptor, const std::string& bytes) {
  std::size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t count = ::write(descriptor, bytes.data() + written, bytes.size() - written);
    if (count < 0 && errno != EINTR) {
      return;  // the reader has gone
    }
    written += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
  }
}

[[noreturn]] void serve(int descriptor, int parent, const std::function<std::string()>& work) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) {
    ::_exit(EXIT_FAILURE);  // it ended before the request took effect
  }
  const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  ::dup2(nowhere, STDOUT_FILENO);
  ::dup2(nowhere, STDERR_FILENO);
  writeAll(descriptor, work());
  ::_exit(EXIT_SUCCESS);
}

/// Reads to the end; false when that has not come by the deadline.
bool readAll(int descriptor, Clock::time_point deadline, std::string& bytes) {
  std::array<char, 65'536> chunk{};
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd readable{descriptor, POLLIN, 0};
    const int ready = ::poll(&readable, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    if (ready == 0) {
      return false;
    }
    const ssize_t count = ready < 0 ? -1 : ::read(descriptor, chunk.data(), chunk.size());
    if (count == 0 || (count < 0 && errno != EINTR)) {
      return true;
    }
    bytes.append(chunk.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }
}

int waitFor(int process) {
  int status = 0;
  while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

std::optional<int> numberIn(const std::string& text) {
  int number = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
  return failure == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// The parent of a process; none when it has gone.
std::optional<int> parentOf(int process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string line;
  std::getline(file, line);
  const auto name = line.rfind(") ");  // which may hold anything
  int parent = 0;
  char state = 0;
  if (name == std::string::npos || std::sscanf(line.c_str() + name, ") %c %d", &state, &parent) != 2) {
    return std::nullopt;
  }
  return parent;
}

std::uint64_t memoryOf(int process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/smaps_rollup");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("Pss:")) {
      return std::strtoull(line.c_str() + std::strlen("Pss:"), nullptr, 10) * bytesPerKilobyte;
    }
  }
  return 0;
}

}  // namespace

Result<std::string> runInCopy(const std::function<std::string()>& work, std::chrono::milliseconds timeLimit) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    return Error{std::string("no pipe: ") + std::strerror(errno)};
  }
  std::fflush(nullptr);
  const int parent = ::getpid();
  const int process = ::fork();
  if (process == 0) {
    ::close(ends[0]);
    serve(ends[1], parent, work);
  }
  const std::string reason = std::strerror(errno);
  ::close(ends[1]);
  if (process < 0) {
    ::close(ends[0]);
    return Error{"no process: " + reason};
  }
  std::string bytes;
  const bool isInTime = readAll(ends[0], Clock::now() + timeLimit, bytes);
  ::close(ends[0]);
  if (!isInTime) {
    ::kill(process, SIGKILL);
  }
  const int status = waitFor(process);
  if (!isInTime) {
    return Error{"not done after " + std::to_string(timeLimit.count() / 1000) + " s"};
  }
  if (WIFSIGNALED(status)) {
    return Error{"killed by signal " + std::to_string(WTERMSIG(status))};
  }
  return WEXITSTATUS(status) == EXIT_SUCCESS ? Result<std::string>(std::move(bytes))
                                             : Error{"ended with exit code " + std::to_string(WEXITSTATUS(status))};
}

std::uint64_t memoryOfDescendants() {
  std::multimap<int, int> children;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", ignored)) {
    const auto process = numberIn(entry.path().filename().string());
    const auto parent = process ? parentOf(*process) : std::nullopt;
    if (parent) {
      children.emplace(*parent, *process);
    }
  }
  std::uint64_t bytes = 0;
  std::vector<int> below{::getpid()};
  std::set<int> seen(below.begin(), below.end());  // a number may be used again meanwhile
  while (!below.empty()) {
    const auto [first, last] = children.equal_range(below.back());
    below.pop_back();
    for (auto child = first; child != last; ++child) {
      if (seen.insert(child->second).second) {
        bytes += memoryOf(child->second);
        below.push_back(child->second);
      }
    }
  }
  return bytes;
}

}  // namespace vrel::render
