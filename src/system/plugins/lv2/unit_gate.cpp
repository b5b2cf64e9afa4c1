// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/unit_gate.h"

#include <chrono>
#include <thread>

namespace vrel::lv2 {

bool UnitGate::enterControl() {
  constexpr auto timeout = std::chrono::seconds(2);
  const auto start = std::chrono::steady_clock::now();
  while (!tryTake()) {
    if (std::chrono::steady_clock::now() - start > timeout) {
      return false;
    }
    // Longer than a spin, much shorter than a block: the block must not be kept from its processor.
    std::this_thread::sleep_for(std::chrono::microseconds(20));
  }
  return true;
}

}  // namespace vrel::lv2
