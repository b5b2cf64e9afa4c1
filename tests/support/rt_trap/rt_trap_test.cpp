// SPDX-License-Identifier: GPL-3.0-or-later

// The trap is armed in this executable: each watched call must abort inside a block, and pass
// outside a block and inside foreign code.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/futex.h>
#include <malloc.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>

#include "foundation/thread_roles.h"

namespace {

// Everything a call needs, created before the block begins.
struct Surroundings {
  void* block = nullptr;
  int* number = nullptr;
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
  pthread_rwlock_t readWriteLock = PTHREAD_RWLOCK_INITIALIZER;
  sem_t semaphore{};
  std::array<int, 2> pipe{};
  std::FILE* nowhere = nullptr;
  std::atomic<bool> finished{false};
  std::thread waker;

  void makeReady() {
    block = std::malloc(64);
    number = new int(1);
    pthread_mutex_lock(&mutex);
    sem_init(&semaphore, 0, 1);
    ASSERT_EQ(::pipe(pipe.data()), 0);
    ASSERT_EQ(::write(pipe[1], "x", 1), 1);
    nowhere = std::fopen("/dev/null", "w");
    ASSERT_NE(nowhere, nullptr);
    pthread_mutex_unlock(&mutex);
  }

  // Signals the condition until the call has returned.
  void startWaking() {
    waker = std::thread([this] {
      while (!finished.load()) {
        pthread_cond_broadcast(&condition);
        std::this_thread::yield();
      }
    });
  }

  void putAway() {
    finished = true;
    if (waker.joinable()) {
      waker.join();
    }
    std::free(block);
    delete number;
    ::close(pipe[0]);
    ::close(pipe[1]);
    std::fclose(nowhere);
    sem_destroy(&semaphore);
  }
};

constexpr timespec longAgo{};

// Keeps the compiler from removing an unused allocation.
void keep(void* pointer) {
  asm volatile("" : : "r"(pointer) : "memory");
}

struct TrappedCall {
  const char* name;
  const char* reportedAs;
  void (*call)(Surroundings&);
  bool needsWaking = false;

  friend std::ostream& operator<<(std::ostream& stream, const TrappedCall& trapped) { return stream << trapped.name; }
};

void replaceBlock(Surroundings& around, void* block) {
  const vrel::ForeignCodeScope tidyingUp;
  std::free(around.block);
  around.block = block;
}

const TrappedCall trappedCalls[] = {
    {"Malloc", "malloc", [](Surroundings& around) { replaceBlock(around, std::malloc(16)); }},
    {"Calloc", "calloc", [](Surroundings& around) { replaceBlock(around, std::calloc(4, 4)); }},
    {"Realloc", "realloc", [](Surroundings& around) { around.block = std::realloc(around.block, 4096); }},
    {"Free", "free",
     [](Surroundings& around) {
       std::free(around.block);
       around.block = nullptr;
     }},
    {"Memalign", "memalign", [](Surroundings& around) { replaceBlock(around, ::memalign(64, 64)); }},
    {"AlignedAlloc", "aligned_alloc", [](Surroundings& around) { replaceBlock(around, std::aligned_alloc(64, 64)); }},
    {"PosixMemalign", "posix_memalign",
     [](Surroundings& around) {
       void* made = nullptr;
       EXPECT_EQ(::posix_memalign(&made, 64, 64), 0);
       replaceBlock(around, made);
     }},
    {"New", "malloc",
     [](Surroundings&) {
       auto made = std::make_unique<std::array<char, 100>>();
       keep(made.get());
     }},
    {"Delete", "free",
     [](Surroundings& around) {
       delete around.number;
       around.number = nullptr;
     }},
    {"LongString", "malloc",
     [](Surroundings&) {
       std::string text(100, 'x');
       keep(text.data());
     }},
    {"Throw", "malloc",
     [](Surroundings&) {
       try {
         throw 1;
       } catch (int) {
       }
     }},
    {"MutexLock", "pthread_mutex_lock",
     [](Surroundings& around) {
       pthread_mutex_lock(&around.mutex);
       pthread_mutex_unlock(&around.mutex);
     }},
    {"MutexOfTheLibrary", "pthread_mutex_lock",
     [](Surroundings&) {
       std::mutex mutex;
       const std::lock_guard lock(mutex);
     }},
    {"MutexTimedlock", "pthread_mutex_timedlock",
     [](Surroundings& around) {
       EXPECT_EQ(pthread_mutex_timedlock(&around.mutex, &longAgo), 0);
       pthread_mutex_unlock(&around.mutex);
     }},
    {"MutexClocklock", "pthread_mutex_clocklock",
     [](Surroundings& around) {
       EXPECT_EQ(pthread_mutex_clocklock(&around.mutex, CLOCK_MONOTONIC, &longAgo), 0);
       pthread_mutex_unlock(&around.mutex);
     }},
    {"ConditionWait", "pthread_cond_wait",
     [](Surroundings& around) {
       // The lock is taken in foreign code: this case is about the wait.
       {
         const vrel::ForeignCodeScope foreign;
         pthread_mutex_lock(&around.mutex);
       }
       pthread_cond_wait(&around.condition, &around.mutex);
       pthread_mutex_unlock(&around.mutex);
     },
     true},
    {"ConditionTimedwait", "pthread_cond_timedwait",
     [](Surroundings& around) {
       {
         const vrel::ForeignCodeScope foreign;
         pthread_mutex_lock(&around.mutex);
       }
       EXPECT_EQ(pthread_cond_timedwait(&around.condition, &around.mutex, &longAgo), ETIMEDOUT);
       pthread_mutex_unlock(&around.mutex);
     }},
    {"ConditionClockwait", "pthread_cond_clockwait",
     [](Surroundings& around) {
       {
         const vrel::ForeignCodeScope foreign;
         pthread_mutex_lock(&around.mutex);
       }
       EXPECT_EQ(pthread_cond_clockwait(&around.condition, &around.mutex, CLOCK_MONOTONIC, &longAgo), ETIMEDOUT);
       pthread_mutex_unlock(&around.mutex);
     }},
    {"ReadLock", "pthread_rwlock_rdlock",
     [](Surroundings& around) {
       pthread_rwlock_rdlock(&around.readWriteLock);
       pthread_rwlock_unlock(&around.readWriteLock);
     }},
    {"WriteLock", "pthread_rwlock_wrlock",
     [](Surroundings& around) {
       pthread_rwlock_wrlock(&around.readWriteLock);
       pthread_rwlock_unlock(&around.readWriteLock);
     }},
    {"TimedReadLock", "pthread_rwlock_timedrdlock",
     [](Surroundings& around) {
       EXPECT_EQ(pthread_rwlock_timedrdlock(&around.readWriteLock, &longAgo), 0);
       pthread_rwlock_unlock(&around.readWriteLock);
     }},
    {"TimedWriteLock", "pthread_rwlock_timedwrlock",
     [](Surroundings& around) {
       EXPECT_EQ(pthread_rwlock_timedwrlock(&around.readWriteLock, &longAgo), 0);
       pthread_rwlock_unlock(&around.readWriteLock);
     }},
    {"SemaphoreWait", "sem_wait", [](Surroundings& around) { EXPECT_EQ(sem_wait(&around.semaphore), 0); }},
    {"FutexWait", "futex wait",
     [](Surroundings&) {
       int word = 1;
       EXPECT_EQ(::syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0), -1);
     }},
    {"Nanosleep", "nanosleep", [](Surroundings&) { EXPECT_EQ(::nanosleep(&longAgo, nullptr), 0); }},
    {"ClockNanosleep", "clock_nanosleep",
     [](Surroundings&) { EXPECT_EQ(::clock_nanosleep(CLOCK_MONOTONIC, 0, &longAgo, nullptr), 0); }},
    {"Usleep", "usleep", [](Surroundings&) { EXPECT_EQ(::usleep(0), 0); }},
    {"Open", "open",
     [](Surroundings&) {
       const int file = ::open("/dev/null", O_RDONLY);
       EXPECT_GE(file, 0);
       ::close(file);
     }},
    {"OpenAt", "openat",
     [](Surroundings&) {
       const int file = ::openat(AT_FDCWD, "/dev/null", O_RDONLY);
       EXPECT_GE(file, 0);
       ::close(file);
     }},
    {"Close", "close", [](Surroundings& around) { EXPECT_EQ(::close(std::exchange(around.pipe[1], -1)), 0); }},
    {"Read", "read",
     [](Surroundings& around) {
       char byte = 0;
       EXPECT_EQ(::read(around.pipe[0], &byte, 1), 1);
     }},
    {"Write", "write", [](Surroundings& around) { EXPECT_EQ(::write(around.pipe[1], "y", 1), 1); }},
    {"FileWrite", "fwrite", [](Surroundings& around) { EXPECT_EQ(std::fwrite("y", 1, 1, around.nowhere), 1u); }},
    {"FilePuts", "fputs", [](Surroundings& around) { EXPECT_GE(std::fputs("some text", around.nowhere), 0); }},
    {"Puts", "puts", [](Surroundings&) { EXPECT_GE(std::puts("a line printed by the test"), 0); }},
    {"Print", "printf", [](Surroundings&) { EXPECT_GT(std::printf("%d printed by the test\n", 1), 0); }},
    {"FilePrint", "fprintf", [](Surroundings& around) { EXPECT_EQ(std::fprintf(around.nowhere, "%d", 10), 2); }},
};

class RtTrap : public testing::TestWithParam<TrappedCall> {
 protected:
  void makeReady() {
    around_.makeReady();
    if (GetParam().needsWaking) {
      around_.startWaking();
    }
  }

  Surroundings around_;
};

TEST_P(RtTrap, AbortsInsideABlock) {
  const std::string report = std::string("rt trap: ") + GetParam().reportedAs + " inside an audio block\n";
  EXPECT_DEATH(
      {
        makeReady();
        const vrel::AudioThreadScope block;
        GetParam().call(around_);
      },
      report);
}

TEST_P(RtTrap, LetsTheCallPassOutsideABlock) {
  makeReady();
  GetParam().call(around_);
  around_.putAway();
}

TEST_P(RtTrap, LetsTheCallPassInForeignCode) {
  makeReady();
  {
    const vrel::AudioThreadScope block;
    const vrel::ForeignCodeScope plugin;
    GetParam().call(around_);
  }
  around_.putAway();
}

INSTANTIATE_TEST_SUITE_P(Call, RtTrap, testing::ValuesIn(trappedCalls),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(RtTrapRules, AnotherThreadMayAllocateDuringABlock) {
  std::atomic<bool> begun{false};
  std::atomic<bool> allocated{false};
  std::thread other([&] {
    while (!begun.load()) {
      std::this_thread::yield();
    }
    keep(std::make_unique<int>(1).get());
    allocated = true;
  });
  {
    const vrel::AudioThreadScope block;
    begun = true;
    while (!allocated.load()) {
    }
  }
  other.join();
}

// Libraries end their threads this way, and the C library implements it by unwinding.
TEST(RtTrapRules, AThreadMayBeCancelledWhileItWaitsInAWatchedCall) {
  static std::array<int, 2> silent{};
  ASSERT_EQ(::pipe(silent.data()), 0);
  const auto read = [](void*) -> void* {
    char byte = 0;
    return ::read(silent[0], &byte, 1) == 1 ? nullptr : &silent;
  };
  const auto waitOnFutex = [](void*) -> void* {
    static int word = 0;
    pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
    while (true) {
      ::syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
    }
  };
  for (void* (*const wait)(void*) : {+read, +waitOnFutex}) {
    pthread_t waiting{};
    ASSERT_EQ(pthread_create(&waiting, nullptr, wait, nullptr), 0);
    ::usleep(10'000);  // it waits by now; if it were late, it would end earlier
    pthread_cancel(waiting);
    void* end = nullptr;
    EXPECT_EQ(pthread_join(waiting, &end), 0);
    EXPECT_EQ(end, PTHREAD_CANCELED);
  }
  ::close(silent[0]);
  ::close(silent[1]);
}

TEST(RtTrapRules, TheBlockGoesOnAfterForeignCode) {
  EXPECT_DEATH(
      {
        const vrel::AudioThreadScope block;
        {
          const vrel::ForeignCodeScope plugin;
          keep(std::malloc(16));
        }
        keep(std::malloc(16));
      },
      "rt trap: malloc");
}

TEST(RtTrapRules, WhatCannotWaitIsAllowed) {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  std::condition_variable condition;
  const vrel::AudioThreadScope block;
  const int taken = pthread_mutex_trylock(&mutex);
  if (taken == 0) {
    pthread_mutex_unlock(&mutex);
  }
  condition.notify_one();
  std::free(nullptr);
  const vrel::ForeignCodeScope reporting;
  EXPECT_EQ(taken, 0);
}

}  // namespace
