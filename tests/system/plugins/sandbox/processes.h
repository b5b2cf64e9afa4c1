// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the system says of processes, for tests that count them.

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace vrel::sandbox {

/// The children of a process that are there, as zombies too.
[[nodiscard]] std::vector<pid_t> childrenOf(pid_t process);

/// The guests of a program: the first child of each keeper, once it is there.
[[nodiscard]] std::vector<pid_t> guestsOf(pid_t program);

/// The children of a process, theirs, and so on.
[[nodiscard]] std::vector<pid_t> descendantsOf(pid_t process);

[[nodiscard]] bool isThere(pid_t process);

/// The processor time that a process has used, in the system's ticks.
[[nodiscard]] long ticksOf(pid_t process);

/// Stops a process and returns when all its threads have stopped.
void stop(pid_t process);

/// Of this process: open descriptors, mappings of shared plug-in memory, resident memory in bytes.
[[nodiscard]] std::size_t descriptorCount();
[[nodiscard]] std::size_t sharedMappingCount();
[[nodiscard]] std::size_t residentBytes();

/// Whether it becomes true within the time; looks every millisecond.
[[nodiscard]] bool happensWithin(std::chrono::milliseconds time, const std::function<bool()>& condition);
/// Whether it becomes true, in more time than the busiest machine takes.
[[nodiscard]] bool happens(const std::function<bool()>& condition);

}  // namespace vrel::sandbox
