// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace vrel::system::test {

inline std::size_t entriesOf(const char* folder) {
  const std::filesystem::directory_iterator entries(folder);
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

/// What this process holds at this moment.
inline std::size_t openDescriptors() {
  return entriesOf("/proc/self/fd");
}
inline std::size_t threads() {
  return entriesOf("/proc/self/task");
}

}  // namespace vrel::system::test
