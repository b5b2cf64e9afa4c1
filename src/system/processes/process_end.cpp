// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/processes/process_end.h"

#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "system/processes/file_descriptor.h"

namespace vrel::system {

std::optional<int> takeEnd(pid_t process, std::chrono::milliseconds limit) {
  const FileDescriptor descriptor(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
  if (descriptor) {
    pollfd end{descriptor.get(), POLLIN, 0};
    while (::poll(&end, 1, static_cast<int>(limit.count())) < 0 && errno == EINTR) {
    }
  }
  int status = 0;
  // Never without WNOHANG: a debugger may hold back what has ended.
  const pid_t ended = ::waitpid(process, &status, WNOHANG);
  return ended != 0 ? std::optional(status) : std::nullopt;
}

}  // namespace vrel::system
