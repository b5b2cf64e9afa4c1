// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <utility>

#include "foundation/mutex.h"

namespace vrel {

/// The way back to an object for work that ends late and on any thread: the work holds a shared_ptr to the gate, and
/// the object closes the gate as it ends. Where the work comes back on the thread on which the object ends, a LifeToken
/// is enough.
///
/// Threads: all functions from any. A lock is held during `pass`, so what is passed should only post.
template <typename Target>
class Gate {
 public:
  /// Closed until then. The target is borrowed.
  void open(Target& target) {
    const MutexLock lock(mutex_);
    target_ = &target;
  }

  /// From its return on nobody uses the target any more: waits for the work that is passing.
  void close() {
    const MutexLock lock(mutex_);
    target_ = nullptr;
  }

  /// Calls `work` with the target, which stays for that time; not once the gate is closed.
  template <typename Work>
  void pass(Work&& work) {
    const MutexLock lock(mutex_);
    if (target_ != nullptr) {
      std::invoke(std::forward<Work>(work), *target_);
    }
  }

 private:
  Mutex mutex_;
  Target* target_ VREL_GUARDED_BY(mutex_) = nullptr;
};

}  // namespace vrel
