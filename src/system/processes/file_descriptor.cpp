// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/processes/file_descriptor.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>

namespace vrel {

bool writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }
  return true;
}

}  // namespace vrel
