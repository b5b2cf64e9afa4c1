// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lv2/atom/atom.h>

#include <cstdint>
#include <functional>
#include <span>

#include "system/plugins/lv2/urid_map.h"

namespace vrel::lv2 {

/// Finds the URI numbers inside a value. They mean something in this process only, so a value that
/// is kept needs the URIs beside it, and a value that is restored needs today's numbers.
class AtomUrids {
 public:
  using Translation = std::function<LV2_URID(LV2_URID)>;

  explicit AtomUrids(UridMap& urids);

  /// Puts what `translation` makes of every URI number in a value of `type` in its place, in nested
  /// values too. False when the bytes do not have the form of their type; some may then be changed.
  [[nodiscard]] bool translate(LV2_URID type, std::span<std::uint8_t> body, const Translation& translation) const;

 private:
  struct Walk;

  LV2_URID uridType_;
  LV2_URID tuple_;
  LV2_URID object_;
  LV2_URID vector_;
  LV2_URID sequence_;
  LV2_URID literal_;
};

}  // namespace vrel::lv2
