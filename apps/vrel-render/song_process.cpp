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

#include "system/processes/file_descriptor.h"
#include "system/processes/process_end.h"

namespace vrel::render {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint64_t bytesPerKilobyte = 1024;
constexpr std::chrono::milliseconds longestPause{5000};   // between two reports of progress
constexpr std::chrono::milliseconds longestExit{10'000};  // of a process that has done its work
constexpr std::chrono::milliseconds longestEnd{500};      // of one that was killed

[[noreturn]] void serve(int descriptor, int parent, const std::function<std::string()>& work) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) {
    ::_exit(EXIT_FAILURE);  // it ended before the request took effect
  }
  const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  ::dup2(nowhere, STDOUT_FILENO);
  ::dup2(nowhere, STDERR_FILENO);
  (void)writeAll(descriptor, work());
  ::_exit(EXIT_SUCCESS);
}

/// A copy of this process that does one piece of work.
class Copy {
 public:
  Copy(std::size_t index, std::chrono::milliseconds timeLimit)
      : index_(index), timeLimit_(timeLimit), deadline_(Clock::now() + timeLimit) {}

  Outcome start(const std::function<std::string()>& work) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
      return Error{std::string("no pipe: ") + std::strerror(errno)};
    }
    std::fflush(nullptr);
    const int parent = ::getpid();
    process_ = ::fork();
    if (process_ == 0) {
      ::close(ends[0]);
      serve(ends[1], parent, work);
    }
    const std::string reason = std::strerror(errno);
    ::close(ends[1]);
    if (process_ < 0) {
      ::close(ends[0]);
      return Error{"no process: " + reason};
    }
    output_ = ends[0];
    return {};
  }

  [[nodiscard]] std::size_t index() const { return index_; }
  [[nodiscard]] int output() const { return output_; }
  [[nodiscard]] std::chrono::milliseconds timeLeft() const {
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now()),
                    std::chrono::milliseconds(0));
  }
  [[nodiscard]] bool isOver() const { return isAtEnd_ || timeLeft().count() == 0; }

  /// Takes what there is to be read.
  void read() {
    std::array<char, 65'536> chunk{};
    const ssize_t count = ::read(output_, chunk.data(), chunk.size());
    isAtEnd_ = count == 0 || (count < 0 && errno != EINTR);
    bytes_.append(chunk.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }

  /// What cannot be ended yet is added to `unended`.
  Result<std::string> end(std::vector<int>& unended) {
    ::close(output_);
    auto status = isAtEnd_ ? system::takeEnd(process_, longestExit) : std::nullopt;
    if (!status) {
      ::kill(process_, SIGKILL);
      status = system::takeEnd(process_, longestEnd);
    }
    if (!status) {
      unended.push_back(process_);
    }
    if (!isAtEnd_ || !status) {
      return Error{"not done after " + std::to_string(timeLimit_.count() / 1000) + " s"};
    }
    if (WIFSIGNALED(*status)) {
      return Error{"killed by signal " + std::to_string(WTERMSIG(*status))};
    }
    return WEXITSTATUS(*status) == EXIT_SUCCESS ? Result<std::string>(std::move(bytes_))
                                                : Error{"ended with exit code " + std::to_string(WEXITSTATUS(*status))};
  }

 private:
  std::size_t index_;
  std::chrono::milliseconds timeLimit_;
  Clock::time_point deadline_;
  int process_ = -1;
  int output_ = -1;
  bool isAtEnd_ = false;
  std::string bytes_;
};

/// Waits until one of them has something, is at its end or at its deadline, but not longer than a few seconds.
void readSome(std::vector<Copy>& copies) {
  std::chrono::milliseconds timeout = longestPause;
  std::vector<pollfd> outputs;
  for (const Copy& copy : copies) {
    timeout = std::min(timeout, copy.timeLeft());
    outputs.push_back({copy.output(), POLLIN, 0});
  }
  if (::poll(outputs.data(), outputs.size(), static_cast<int>(timeout.count())) <= 0) {
    return;
  }
  for (std::size_t at = 0; at < copies.size(); ++at) {
    if (outputs[at].revents != 0) {
      copies[at].read();
    }
  }
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

std::vector<Result<std::string>> runInCopies(const std::vector<CopiedWork>& works, std::size_t mostAtOnce,
                                             const std::function<void(std::size_t done)>& progress) {
  std::vector<Result<std::string>> results(works.size(), Error{"not begun"});
  std::vector<Copy> running;
  std::vector<int> unended;
  std::size_t next = 0;
  while (next < works.size() || !running.empty()) {
    for (; next < works.size() && running.size() < std::max<std::size_t>(mostAtOnce, 1); ++next) {
      Copy copy(next, works[next].timeLimit);
      if (auto failure = copy.start(works[next].run)) {
        results[next] = *failure;
      } else {
        running.push_back(std::move(copy));
      }
    }
    readSome(running);
    const auto ended =
        std::stable_partition(running.begin(), running.end(), [](const Copy& copy) { return !copy.isOver(); });
    std::for_each(ended, running.end(), [&](Copy& copy) { results[copy.index()] = copy.end(unended); });
    running.erase(ended, running.end());
    std::erase_if(unended, [](int process) { return system::takeEnd(process, std::chrono::milliseconds(0)); });
    progress(next - running.size());
  }
  return results;
}

Result<std::string> runInCopy(const std::function<std::string()>& work, std::chrono::milliseconds timeLimit) {
  return runInCopies({CopiedWork{work, timeLimit}}, 1, [](std::size_t) {}).front();
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
