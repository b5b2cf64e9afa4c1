// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>

#include "foundation/observable.h"
#include "foundation/uuid.h"

namespace vrel {

/// What the console shows as chosen among the strips of the song on stage.
struct ConsoleSelection {
  Observable<std::optional<Uuid>> selectedChannelId;
  Observable<std::uint64_t> channelsViewVersion{0};  // goes up whenever all strips are to be drawn anew
};

}  // namespace vrel
