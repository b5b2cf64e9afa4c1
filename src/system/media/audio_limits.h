// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "foundation/result.h"

namespace vrel::system {

/// Why the file can not even be tried: it is not there, no plain file, not allowed, or empty.
[[nodiscard]] Outcome unreadable(const std::string& path);

/// Whether what a file says of itself can be played: a rate, 1 to 64 channels, and fewer than 2^32 frames.
[[nodiscard]] Outcome unplayable(const std::string& path, double sampleRate, std::int64_t channels,
                                 std::int64_t frames);

}  // namespace vrel::system
