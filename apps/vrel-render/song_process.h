// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "foundation/result.h"

namespace vrel::render {

/// Runs `work` in a copy of this process, which ends with it, and returns what it returned there. Its output streams go
/// nowhere. An error when the copy crashes, or is killed since it is not done within the time limit; its own children
/// die with it. One that the system cannot end is waited for no longer. Only while this process has no other thread.
[[nodiscard]] Result<std::string> runInCopy(const std::function<std::string()>& work,
                                            std::chrono::milliseconds timeLimit);

/// Some work for a copy of this process.
struct CopiedWork {
  std::function<std::string()> run;
  std::chrono::milliseconds timeLimit;
};

/// The same for each of several, as many at a time as `mostAtOnce`; the results in the order of the works. `progress`
/// gets the number of those that are done, after each and at least every few seconds.
[[nodiscard]] std::vector<Result<std::string>> runInCopies(const std::vector<CopiedWork>& works, std::size_t mostAtOnce,
                                                           const std::function<void(std::size_t done)>& progress);

/// The memory that the processes below this one take, each shared page counted in part: bytes. 0 where the system does
/// not say.
[[nodiscard]] std::uint64_t memoryOfDescendants();

}  // namespace vrel::render
