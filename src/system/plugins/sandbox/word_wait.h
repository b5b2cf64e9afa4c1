// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>

#include "system/plugins/sandbox/shared_layout.h"

namespace vrel::sandbox {

/// Writes the word and wakes the other process if it sleeps on it. Wait-free.
void post(SharedWord& word, Sequence value) noexcept;

[[nodiscard]] Sequence read(SharedWord& word) noexcept;

/// Sleeps while the word has the value `old`. Returns the word as it is then, at the latest at `deadline` (nanoseconds
/// of the monotonic clock; none is never). May return early with the old value. Neither allocates nor locks.
[[nodiscard]] Sequence waitWhile(SharedWord& word, Sequence old, std::optional<std::int64_t> deadline) noexcept;

/// Nanoseconds of the monotonic clock.
[[nodiscard]] std::int64_t monotonicNanoseconds() noexcept;

}  // namespace vrel::sandbox
