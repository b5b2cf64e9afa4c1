// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <cstddef>
#include <vector>

namespace vrel::window {

/// The colour of a strip's record: red, green and blue of sRGB, 0 to 1; what is missing is 0.
[[nodiscard]] inline QColor colorOf(const std::vector<float>& components) {
  const auto part = [&](std::size_t index) { return index < components.size() ? components[index] : 0.0F; };
  return QColor::fromRgbF(part(0), part(1), part(2));
}

}  // namespace vrel::window
