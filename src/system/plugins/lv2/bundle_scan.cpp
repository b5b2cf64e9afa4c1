// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/bundle_scan.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
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
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

#include "foundation/mutex.h"
#include "system/plugins/lv2/bundle_reader.h"
#include "system/plugins/lv2/scan_cache.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): declared by no header of POSIX

namespace vrel::lv2 {
namespace {

constexpr int longestSilenceMilliseconds = 30000;
constexpr int helperNiceness = 10;

BundleRecord readHere(const std::filesystem::path& folder) {
  const MutexLock lock(libraryMutex());
  return readBundle(folder, dataFilesOf(folder));
}

bool writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(file, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }
  return true;
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
  ~ScanHelper() { (void)end(); }
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
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
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

/// Many bundles, and what is known of them by now.
class SharedScan {
 public:
  SharedScan(const std::vector<std::filesystem::path>& folders, const ScanHelpers& helpers)
      : folders_(folders), helpers_(helpers), records_(folders.size()) {}

  [[nodiscard]] std::vector<std::size_t> missing() const {
    std::vector<std::size_t> indices;
    for (std::size_t index = 0; index < records_.size(); ++index) {
      if (!records_[index]) {
        indices.push_back(index);
      }
    }
    return indices;
  }

  /// Reads what is missing, and leaves out what has ended a helper. False when no helper is of any use.
  bool readInHelpers() {
    const auto indices = missing();
    const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
    std::vector<ScanHelper> running(std::min(cores, indices.size()));
    for (std::size_t at = 0; at < indices.size(); ++at) {
      running[at % running.size()].share.push_back(indices[at]);
    }
    for (ScanHelper& helper : running) {
      if (!helper.start(helpers_.program, folders_)) {
        return false;
      }
    }
    collect(running);
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

  [[nodiscard]] std::vector<BundleRecord> take() {
    std::vector<BundleRecord> all;
    for (std::size_t index = 0; index < records_.size(); ++index) {
      all.push_back(records_[index] ? std::move(*records_[index]) : readHere(folders_[index]));
    }
    return all;
  }

 private:
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
      const int ready = outputs.empty() ? 0 : ::poll(outputs.data(), outputs.size(), longestSilenceMilliseconds);
      if (ready == 0) {
        break;
      }
      for (std::size_t at = 0; ready > 0 && at < outputs.size(); ++at) {
        if (outputs[at].revents != 0) {
          take(*owners[at]);
        }
      }
    }
    for (const ScanHelper& helper : running) {
      if (helper.output() >= 0) {
        helper.kill();  // it hangs
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
    BundleRecord& record = records_[index].emplace();
    record.folder = folders_[index].string();
    record.files = dataFilesOf(folders_[index]);
    if (helpers_.log) {
      helpers_.log("A plug-in bundle is left out, since its data cannot be read: " + record.folder);
    }
  }

  const std::vector<std::filesystem::path>& folders_;
  const ScanHelpers& helpers_;
  std::vector<std::optional<BundleRecord>> records_;
};

}  // namespace

std::vector<BundleRecord> readBundles(const std::vector<std::filesystem::path>& folders, const ScanHelpers& helpers) {
  SharedScan scan(folders, helpers);
  while (!helpers.program.empty() && scan.missing().size() >= fewestForHelpers && scan.readInHelpers()) {
  }
  return scan.take();
}

int serveScan() {
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
