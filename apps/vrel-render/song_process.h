// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "foundation/result.h"

namespace vrel::render {

/// Runs `work` in a copy of this process, which ends with it, and returns what it returned there. Its output streams go
/// nowhere. An error when the copy crashes, or is killed since it is not done within the time limit; its own children
/// die with it. Only while this process has no other thread.
[[nodiscard]] Result<std::string> runInCopy(const std::function<std::string()>& work,
                                            std::chrono::milliseconds timeLimit);

/// The memory that the processes below this one take, each shared page counted in part: bytes. 0 where the system does
/// not say.
[[nodiscard]] std::uint64_t memoryOfDescendants();

}  // namespace vrel::render
