// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/guest/guest_keeper.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string_view>

#include "system/plugins/sandbox/guest_process.h"

namespace vrel::sandbox {
namespace {

// For what hangs in the kernel, or is another user's.
constexpr time_t endingSeconds = 2;

sigset_t setOf(std::initializer_list<int> numbers) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : numbers) {
    sigaddset(&signals, number);
  }
  return signals;
}

void block(const sigset_t& signals) {
  (void)sigprocmask(SIG_SETMASK, &signals, nullptr);
}

void printed(std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(STDERR_FILENO, text.data(), text.size());
    if (count < 0) {
      return;
    }
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

/// Never a group, nor, with -1, everything.
void killOne(pid_t process) {
  if (process > 1) {
    kill(process, SIGKILL);
  }
}

class Keeper {
 public:
  Keeper(pid_t guest, int output)
      : guest_(guest), output_(output), signals_(signalfd(-1, &awaited_, SFD_CLOEXEC | SFD_NONBLOCK)) {}

  /// Until nothing is left of the guest. Returns how it ended.
  int keep() {
    while (!hasEnded_) {
      wait(-1);
    }
    for (const time_t end = time(nullptr) + endingSeconds; hasChildren_ && time(nullptr) <= end;) {
      killChildren();
      takeAway();
      if (hasChildren_) {
        constexpr int milliseconds = 10;
        wait(milliseconds);
      }
    }
    passOn();
    return status_;
  }

 private:
  void wait(int milliseconds) {
    std::array<pollfd, 2> ready{{{signals_.get(), POLLIN, 0}, {isOutputOver_ ? -1 : output_.get(), POLLIN, 0}}};
    (void)poll(ready.data(), ready.size(), milliseconds);
    signalfd_siginfo info{};
    while (::read(signals_.get(), &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
      // Once it has been reaped its number may be another's.
      if (static_cast<int>(info.ssi_signo) == keeperEndSignal && !hasEnded_) {
        killOne(guest_);
      }
    }
    passOn();
    takeAway();
  }

  void takeAway() {
    int status = 0;
    pid_t ended = 0;
    while ((ended = waitpid(-1, &status, WNOHANG)) > 0) {
      if (ended == guest_) {
        hasEnded_ = true;
        status_ = status;
      }
    }
    hasChildren_ = ended == 0;
  }

  // The children of a child become children when it ends, so repeating this comes to all of them.
  static void killChildren() {
    std::ifstream children("/proc/thread-self/children");
    for (pid_t child = 0; children >> child;) {
      killOne(child);
    }
  }

  void passOn() {
    std::array<char, 4096> buffer{};
    ssize_t count = 0;
    while ((count = ::read(output_.get(), buffer.data(), buffer.size())) > 0) {
      const std::size_t room = std::min(guestLogBytes - logged_, static_cast<std::size_t>(count));
      printed({buffer.data(), room});
      logged_ += room;
      if (room < static_cast<std::size_t>(count) && !isMuted_) {
        isMuted_ = true;
        printed("\na plug-in prints more than 64 KiB; the rest is dropped\n");
      }
    }
    isOutputOver_ = count == 0;
  }

  const sigset_t awaited_ = setOf({SIGCHLD, keeperEndSignal});
  const pid_t guest_;
  const FileDescriptor output_;
  const FileDescriptor signals_;
  bool hasEnded_ = false;
  bool hasChildren_ = true;
  int status_ = 0;
  std::size_t logged_ = 0;
  bool isMuted_ = false;
  bool isOutputOver_ = false;  // nobody can print any more
};

[[noreturn]] void endAs(int status) {
  if (WIFSIGNALED(status)) {
    const rlimit noCore{0, 0};  // the guest has left one
    (void)setrlimit(RLIMIT_CORE, &noCore);
    (void)std::signal(WTERMSIG(status), SIG_DFL);
    raise(WTERMSIG(status));
    block(setOf({}));
  }
  std::_Exit(WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE);
}

void limitMemory() {
  if constexpr (isGuestMemoryBounded) {
    const rlimit memory{guestMemoryBytes(), guestMemoryBytes()};
    (void)setrlimit(RLIMIT_DATA, &memory);
  }
}

/// What the child becomes. False when its keeper has gone meanwhile.
bool becomeGuest(pid_t keeper, int output) {
  for (const int asked : {SIGTERM, SIGHUP, SIGINT}) {
    (void)std::signal(asked, SIG_IGN);
  }
  block(setOf({}));
  (void)dup2(output, STDOUT_FILENO);
  (void)dup2(output, STDERR_FILENO);
  limitMemory();
  return prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == keeper;
}

}  // namespace

bool keepGuest(int program) {
  sigset_t all;
  sigfillset(&all);
  block(all);
  std::array<int, 2> output{};
  if (prctl(PR_SET_PDEATHSIG, keeperEndSignal) != 0 || getppid() != program || prctl(PR_SET_CHILD_SUBREAPER, 1) != 0 ||
      pipe2(output.data(), O_CLOEXEC | O_NONBLOCK) != 0) {  // printing never holds a plug-in up
    return false;
  }
  const pid_t keeper = getpid();
  const pid_t guest = fork();
  if (guest < 0) {
    return false;
  }
  if (guest == 0) {
    return becomeGuest(keeper, output[1]);
  }
  close(guestSocketNumber);  // its end is the guest's alone
  close(output[1]);
  endAs(Keeper(guest, output[0]).keep());
}

}  // namespace vrel::sandbox
