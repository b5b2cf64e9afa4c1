// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <set>
#include <vector>

#include "foundation/observable.h"

namespace vrel {

class AppState;
class MidiInput;

/// What is played now, for the window to show. Written on the main thread, read where it is drawn; MIDI may change it
/// far more often than that.
struct PlayedNow {
  std::array<std::atomic<std::uint64_t>, 4> notes{};  // a bit for each of 256 notes
  std::atomic<float> pitchBend{0};                    // -1 to 1
  std::atomic<float> modulation{0};                   // 0 to 1
  std::atomic<float> sustain{0};
  std::atomic<float> expression{0};
  std::atomic<std::uint32_t> messages{0};  // that have come from the MIDI sources
};

/// Keeps it as the session has it. Main thread.
class PlayedNowSource {
 public:
  /// The state must outlive this, or never change again.
  PlayedNowSource(AppState& state, std::shared_ptr<PlayedNow> played);

  /// Counts what comes from the sources. To be called once; the input may outlive this.
  void follow(MidiInput& input);

 private:
  void showNotes(const std::set<std::uint8_t>& notes);
  void follow(Observable<float>& value, std::atomic<float>& shown);

  std::shared_ptr<PlayedNow> played_;
  std::vector<std::shared_ptr<void>> connections_;
};

/// How the four items of the performance display show a value.
struct PerformanceItem {
  static constexpr double leastActiveSustain = 0.5;
  static constexpr double leastExpression = 0.01;  // above it, it is active
  static constexpr double leastFill = 0.12;

  /// The bend on the scale of its bar, 0 to 1, at rest in the middle.
  [[nodiscard]] static constexpr double pitchPlace(double bend) { return (bend + 1) * 0.5; }
  [[nodiscard]] static constexpr bool isSustainActive(double value) { return value >= leastActiveSustain; }
  [[nodiscard]] static constexpr bool isExpressionActive(double value) { return value > leastExpression; }
  /// The part of its track that a line fills: one that is active can always be seen, the other never.
  [[nodiscard]] static constexpr double fill(double value, bool isActive) {
    return !isActive ? 0 : value < leastFill ? leastFill : value;
  }
};

}  // namespace vrel
