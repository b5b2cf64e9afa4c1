// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <optional>

namespace vrel::sandbox {

/// When a control in a plug-in's own editor begins to move: after a second at rest. A control that the editor itself
/// moves all the time, a picture that it animates, began long ago.
class Movement {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Notes that it moves at this time. Whether that is a beginning.
  [[nodiscard]] bool begins(Time now) {
    const bool isBeginning = !movedAt_ || now - *movedAt_ >= rest;
    movedAt_ = now;
    return isBeginning;
  }

 private:
  static constexpr std::chrono::seconds rest{1};

  std::optional<Time> movedAt_;
};

}  // namespace vrel::sandbox
