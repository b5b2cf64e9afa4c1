// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>

namespace vrel::system {

/// How a child process of this one has ended, as `waitpid` says it; waits so long at most. None where it has not ended:
/// one that waits for a file which never answers cannot even be killed. It may be asked about again. Any thread.
[[nodiscard]] std::optional<int> takeEnd(pid_t process, std::chrono::milliseconds limit);

}  // namespace vrel::system
