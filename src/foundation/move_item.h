// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace vrel {

/// Moves the item at `from` before the one at `to`, both counted as they are now. Both are in range; `to` may be
/// the size.
template <typename Item>
void moveItem(std::vector<Item>& items, std::size_t from, std::size_t to) {
  const auto at = [&items](std::size_t index) { return items.begin() + static_cast<std::ptrdiff_t>(index); };
  if (from < to) {
    std::rotate(at(from), at(from + 1), at(to));
  } else {
    std::rotate(at(to), at(from), at(from + 1));
  }
}

}  // namespace vrel
