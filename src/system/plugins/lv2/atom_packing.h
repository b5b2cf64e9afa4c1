// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "system/plugins/lv2/atom_urids.h"
#include "system/plugins/lv2/urid_map.h"

namespace vrel::lv2 {

/// Atoms in a form that another process can read: with the URIs behind their numbers, since each process has numbers of
/// its own. Packed: how many there are, 4 bytes; of each the number and the length of the URI, 4 bytes each, and its
/// text; then the atom as it is. Any thread.
class AtomPacking {
 public:
  explicit AtomPacking(UridMap& urids) : urids_(urids), inside_(urids) {}

  /// None for what is not one whole atom.
  [[nodiscard]] std::optional<std::vector<std::uint8_t>> pack(std::span<const std::uint8_t> atom) const;
  [[nodiscard]] std::optional<std::vector<std::uint8_t>> unpack(std::span<const std::uint8_t> packed) const;

 private:
  UridMap& urids_;
  AtomUrids inside_;
};

}  // namespace vrel::lv2
