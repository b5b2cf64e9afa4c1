// SPDX-License-Identifier: GPL-3.0-or-later

// Locks, waits and sleeps. Calls that only try, or only wake others, are allowed.

#include <linux/futex.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdarg>
#include <ctime>

#include "trap.h"

using vrel::rt_trap::check;
using vrel::rt_trap::Real;

namespace {

constinit Real<int(pthread_mutex_t*)> realMutexLock{"pthread_mutex_lock"};
constinit Real<int(pthread_mutex_t*, const timespec*)> realMutexTimedlock{"pthread_mutex_timedlock"};
constinit Real<int(pthread_mutex_t*, clockid_t, const timespec*)> realMutexClocklock{"pthread_mutex_clocklock"};
constinit Real<int(pthread_cond_t*, pthread_mutex_t*)> realCondWait{"pthread_cond_wait"};
constinit Real<int(pthread_cond_t*, pthread_mutex_t*, const timespec*)> realCondTimedwait{"pthread_cond_timedwait"};
constinit Real<int(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec*)> realCondClockwait{
    "pthread_cond_clockwait"};
constinit Real<int(pthread_rwlock_t*)> realReadLock{"pthread_rwlock_rdlock"};
constinit Real<int(pthread_rwlock_t*)> realWriteLock{"pthread_rwlock_wrlock"};
constinit Real<int(pthread_rwlock_t*, const timespec*)> realTimedReadLock{"pthread_rwlock_timedrdlock"};
constinit Real<int(pthread_rwlock_t*, const timespec*)> realTimedWriteLock{"pthread_rwlock_timedwrlock"};
constinit Real<int(sem_t*)> realSemaphoreWait{"sem_wait"};
constinit Real<int(const timespec*, timespec*)> realNanosleep{"nanosleep"};
constinit Real<int(clockid_t, int, const timespec*, timespec*)> realClockNanosleep{"clock_nanosleep"};
constinit Real<int(useconds_t)> realUsleep{"usleep"};
constinit Real<long(long, long, long, long, long, long, long)> realSyscall{"syscall"};

bool waitsOnFutex(long number, long operation) {
  if (number != SYS_futex) {
    return false;
  }
  const long command = operation & FUTEX_CMD_MASK;
  return command == FUTEX_WAIT || command == FUTEX_WAIT_BITSET || command == FUTEX_LOCK_PI;
}

}  // namespace

extern "C" {

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
  check("pthread_mutex_lock");
  return realMutexLock(mutex);
}

int pthread_mutex_timedlock(pthread_mutex_t* mutex, const timespec* deadline) noexcept {
  check("pthread_mutex_timedlock");
  return realMutexTimedlock(mutex, deadline);
}

int pthread_mutex_clocklock(pthread_mutex_t* mutex, clockid_t clock, const timespec* deadline) noexcept {
  check("pthread_mutex_clocklock");
  return realMutexClocklock(mutex, clock, deadline);
}

int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  check("pthread_cond_wait");
  return realCondWait(condition, mutex);
}

int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline) {
  check("pthread_cond_timedwait");
  return realCondTimedwait(condition, mutex, deadline);
}

int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                           const timespec* deadline) {
  check("pthread_cond_clockwait");
  return realCondClockwait(condition, mutex, clock, deadline);
}

int pthread_rwlock_rdlock(pthread_rwlock_t* lock) noexcept {
  check("pthread_rwlock_rdlock");
  return realReadLock(lock);
}

int pthread_rwlock_wrlock(pthread_rwlock_t* lock) noexcept {
  check("pthread_rwlock_wrlock");
  return realWriteLock(lock);
}

int pthread_rwlock_timedrdlock(pthread_rwlock_t* lock, const timespec* deadline) noexcept {
  check("pthread_rwlock_timedrdlock");
  return realTimedReadLock(lock, deadline);
}

int pthread_rwlock_timedwrlock(pthread_rwlock_t* lock, const timespec* deadline) noexcept {
  check("pthread_rwlock_timedwrlock");
  return realTimedWriteLock(lock, deadline);
}

int sem_wait(sem_t* semaphore) {
  check("sem_wait");
  return realSemaphoreWait(semaphore);
}

int nanosleep(const timespec* time, timespec* remaining) {
  check("nanosleep");
  return realNanosleep(time, remaining);
}

int clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* remaining) {
  check("clock_nanosleep");
  return realClockNanosleep(clock, flags, time, remaining);
}

int usleep(useconds_t microseconds) {
  check("usleep");
  return realUsleep(microseconds);
}

// std::atomic::wait, semaphores and latches of the C++ library use this.
long syscall(long number, ...) noexcept {
  std::va_list list;
  va_start(list, number);
  const long first = va_arg(list, long);
  const long second = va_arg(list, long);
  const long third = va_arg(list, long);
  const long fourth = va_arg(list, long);
  const long fifth = va_arg(list, long);
  const long sixth = va_arg(list, long);
  va_end(list);
  if (waitsOnFutex(number, second)) {
    check("futex wait");
  }
  return realSyscall(number, first, second, third, fourth, fifth, sixth);
}
}
