// SPDX-License-Identifier: GPL-3.0-or-later
// fails: calling function 'addLocked' requires holding mutex 'mutex_' exclusively
#include "foundation/mutex.h"

class Counter {
 public:
  void add() { addLocked(); }

 private:
  void addLocked() VREL_REQUIRES(mutex_) { ++count_; }

  vrel::Mutex mutex_;
  int count_ VREL_GUARDED_BY(mutex_) = 0;
};
