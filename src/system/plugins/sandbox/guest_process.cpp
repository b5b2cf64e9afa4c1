// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/guest_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>
#include <utility>
#include <vector>

#include "system/plugins/sandbox/descriptor_passing.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): declared by no header of POSIX

namespace vrel::sandbox {
namespace {

Error systemError(const char* what, int code) {
  return Error{std::string(what) + ": " + std::generic_category().message(code)};
}

std::optional<ScratchFolder> makeFolder() {
  Result<ScratchFolder> made = ScratchFolder::make();
  return made ? std::optional(std::move(made).value()) : std::nullopt;
}

class Environment {
 public:
  Environment() {
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
      variables_.emplace_back(*variable);
    }
  }

  void set(const std::string& name, const std::string& value) {
    std::erase_if(variables_, [&](const std::string& each) { return isOf(each, name); });
    variables_.push_back(name + "=" + value);
  }
  [[nodiscard]] std::vector<std::string> take() { return std::move(variables_); }

 private:
  static bool isOf(const std::string& variable, const std::string& name) {
    return variable.compare(0, name.size() + 1, name + "=") == 0;
  }

  std::vector<std::string> variables_;
};

/// This process's environment with the folder as the place for temporary files.
std::vector<std::string> environmentFor(ProcessRole role, const std::string& folder) {
  Environment environment;
  if (!folder.empty()) {
    environment.set("TMPDIR", folder);
  }
  // Sound halves open no windows, and Qt ends one that makes a Qt application when the display does not answer. An
  // editor's window is X11's.
  environment.set("QT_QPA_PLATFORM", role == ProcessRole::editor ? "xcb" : "offscreen");
  return environment.take();
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (std::string& text : texts) {
    result.push_back(text.data());
  }
  result.push_back(nullptr);
  return result;
}

/// What the new process is to begin with.
class SpawnSettings {
 public:
  explicit SpawnSettings(int guestSocket) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawnattr_init(&attributes_);
    posix_spawn_file_actions_adddup2(&actions_, guestSocket, guestSocketNumber);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    // What a keeper prints is not what the program prints.
    posix_spawn_file_actions_adddup2(&actions_, STDERR_FILENO, STDOUT_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&actions_, guestSocketNumber + 1);
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);  // an end that is asked for before the keeper is there waits
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  int spawn(pid_t& id, const std::string& program, ProcessRole role, const std::string& folder) {
    std::vector<std::string> arguments = {program, std::to_string(getpid())};
    if (role == ProcessRole::editor) {
      arguments.emplace_back(editorRoleName);
    }
    std::vector<std::string> environment = environmentFor(role, folder);
    return posix_spawn(&id, program.c_str(), &actions_, &attributes_, pointers(arguments).data(),
                       pointers(environment).data());
  }

 private:
  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
};

/// One byte, and the descriptor beside it. The socket is new, so there is room.
bool sendDescriptor(int socket, int descriptor) {
  const std::uint8_t byte = 0;
  return sendBytes(socket, {&byte, 1}, 0, descriptor) == 1;
}

std::string wordsFor(const siginfo_t& info) {
  return info.si_code == CLD_EXITED ? "ended with code " + std::to_string(info.si_status)
                                    : "was killed by signal " + std::to_string(info.si_status);
}

}  // namespace

std::uint64_t guestMemoryBytes() {
  const auto pages = static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES));
  return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) / 4 * 3;
}

GuestProcess::GuestProcess(pid_t id, FileDescriptor end, std::optional<ScratchFolder> folder)
    : id_(id), end_(std::move(end)), folder_(std::move(folder)) {}

GuestProcess::GuestProcess(GuestProcess&& other) noexcept
    : id_(std::exchange(other.id_, -1)), end_(std::move(other.end_)), folder_(std::move(other.folder_)) {}

GuestProcess::~GuestProcess() {
  if (id_ > 0) {
    pollfd wait{end_.get(), POLLIN, 0};
    constexpr int timeoutMilliseconds = 3000;  // for a process that hangs in the kernel
    kill();
    if (poll(&wait, 1, timeoutMilliseconds) == 0) {
      killKeeper();
      poll(&wait, 1, timeoutMilliseconds);
    }
    (void)reap();
  }
}

Result<GuestProcess> GuestProcess::start(const std::string& program, ProcessRole role, const FileDescriptor* memory,
                                         FileDescriptor& socket) {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    return systemError("cannot create a socket", errno);
  }
  FileDescriptor hostEnd(ends[0]);
  FileDescriptor guestEnd(ends[1]);
  // A descriptor that is copied onto its own number would keep the mark that closes it.
  if (guestEnd.get() == guestSocketNumber) {
    guestEnd = FileDescriptor(fcntl(guestEnd.get(), F_DUPFD_CLOEXEC, guestSocketNumber + 1));
  }
  if (fcntl(hostEnd.get(), F_SETFL, O_NONBLOCK) != 0 ||
      (memory != nullptr && !sendDescriptor(hostEnd.get(), memory->get()))) {
    return systemError("cannot create a socket", errno);
  }
  std::optional<ScratchFolder> folder = makeFolder();
  const std::string place = folder ? folder->path().string() : std::string();
  pid_t id = -1;
  if (const int failure = SpawnSettings(guestEnd.get()).spawn(id, program, role, place); failure != 0) {
    return systemError(("cannot start " + program).c_str(), failure);
  }
  FileDescriptor end(static_cast<int>(syscall(SYS_pidfd_open, id, 0)));
  if (!end) {
    const Error error = systemError("cannot watch a process", errno);
    ::kill(-id, SIGKILL);
    waitpid(id, nullptr, 0);
    return error;
  }
  socket = std::move(hostEnd);
  return GuestProcess(id, std::move(end), std::move(folder));
}

void GuestProcess::kill() const {
  // The number is the process's own until it is reaped, which only `reap` does.
  if (id_ > 0) {
    ::kill(id_, keeperEndSignal);
    ::kill(id_, SIGCONT);
  }
}

void GuestProcess::killKeeper() const {
  if (id_ > 0) {
    ::kill(-id_, SIGKILL);
  }
}

std::optional<GuestProcess::Ended> GuestProcess::reap() {
  if (id_ <= 0) {
    return std::nullopt;
  }
  siginfo_t info{};
  const int failed = waitid(P_PIDFD, static_cast<id_t>(end_.get()), &info, WEXITED | WNOHANG | WNOWAIT);
  // A program that ignores its children's ends has nothing left to reap.
  const bool isGone = failed != 0 && errno == ECHILD;
  if (!isGone && (failed != 0 || info.si_pid == 0)) {
    return std::nullopt;
  }
  ::kill(-id_, SIGKILL);  // what it has left running
  waitid(P_PIDFD, static_cast<id_t>(end_.get()), &info, WEXITED | WNOHANG);
  id_ = -1;
  end_.close();
  folder_.reset();
  return isGone ? Ended{"ended"} : Ended{wordsFor(info), info.si_code != CLD_EXITED};
}

}  // namespace vrel::sandbox
