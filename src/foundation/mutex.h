// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Mutexes that the compiler knows: Clang's -Wthread-safety, in the `lint` preset, fails the build on an access to a
// member marked VREL_GUARDED_BY without its mutex, and on a call of a function marked VREL_REQUIRES without it.
//
//   void put(int number) {
//     const MutexLock lock(mutex_);
//     numbers_.push_back(number);
//   }
//   Mutex mutex_;
//   std::vector<int> numbers_ VREL_GUARDED_BY(mutex_);
//
// To sleep: `MutexLock lock(mutex_); arrived_.wait(lock.native(), [this]() VREL_REQUIRES(mutex_) { return ...; });`.

#include <mutex>

#include "foundation/thread_roles.h"

/// The member is read and written with this mutex held.
#define VREL_GUARDED_BY(mutex) VREL_THREAD_ATTRIBUTE(guarded_by(mutex))

/// The function is called with these mutexes held.
#define VREL_REQUIRES(...) VREL_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))

namespace vrel {

/// A standard mutex, and no more than that.
template <typename Native>
class VREL_THREAD_ATTRIBUTE(capability("mutex")) BasicMutex {
 public:
  BasicMutex() = default;
  BasicMutex(const BasicMutex&) = delete;
  BasicMutex& operator=(const BasicMutex&) = delete;

 private:
  template <typename>
  friend class BasicMutexLock;

  Native native_;
};

/// Holds a mutex for the time of its life, but for what is between `unlock` and `lock`.
template <typename Native>
class VREL_THREAD_ATTRIBUTE(scoped_lockable) BasicMutexLock {
 public:
  explicit BasicMutexLock(BasicMutex<Native>& mutex) VREL_THREAD_ATTRIBUTE(acquire_capability(mutex))
      : lock_(mutex.native_) {}
  ~BasicMutexLock() VREL_THREAD_ATTRIBUTE(release_capability()) = default;
  BasicMutexLock(const BasicMutexLock&) = delete;
  BasicMutexLock& operator=(const BasicMutexLock&) = delete;

  void unlock() VREL_THREAD_ATTRIBUTE(release_capability()) { lock_.unlock(); }
  void lock() VREL_THREAD_ATTRIBUTE(acquire_capability()) { lock_.lock(); }

  /// For a condition variable to wait with.
  [[nodiscard]] std::unique_lock<Native>& native() { return lock_; }

 private:
  std::unique_lock<Native> lock_;
};

using Mutex = BasicMutex<std::mutex>;
using MutexLock = BasicMutexLock<std::mutex>;

/// For a lock under which foreign code may come back to the same object.
using RecursiveMutex = BasicMutex<std::recursive_mutex>;
using RecursiveMutexLock = BasicMutexLock<std::recursive_mutex>;

}  // namespace vrel
