// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <deque>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "platform/clock.h"
#include "platform/dispatch.h"

namespace vrel::simulation {

/// A clock that only a test advances. One host tick is one nanosecond.
class VirtualClock : public HostClock {
 public:
  [[nodiscard]] std::uint64_t AudioGetCurrentHostTime() const override { return nanoseconds_; }
  [[nodiscard]] std::uint64_t AudioConvertHostTimeToNanos(std::uint64_t hostTime) const override { return hostTime; }
  [[nodiscard]] std::uint64_t AudioConvertNanosToHostTime(std::uint64_t nanoseconds) const override {
    return nanoseconds;
  }
  [[nodiscard]] double CACurrentMediaTime() const override { return seconds(); }

  [[nodiscard]] double seconds() const { return static_cast<double>(nanoseconds_) * 1e-9; }
  void setNanoseconds(std::uint64_t nanoseconds) { nanoseconds_ = nanoseconds; }

 private:
  std::uint64_t nanoseconds_ = 1'000'000'000;  // not 0, so that a time of 0 means never
};

/// A serial queue whose work runs when the test cranks it. `sync` first runs what is before it.
class CrankedQueue : public DispatchQueue {
 public:
  void async(Work work) override { pending_.push_back(std::move(work)); }
  void sync(const Work& work) override;

  /// Runs the oldest work item; false when there is none.
  bool runOne();
  void runAll();
  [[nodiscard]] std::size_t pendingCount() const { return pending_.size(); }

 private:
  std::deque<Work> pending_;
};

/// The main queue on virtual time. Delayed work and timers fire in the order of their times.
class CrankedMainQueue : public MainQueue {
 public:
  explicit CrankedMainQueue(VirtualClock& clock) : clock_(clock) {}

  void async(Work work) override { ready_.async(std::move(work)); }
  /// Not allowed on the main queue: a programming error, and fatal.
  void sync(const Work& work) override;
  void asyncAfter(double seconds, Work work) override;
  std::unique_ptr<RepeatingTimer> repeatingTimer(double intervalSeconds, Work work) override;

  bool runOne() { return ready_.runOne(); }
  [[nodiscard]] std::size_t pendingCount() const { return ready_.pendingCount(); }
  /// Runs all that is ready, and what that posts, without advancing the clock.
  void runAll() { ready_.runAll(); }
  /// Advances the clock, firing what is due on the way, each at its own time.
  void advance(double seconds);

 private:
  class Timer;
  struct TimerState {
    std::uint64_t intervalNanoseconds;
    Work work;
  };
  void fireAt(std::uint64_t due, Work work) { delayed_.emplace(due, std::move(work)); }
  void scheduleTick(std::uint64_t due, const std::weak_ptr<TimerState>& timer);

  VirtualClock& clock_;
  CrankedQueue ready_;
  std::multimap<std::uint64_t, Work> delayed_;  // by due time, nanoseconds; equal times in order of arrival
};

/// Makes queues that a test can find by label.
class CrankedQueueFactory : public DispatchQueueFactory {
 public:
  std::unique_ptr<DispatchQueue> makeSerialQueue(const std::string& label) override;

  /// The queue of this label, which must have been made and not destroyed.
  [[nodiscard]] CrankedQueue& queue(const std::string& label) { return *queues_.at(label); }

 private:
  std::map<std::string, CrankedQueue*> queues_;
};

}  // namespace vrel::simulation
