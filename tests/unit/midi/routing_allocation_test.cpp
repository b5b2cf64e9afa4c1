// SPDX-License-Identifier: GPL-3.0-or-later
//
// In an executable of its own, since it counts every allocation of the process.

#include <cstdint>
#include <cstdlib>
#include <new>

#include "support/simulated_stage.h"

namespace {

std::size_t allocationCount = 0;

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
  ++allocationCount;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) {
    return memory;
  }
  throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

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
    const auto before = allocationCount;
    for (int kind = 0x80; kind <= 0xF0; kind += 0x10) {
      const auto status = static_cast<std::uint8_t>(kind);
      engine->routeMIDI(status, 64, 100);
      engine->sendPerformanceMIDI(status, 64, 100);
    }
    return allocationCount - before;
  }
};

TEST_F(RoutingAllocation, TheCounterCounts) {
  const auto before = allocationCount;
  ::operator delete(::operator new(1));
  EXPECT_GT(allocationCount, before);
}

TEST_F(RoutingAllocation, RoutingTo64StripsAllocatesNothing) {
  EXPECT_EQ(allocationsWith(64), 0U);
}

}  // namespace
}  // namespace vrel
