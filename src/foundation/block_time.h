// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>

namespace vrel {

/// The host time of the first frame of the block that the calling thread renders. Within a block the clock of the host
/// shows this time, so that all plug-ins of the block get the same one, and blocks are as far apart as their frames
/// last, whenever their device asks for them.
class BlockTime {
 public:
  /// Sets the time for as long as it lives. Inside a block; not nested.
  class Scope {
   public:
    explicit Scope(std::uint64_t hostTime) noexcept;
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
  };

  /// None outside of a block.
  [[nodiscard]] static std::optional<std::uint64_t> current() noexcept;
};

}  // namespace vrel
