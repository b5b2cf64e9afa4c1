// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "foundation/mutex.h"
#include "platform/dispatch.h"

namespace vrel::system::test {

/// The main queue of a test that runs it itself, on Qt's thread.
class StepQueue final : public MainQueue {
 public:
  void async(Work work) override {
    const MutexLock lock(mutex_);
    works_.push_back(std::move(work));
  }
  void sync(const Work& work) override { work(); }
  void asyncAfter(double /*seconds*/, Work /*work*/) override {}
  [[nodiscard]] std::unique_ptr<RepeatingTimer> repeatingTimer(double /*seconds*/, Work /*work*/) override {
    return nullptr;
  }
  void run() {
    std::vector<Work> works;
    {
      const MutexLock lock(mutex_);
      works.swap(works_);
    }
    for (const auto& work : works) {
      work();
    }
  }

 private:
  Mutex mutex_;
  std::vector<Work> works_ VREL_GUARDED_BY(mutex_);
};

}  // namespace vrel::system::test
