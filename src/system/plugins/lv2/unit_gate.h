// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>

#include "foundation/thread_roles.h"

namespace vrel::lv2 {

/// Says who may touch a plug-in at this moment: the block, the control half, or nobody yet.
///
/// The audio half never waits: finding the gate taken, it leaves the block silent. The control half
/// waits for the end of the block that is being rendered, and gives up on a plug-in that hangs in it.
class UnitGate {
 public:
  /// Whether the block got the plug-in; then `leave` must follow.
  [[nodiscard]] bool tryEnterBlock() noexcept VREL_AUDIO_THREAD { return tryTake(); }

  /// Whether the control half got the plug-in within two seconds; then `leave` must follow.
  [[nodiscard]] bool enterControl() VREL_NOT_AUDIO_THREAD;

  void leave() noexcept { taken_.store(false, std::memory_order_release); }

 private:
  bool tryTake() noexcept { return !taken_.exchange(true, std::memory_order_acquire); }

  std::atomic<bool> taken_{false};
};

/// The control half's hold on a gate, given up at the end of the scope.
class ControlHold {
 public:
  explicit ControlHold(UnitGate& gate) VREL_NOT_AUDIO_THREAD : gate_(gate), held_(gate.enterControl()) {}
  ~ControlHold() {
    if (held_) {
      gate_.leave();
    }
  }
  ControlHold(const ControlHold&) = delete;
  ControlHold& operator=(const ControlHold&) = delete;

  explicit operator bool() const { return held_; }

 private:
  UnitGate& gate_;
  bool held_;
};

}  // namespace vrel::lv2
