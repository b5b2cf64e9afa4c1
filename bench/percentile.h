// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace vrel::bench {

/// The smallest value that at least this part (0 to 1) of all values does not exceed. Sorted, not empty.
inline double percentile(const std::vector<double>& sorted, double part) {
  const auto rank = static_cast<std::size_t>(std::ceil(part * static_cast<double>(sorted.size())));
  return sorted[std::max<std::size_t>(rank, 1) - 1];
}

}  // namespace vrel::bench
