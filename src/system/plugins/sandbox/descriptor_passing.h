// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <span>

#include "system/processes/file_descriptor.h"

namespace vrel::sandbox {

/// As `send`, with a descriptor beside the first byte; -1 for none. The other process gets a copy of it.
[[nodiscard]] ssize_t sendBytes(int socket, std::span<const std::uint8_t> bytes, int flags, int descriptor = -1);

/// As `recv`. What descriptor came beside the bytes, if any, replaces `descriptor`.
[[nodiscard]] ssize_t receiveBytes(int socket, std::span<std::uint8_t> buffer, FileDescriptor& descriptor);

}  // namespace vrel::sandbox
