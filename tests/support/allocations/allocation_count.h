// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

namespace vrel::test {

/// How often the process has allocated through `new` so far. Any thread. An executable that links this counts all its
/// allocations, so it is for executables of their own.
[[nodiscard]] std::size_t allocationCount() noexcept;

}  // namespace vrel::test
