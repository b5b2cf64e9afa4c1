// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "console/meter_bar.h"
#include "foundation/uuid.h"

namespace vrel {

class AudioChannel;
class AudioEngine;
class MainQueue;
class RepeatingTimer;

/// What the meter of a strip shows, places on its scale. Written on the main thread, read where it is drawn.
struct MeterCell {
  struct Bar {
    std::atomic<float> displayed{0};
    std::atomic<float> hold{0};
  };
  Bar left;
  Bar right;
};

/// The meters of all strips and of the master. 120 times a second each takes what the taps have caught, raises the
/// displayed peaks to it, and moves its two bars. The one reader of the raw peaks.
///
/// A meter belongs to a place in the row of strips: after a song switch it falls from where it was. Main thread; of the
/// taps' threads it waits for no more than two assignments. A tick allocates nothing, unless the strips have changed.
class MeterReadings {
 public:
  /// Finds where the meter of a strip is shown.
  using FindCell = std::function<std::shared_ptr<MeterCell>(const AudioChannel& channel)>;

  /// Engine and queue are borrowed.
  MeterReadings(AudioEngine& engine, MainQueue& mainQueue, FindCell findCell);
  ~MeterReadings();
  MeterReadings(const MeterReadings&) = delete;
  MeterReadings& operator=(const MeterReadings&) = delete;

  /// One tick.
  void tick();

 private:
  struct Peaks {
    float left = 0;
    float right = 0;
  };
  struct Meter {
    std::optional<Uuid> channel;  // whose level it shows
    std::shared_ptr<MeterCell> cell;
    MeterBar left;
    MeterBar right;
  };

  [[nodiscard]] Peaks aggregate() const;
  void run(Meter& meter, AudioChannel& channel, const Peaks& floor);

  AudioEngine& engine_;
  FindCell findCell_;
  std::vector<Meter> strips_;
  Meter master_;
  std::unique_ptr<RepeatingTimer> timer_;
};

}  // namespace vrel
