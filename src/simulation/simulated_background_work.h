// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <deque>
#include <functional>
#include <utility>

#include "platform/background_work.h"

namespace vrel::simulation {

/// Background work that a test may hold: what the main queue does meanwhile is `whileWorking`, once. Work that is
/// waited for inside of it runs then.
class SimulatedBackgroundWork : public BackgroundWork {
 public:
  Work whileWorking;

  void run(const Work& work, const Work& ended) override {
    bool isOver = false;
    pending_.emplace_back([&] {
      work();
      ended();
      isOver = true;
    });
    if (const auto meanwhile = std::exchange(whileWorking, nullptr)) {
      meanwhile();
    }
    waitUntil([&isOver] { return isOver; });
  }

  void waitUntil(const std::function<bool()>& isOver) override {
    while (!isOver()) {
      const auto next = std::move(pending_.front());
      pending_.pop_front();
      next();
    }
  }

 private:
  std::deque<Work> pending_;
};

}  // namespace vrel::simulation
