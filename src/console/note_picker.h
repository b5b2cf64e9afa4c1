// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include "console/piano_layout.h"

namespace vrel {

/// A small keyboard to choose a note on: its white keys share the width equally, however narrow that makes them. Points
/// from the upper left corner. A plain value, any thread.
class NotePicker {
 public:
  static constexpr double blackShare = 0.62;  // of a white key's width and of the height

  NotePicker() = default;
  NotePicker(int startNote, int keyCount, double width, double height);

  [[nodiscard]] const std::vector<int>& whites() const { return whites_; }
  [[nodiscard]] const std::vector<int>& blacks() const { return blacks_; }

  /// Of one of the keys.
  [[nodiscard]] KeyRect keyRect(int note) const;

  /// The key under a place, a black one first.
  [[nodiscard]] std::optional<int> noteAt(double x, double y) const;

 private:
  double whiteWidth_ = 0;
  double height_ = 0;
  std::vector<int> whites_;
  std::vector<int> blacks_;
};

}  // namespace vrel
