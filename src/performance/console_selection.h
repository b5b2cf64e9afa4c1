// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>

#include "foundation/observable.h"
#include "foundation/uuid.h"

namespace vrel {

/// The selection among the strips of the song on stage.
struct ConsoleSelection {
  Observable<std::optional<Uuid>> selectedChannelId;
  Observable<std::uint64_t> channelsViewVersion{0};  // increases whenever all strips must be rebuilt
};

}  // namespace vrel
