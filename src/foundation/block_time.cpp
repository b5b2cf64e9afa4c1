// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/block_time.h"

namespace vrel {
namespace {

constinit thread_local std::uint64_t timeOfBlock = 0;  // 0 outside of one: no host has just started

}  // namespace

BlockTime::Scope::Scope(std::uint64_t hostTime) noexcept {
  timeOfBlock = hostTime;
}

BlockTime::Scope::~Scope() {
  timeOfBlock = 0;
}

std::optional<std::uint64_t> BlockTime::current() noexcept {
  return timeOfBlock == 0 ? std::nullopt : std::optional(timeOfBlock);
}

}  // namespace vrel
