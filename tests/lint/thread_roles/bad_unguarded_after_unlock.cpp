// SPDX-License-Identifier: GPL-3.0-or-later
// fails: writing variable 'count_' requires holding mutex 'mutex_' exclusively
#include "foundation/mutex.h"

class Counter {
 public:
  void add() {
    vrel::MutexLock lock(mutex_);
    lock.unlock();
    count_ = 1;
  }

 private:
  vrel::Mutex mutex_;
  int count_ VREL_GUARDED_BY(mutex_) = 0;
};
