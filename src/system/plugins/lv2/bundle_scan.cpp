// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/bundle_scan.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <optional>
#include <set>
#include <stop_token>
#include <string_view>
#include <thread>
#include <utility>

#include "foundation/mutex.h"
#include "system/plugins/lv2/bundle_reader.h"
#include "system/plugins/lv2/scan_cache.h"
#include "system/processes/file_descriptor.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): declared by no header of POSIX

namespace vrel::lv2 {
namespace {

constexpr int longestSilenceMilliseconds = 30000;
constexpr int helperNiceness = 10;

BundleRecord readHere(const std::filesystem::path& folder) {
  const MutexLock lock(libraryMutex());
  return readBundle(folder, dataFilesOf(folder));
}

/// What is there to be read now is added. False at the end.
bool readSome(int file, std::string& bytes) {
  std::array<char, 65536> buffer{};
  const ssize_t count = ::read(file, buffer.data(), buffer.size());
  bytes.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  return count > 0 || (count < 0 && errno == EINTR);
}

/// A process that reads some of the bundles.
class ScanHelper {
 public:
  ScanHelper() = default;
  ~ScanHelper() {
    kill();
    (void)end();
  }
  ScanHelper(const ScanHelper&) = delete;
  ScanHelper& operator=(const ScanHelper&) = delete;

  std::vector<std::size_t> share;  // indices of bundles
  std::size_t answered = 0;        // of the share

  /// False when it cannot be started.
  bool start(const std::string& program, const std::vector<std::filesystem::path>& folders) {
    std::string names;
    for (const std::size_t index : share) {
      names += folders[index].string();
      names += '\0';
    }
    const int input = ::memfd_create("vrel-scan", MFD_CLOEXEC);
    std::array<int, 2> ends{-1, -1};
    const bool isReady = input >= 0 && writeAll(input, names) && ::lseek(input, 0, SEEK_SET) == 0 &&
                         ::pipe2(ends.data(), O_CLOEXEC) == 0;
    if (isReady && spawn(program, input, ends[1])) {
      output_ = ends[0];
    } else if (ends[0] >= 0) {
      ::close(ends[0]);
    }
    for (const int file : {input, ends[1]}) {
      if (file >= 0) {
        ::close(file);
      }
    }
    return output_ >= 0;
  }

  /// Becomes readable when there is an answer, or at its end; -1 from then on.
  [[nodiscard]] int output() const { return output_; }

  /// The records of the answers that are there now.
  [[nodiscard]] std::vector<BundleRecord> take() {
    if (!readSome(output_, bytes_)) {
      ::close(std::exchange(output_, -1));
    }
    std::vector<BundleRecord> records;
    std::uint32_t size = 0;
    while (answered < share.size() && bytes_.size() >= sizeof size) {
      std::memcpy(&size, bytes_.data(), sizeof size);
      if (bytes_.size() - sizeof size < size) {
        break;
      }
      auto stored = recordsFromStored(bytes_.substr(sizeof size, size), {});
      bytes_.erase(0, sizeof size + size);
      if (!stored || stored->size() != 1) {
        break;
      }
      records.push_back(std::move(stored->front()));
      ++answered;
    }
    return records;
  }

  void kill() const {
    if (process_ > 0) {
      ::kill(process_, SIGKILL);
    }
  }

  /// Waits for its end. Whether a signal has ended it.
  bool end() {
    if (output_ >= 0) {
      ::close(std::exchange(output_, -1));
    }
    int status = 0;
    const pid_t process = std::exchange(process_, -1);
    while (process > 0 && ::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFSIGNALED(status);
  }

 private:
  bool spawn(const std::string& program, int input, int output) {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    // What ends the program, from a terminal or at a logout, must not look like a bundle that ends its helper.
    sigemptyset(&signals);
    for (const int asked : {SIGTERM, SIGHUP, SIGINT}) {
      sigaddset(&signals, asked);
    }
    posix_spawnattr_setsigmask(&attributes, &signals);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    std::string name = program;
    std::string role = scanRoleName;
    const std::array<char*, 3> arguments{name.data(), role.data(), nullptr};
    const int failure = posix_spawn(&process_, program.c_str(), &actions, &attributes, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return failure == 0;
  }

  pid_t process_ = -1;
  int output_ = -1;
  std::string bytes_;  // not taken yet
};

/// A stop that can be waited for together with the helpers.
class StopEvent {
 public:
  explicit StopEvent(const std::stop_token& stop) : stop_(stop) {
    callback_.emplace(stop, [this] { (void)writeAll(file_, one); });
  }
  ~StopEvent() {
    callback_.reset();  // it uses the file
    if (file_ >= 0) {
      ::close(file_);
    }
  }
  StopEvent(const StopEvent&) = delete;
  StopEvent& operator=(const StopEvent&) = delete;

  [[nodiscard]] bool isAskedFor() const { return stop_.stop_requested(); }

  /// Readable from then on; -1 where the system has none, and a stop waits for a helper's next answer.
  [[nodiscard]] int file() const { return file_; }

 private:
  static constexpr std::string_view one{"\1\0\0\0\0\0\0\0", sizeof(std::uint64_t)};

  const std::stop_token stop_;
  const int file_ = ::eventfd(0, EFD_CLOEXEC);
  std::optional<std::stop_callback<std::function<void()>>> callback_;
};

/// Many bundles, and what is known of them by now.
class SharedScan {
 public:
  SharedScan(const std::vector<std::filesystem::path>& folders, const ScanHelpers& helpers)
      : folders_(folders), helpers_(helpers), records_(folders.size()), stop_(helpers.stop) {}

  /// Reads what is missing, and leaves out what has ended a helper. False when that is all, or no helper is of any use.
  bool readInHelpers() {
    const auto indices = missing();
    if (indices.empty() || stop_.isAskedFor()) {
      return false;
    }
    const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
    std::vector<ScanHelper> running(indices.size() < fewestForSeveralHelpers ? 1 : std::min(cores, indices.size()));
    for (std::size_t at = 0; at < indices.size(); ++at) {
      running[at % running.size()].share.push_back(indices[at]);
    }
    for (ScanHelper& helper : running) {
      if (!helper.start(helpers_.program, folders_)) {
        return false;
      }
    }
    collect(running);
    if (stop_.isAskedFor()) {
      return false;
    }
    bool isOfUse = false;
    for (ScanHelper& helper : running) {
      const bool isKilled = helper.end();
      if (isKilled && helper.answered < helper.share.size()) {
        leaveOut(helper.share[helper.answered]);
      }
      isOfUse = isOfUse || isKilled || helper.answered > 0;
    }
    return isOfUse;
  }

  [[nodiscard]] std::vector<std::optional<BundleRecord>> take() {
    for (const std::size_t index : missing()) {
      if (!stop_.isAskedFor()) {
        records_[index] = readHere(folders_[index]);
      }
    }
    return std::move(records_);
  }

 private:
  [[nodiscard]] std::vector<std::size_t> missing() const {
    std::vector<std::size_t> indices;
    for (std::size_t index = 0; index < records_.size(); ++index) {
      if (!records_[index] && !leftOut_.contains(index)) {
        indices.push_back(index);
      }
    }
    return indices;
  }

  void collect(std::vector<ScanHelper>& running) {
    for (;;) {
      std::vector<pollfd> outputs;
      std::vector<ScanHelper*> owners;
      for (ScanHelper& helper : running) {
        if (helper.output() >= 0) {
          outputs.push_back({helper.output(), POLLIN, 0});
          owners.push_back(&helper);
        }
      }
      outputs.push_back({stop_.file(), POLLIN, 0});
      const int ready = owners.empty() ? 0 : ::poll(outputs.data(), outputs.size(), longestSilenceMilliseconds);
      for (std::size_t at = 0; ready > 0 && at < owners.size(); ++at) {
        if (outputs[at].revents != 0) {
          take(*owners[at]);
        }
      }
      if (ready == 0 || stop_.isAskedFor()) {
        break;
      }
    }
    for (const ScanHelper& helper : running) {
      if (helper.output() >= 0) {
        helper.kill();  // it hangs, or is not needed any more
      }
    }
  }

  void take(ScanHelper& helper) {
    std::size_t at = helper.answered;
    for (BundleRecord& record : helper.take()) {
      records_[helper.share[at++]] = std::move(record);
    }
  }

  void leaveOut(std::size_t index) {
    leftOut_.insert(index);
    if (helpers_.log) {
      helpers_.log("A plug-in bundle is left out, since its data cannot be read: " + folders_[index].string());
    }
  }

  const std::vector<std::filesystem::path>& folders_;
  const ScanHelpers& helpers_;
  std::vector<std::optional<BundleRecord>> records_;
  std::set<std::size_t> leftOut_;
  const StopEvent stop_;
};

}  // namespace

std::vector<std::optional<BundleRecord>> readBundles(const std::vector<std::filesystem::path>& folders,
                                                     const ScanHelpers& helpers) {
  SharedScan scan(folders, helpers);
  while (!helpers.program.empty() && scan.readInHelpers()) {
  }
  return scan.take();
}

int serveScan() {
  (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);  // a library that hangs does not see that nobody reads any more
  (void)::setpriority(PRIO_PROCESS, 0, helperNiceness);
  std::string names;
  while (readSome(STDIN_FILENO, names)) {
  }
  for (std::size_t begin = 0, end = 0; (end = names.find('\0', begin)) != std::string::npos; begin = end + 1) {
    const std::string answer = storedRecords({readHere(names.substr(begin, end - begin))}, {});
    const auto size = static_cast<std::uint32_t>(answer.size());
    const std::string head(reinterpret_cast<const char*>(&size), sizeof size);
    if (!writeAll(STDOUT_FILENO, head + answer)) {
      return EXIT_FAILURE;
    }
  }
  return EXIT_SUCCESS;
}

}  // namespace vrel::lv2
