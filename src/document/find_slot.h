// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>

#include "document/setlist.h"
#include "foundation/uuid.h"

namespace vrel {

/// The slot of a rack with this id; the end where there is none. `Slots` is a vector of `AudioPluginSlot`.
template <typename Slots>
[[nodiscard]] auto findSlot(Slots& slots, const Uuid& id) {
  return std::find_if(slots.begin(), slots.end(), [&id](const AudioPluginSlot& slot) { return slot.id == id; });
}

}  // namespace vrel
