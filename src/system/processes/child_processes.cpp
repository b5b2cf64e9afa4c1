// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/processes/child_processes.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "foundation/mutex.h"
#include "platform/dispatch.h"
#include "system/processes/file_descriptor.h"
#include "system/processes/process_end.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): declared by no header of POSIX

namespace vrel::system {
namespace {

constexpr int inputNumber = 3;  // of childInputPath
constexpr std::chrono::seconds longestEnd{1};

std::string reasonOf(int code) {
  return std::generic_category().message(code);
}

/// Hands lines and the end to the main thread, while somebody wants them.
class Reports : public std::enable_shared_from_this<Reports> {
 public:
  Reports(MainQueue& mainQueue, ChildHandlers handlers) : mainQueue_(mainQueue), handlers_(std::move(handlers)) {}

  // On the main thread.
  void stop() { isWanted_ = false; }

  void report(std::string line) {
    const MutexLock lock(mutex_);
    line_ = std::move(line);
    if (!std::exchange(isPosted_, true)) {
      mainQueue_.async([self = shared_from_this()] { self->handOnLine(); });
    }
  }

  void report(ChildEnd end) {
    mainQueue_.async([self = shared_from_this(), end = std::move(end)] {
      if (std::exchange(self->isWanted_, false)) {
        self->handlers_.ended(end);
      }
    });
  }

 private:
  void handOnLine() {
    std::string line;
    {
      const MutexLock lock(mutex_);
      isPosted_ = false;
      line = std::move(line_);
    }
    if (isWanted_) {
      handlers_.line(line);
    }
  }

  MainQueue& mainQueue_;
  const ChildHandlers handlers_;
  bool isWanted_ = true;  // of the main thread
  Mutex mutex_;
  bool isPosted_ VREL_GUARDED_BY(mutex_) = false;
  std::string line_ VREL_GUARDED_BY(mutex_);
};

/// One run, on its thread.
class Run {
 public:
  Run(const ChildCommand& command, Reports& reports, int stop) : command_(command), reports_(reports), stop_(stop) {}
  ~Run() {
    if (process_ > 0) {
      (void)reap();
    }
  }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  void run() {
    if (auto failure = start()) {
      end_.failure = failure->description;
    } else {
      watch();
      finish();
    }
    reports_.report(std::move(end_));
  }

 private:
  Outcome start() {
    const FileDescriptor input(::memfd_create("vrel-child", MFD_CLOEXEC));
    if (!input) {
      return Error{"no memory for its input: " + reasonOf(errno)};
    }
    if (command_.input) {
      const auto bytes = command_.input();
      if (!bytes) {
        return bytes.error();
      }
      if (!writeAll(input.get(), bytes.value())) {
        return Error{"no memory for its input: " + reasonOf(errno)};
      }
    }
    std::array<int, 2> outputEnds{};
    std::array<int, 2> errorEnds{};
    if (::pipe2(outputEnds.data(), O_CLOEXEC) != 0) {
      return Error{"no pipe: " + reasonOf(errno)};
    }
    output_ = FileDescriptor(outputEnds[0]);
    const FileDescriptor output(outputEnds[1]);
    if (::pipe2(errorEnds.data(), O_CLOEXEC) != 0) {
      return Error{"no pipe: " + reasonOf(errno)};
    }
    errors_ = FileDescriptor(errorEnds[0]);
    const FileDescriptor errors(errorEnds[1]);
    if (const int failure = spawn(input.get(), output.get(), errors.get()); failure != 0) {
      return Error{"cannot start " + command_.program + ": " + reasonOf(failure)};
    }
    processEnd_ = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, process_, 0)));
    for (const int file : {output_.get(), errors_.get()}) {
      ::fcntl(file, F_SETFL, O_NONBLOCK);
    }
    return processEnd_ ? Outcome() : Error{"cannot watch a process: " + reasonOf(errno)};
  }

  int spawn(int input, int output, int errors) {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
    posix_spawn_file_actions_adddup2(&actions, input, inputNumber);  // last: it may take the number of one of them
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(&actions, inputNumber + 1);
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    std::vector<std::string> texts = command_.arguments;
    texts.insert(texts.begin(), command_.program);
    std::vector<char*> arguments;
    for (auto& text : texts) {
      arguments.push_back(text.data());
    }
    arguments.push_back(nullptr);
    const int failure =
        ::posix_spawn(&process_, command_.program.c_str(), &actions, &attributes, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (failure != 0) {
      process_ = -1;
    }
    return failure;
  }

  /// To its end, a stop, or too much output.
  void watch() {
    for (;;) {
      std::array<pollfd, 4> waits{
          {{stop_, POLLIN, 0}, {processEnd_.get(), POLLIN, 0}, {output_.get(), POLLIN, 0}, {errors_.get(), POLLIN, 0}}};
      if (::poll(waits.data(), waits.size(), -1) < 0 && errno != EINTR) {
        end_.failure = "cannot be watched: " + reasonOf(errno);
        return;
      }
      if (waits[0].revents != 0) {
        end_.failure = "stopped";
        return;
      }
      takeOutput();
      takeLines();
      if (end_.failure || waits[1].revents != 0) {
        return;
      }
    }
  }

  /// What is there to be read now; none at the end, which closes it.
  static std::string readSome(FileDescriptor& file) {
    std::array<char, 65536> buffer{};
    const ssize_t count = file ? ::read(file.get(), buffer.data(), buffer.size()) : -1;
    if (count == 0) {
      file.close();
    }
    return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
  }

  void takeOutput() {
    for (std::string bytes = readSome(output_); !bytes.empty() && !end_.failure; bytes = readSome(output_)) {
      end_.output += bytes;
      if (end_.output.size() > ChildProcesses::mostOutputBytes) {
        end_.failure = "printed more than " + std::to_string(ChildProcesses::mostOutputBytes) + " bytes";
      }
    }
  }

  // One piece at a time: what prints without an end must not keep this thread from the rest.
  void takeLines() {
    line_ += readSome(errors_);
    std::size_t begin = 0;
    for (auto end = line_.find('\n'); end != std::string::npos; end = line_.find('\n', begin)) {
      reports_.report(line_.substr(begin, std::min(end - begin, ChildProcesses::longestLine)));
      begin = end + 1;
    }
    line_.erase(0, begin);
    line_.resize(std::min(line_.size(), ChildProcesses::longestLine));
  }

  void finish() {
    if (!end_.failure) {
      takeOutput();
      takeLines();
    }
    const auto status = reap();
    if (!end_.failure && !status) {
      end_.failure = "cannot be ended";
    } else if (!end_.failure && WIFSIGNALED(*status)) {
      end_.failure = "killed by signal " + std::to_string(WTERMSIG(*status));
    }
    if (end_.failure) {
      end_.output.clear();
    } else {
      end_.exitCode = WEXITSTATUS(*status);
    }
  }

  /// Ends it, and what it has left running. None where the system cannot do that yet.
  std::optional<int> reap() {
    const pid_t process = std::exchange(process_, -1);
    ::kill(-process, SIGKILL);
    const auto status = takeEnd(process, longestEnd);
    if (!status) {
      std::thread([process] {
        while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
        }
      }).detach();
    }
    return status;
  }

  const ChildCommand& command_;
  Reports& reports_;
  const int stop_;
  pid_t process_ = -1;
  FileDescriptor processEnd_;
  FileDescriptor output_;
  FileDescriptor errors_;
  std::string line_;  // the beginning of the next one
  ChildEnd end_;
};

class WatchedProcess final : public ChildProcess {
 public:
  WatchedProcess(MainQueue& mainQueue, ChildCommand command, ChildHandlers handlers)
      : reports_(std::make_shared<Reports>(mainQueue, std::move(handlers))),
        stop_(::eventfd(0, EFD_CLOEXEC)),
        thread_([command = std::move(command), reports = reports_, stop = stop_.get()] {
          Run(command, *reports, stop).run();
        }) {}
  ~WatchedProcess() override {
    reports_->stop();
    const std::uint64_t one = 1;
    (void)writeAll(stop_.get(), {reinterpret_cast<const char*>(&one), sizeof one});
    thread_.join();
  }
  WatchedProcess(const WatchedProcess&) = delete;
  WatchedProcess& operator=(const WatchedProcess&) = delete;

 private:
  const std::shared_ptr<Reports> reports_;
  const FileDescriptor stop_;
  std::thread thread_;  // last: it uses the others
};

}  // namespace

std::unique_ptr<ChildProcess> ChildProcesses::start(ChildCommand command, ChildHandlers handlers) {
  return std::make_unique<WatchedProcess>(mainQueue_, std::move(command), std::move(handlers));
}

}  // namespace vrel::system
