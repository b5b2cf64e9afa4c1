// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace vrel {

/// Runs a scenario in every order in which events can happen.
///
/// The scenario calls `choose` wherever more than one event could be next, and follows the result.
/// It runs once for each sequence of choices; it must depend on nothing else.
class EveryOrder {
 public:
  /// A choice from 0 to `count` - 1. `count` is at least 1.
  [[nodiscard]] std::size_t choose(std::size_t count) {
    if (depth_ == path_.size()) {
      path_.push_back({0, count});
    }
    return path_[depth_++].way;
  }

  /// The choices of this run, to reproduce it.
  [[nodiscard]] std::string path() const {
    std::string text;
    for (const auto& step : path_) {
      text += std::to_string(step.way) + " of " + std::to_string(step.count) + ", ";
    }
    return text;
  }

  /// Runs `scenario(order)` in every order, or up to the first failure. Returns how often it ran.
  template <typename Scenario>
  static std::size_t walk(Scenario scenario) {
    EveryOrder order;
    std::size_t runs = 0;
    do {
      order.depth_ = 0;
      scenario(order);
      ++runs;
      if (testing::Test::HasFailure()) {
        ADD_FAILURE() << "in run " << runs << ": " << order.path();
        break;
      }
    } while (order.next());
    return runs;
  }

 private:
  struct Step {
    std::size_t way;
    std::size_t count;
  };

  bool next() {
    while (!path_.empty() && path_.back().way + 1 == path_.back().count) {
      path_.pop_back();
    }
    if (path_.empty()) {
      return false;
    }
    ++path_.back().way;
    return true;
  }

  std::vector<Step> path_;
  std::size_t depth_ = 0;
};

}  // namespace vrel
