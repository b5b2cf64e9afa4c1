// SPDX-License-Identifier: GPL-3.0-or-later
// fails: reading variable 'count_' requires holding mutex 'mutex_'
#include "foundation/mutex.h"

class Counter {
 public:
  void add() {
    const vrel::MutexLock lock(mutex_);
    ++count_;
  }
  int count() { return count_; }

 private:
  vrel::Mutex mutex_;
  int count_ VREL_GUARDED_BY(mutex_) = 0;
};
