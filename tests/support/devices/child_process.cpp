// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/devices/child_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <ctime>

namespace vrel::system::test {

ChildProcess::~ChildProcess() {
  end(SIGTERM);
}

void ChildProcess::start(const std::vector<std::string>& arguments, const std::string& logPath) {
  std::vector<char*> pointers;
  for (const auto& argument : arguments) {
    pointers.push_back(const_cast<char*>(argument.c_str()));
  }
  pointers.push_back(nullptr);
  // Some programs end with their input.
  std::array<int, 2> input = {-1, -1};
  static_cast<void>(::pipe2(input.data(), O_CLOEXEC));
  const int log = ::open(logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  process_ = ::fork();
  if (process_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    ::dup2(input[0], STDIN_FILENO);
    ::dup2(log, STDOUT_FILENO);
    ::dup2(log, STDERR_FILENO);
    ::execvp(pointers[0], pointers.data());
    ::_exit(127);
  }
  ::close(log);
  ::close(input[0]);
  input_ = input[1];
  if (process_ < 0) {
    noteEnd();
  }
}

void ChildProcess::noteEnd() {
  process_ = 0;
  ::close(input_);
  input_ = -1;
}

bool ChildProcess::isRunning() {
  if (process_ != 0 && ::waitpid(process_, nullptr, WNOHANG) == process_) {
    noteEnd();
  }
  return process_ != 0;
}

void ChildProcess::signal(int signal) const {
  if (process_ != 0) {
    ::kill(process_, signal);
  }
}

void ChildProcess::suspendBoth(std::chrono::milliseconds duration) const {
  const pid_t program = ::getpid();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
  const timespec pause{seconds.count(), std::chrono::nanoseconds(duration - seconds).count()};
  const pid_t sleeper = ::fork();
  if (sleeper == 0) {
    ::kill(process_, SIGSTOP);
    ::kill(program, SIGSTOP);
    ::nanosleep(&pause, nullptr);
    ::kill(program, SIGCONT);
    ::kill(process_, SIGCONT);
    ::_exit(0);
  }
  ::waitpid(sleeper, nullptr, 0);
}

void ChildProcess::end(int signal) {
  constexpr auto timeout = std::chrono::seconds(10);
  this->signal(signal);
  if (!eventually([this] { return !isRunning(); }, timeout)) {
    this->signal(SIGKILL);
    ::waitpid(process_, nullptr, 0);
    noteEnd();
  }
}

}  // namespace vrel::system::test
