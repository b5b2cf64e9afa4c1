// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "foundation/result.h"

namespace vrel::system {

/// Why the file cannot be opened at all: it does not exist, is not a regular file, may not be read, or is empty.
/// Does not open it, which would block on a pipe and might do something to a device.
[[nodiscard]] Outcome unreadable(const std::string& path);

/// Whether the values in a file's header can be played: a sample rate, 1 to 64 channels, and fewer than 2^32 frames.
[[nodiscard]] Outcome unplayable(const std::string& path, double sampleRate, std::int64_t channels,
                                 std::int64_t frames);

}  // namespace vrel::system
