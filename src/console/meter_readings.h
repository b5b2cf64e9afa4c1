// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

namespace vrel {

class AudioChannel;
class AudioEngine;
class MainQueue;
class RepeatingTimer;

/// Takes what the taps have caught for the meters, 120 times a second: the displayed peaks rise to it at once, and fall
/// by the engine's decay. The one reader of the raw peaks.
///
/// Main thread; of the taps' threads it waits for no more than two assignments.
class MeterReadings {
 public:
  static constexpr double refreshRate = 120.0;  // per second

  /// Both are borrowed.
  MeterReadings(AudioEngine& engine, MainQueue& mainQueue);
  ~MeterReadings();
  MeterReadings(const MeterReadings&) = delete;
  MeterReadings& operator=(const MeterReadings&) = delete;

 private:
  void takeAll();

  AudioEngine& engine_;
  std::unique_ptr<RepeatingTimer> timer_;
};

}  // namespace vrel
