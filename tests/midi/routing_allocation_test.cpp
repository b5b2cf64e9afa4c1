// SPDX-License-Identifier: GPL-3.0-or-later
//
// In an executable of its own, since it counts every allocation of the process.

#include <cstdint>
#include <new>

#include "support/allocations/allocation_count.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

class RoutingAllocation : public SimulatedStage {
 protected:
  /// Allocations while all kinds of messages are routed to this many strips.
  std::size_t allocationsWith(int stripCount) {
    for (int strip = 0; strip < stripCount; ++strip) {
      const auto added = addStrip("Strip");
      added.instrument->events.reserve(1000);
      added.channel->sustainControlsRotor.set(strip % 2 == 0);
    }
    const auto before = test::allocationCount();
    for (int kind = 0x80; kind <= 0xF0; kind += 0x10) {
      const auto status = static_cast<std::uint8_t>(kind);
      engine->routeMIDI(status, 64, 100);
      engine->sendPerformanceMIDI(status, 64, 100);
    }
    return test::allocationCount() - before;
  }
};

TEST_F(RoutingAllocation, TheCounterCounts) {
  const auto before = test::allocationCount();
  ::operator delete(::operator new(1));
  EXPECT_GT(test::allocationCount(), before);
}

TEST_F(RoutingAllocation, RoutingTo64StripsAllocatesNothing) {
  EXPECT_EQ(allocationsWith(64), 0U);
}

}  // namespace
}  // namespace vrel
