// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

namespace vrel::test {

/// The number of allocations of the process through `new` so far. Any thread. Linking this counts all allocations of an
/// executable, so it is for separate executables.
[[nodiscard]] std::size_t allocationCount() noexcept;

}  // namespace vrel::test
