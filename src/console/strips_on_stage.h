// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "foundation/uuid.h"

// Finding one of the strips of the song on stage, the master not among them. Main thread.

namespace vrel {

class AudioChannel;
class AudioEngine;
struct ConsoleSelection;

[[nodiscard]] std::optional<std::size_t> indexOfStrip(const AudioEngine& engine, const std::optional<Uuid>& id);

/// Null for one that is not on stage.
[[nodiscard]] std::shared_ptr<AudioChannel> stripWithId(const AudioEngine& engine, const std::optional<Uuid>& id);

/// Of a strip, its number and its name; of the master, its name.
[[nodiscard]] std::string numberedName(const AudioEngine& engine, const AudioChannel& channel);

/// None without strips.
void selectFirstStrip(ConsoleSelection& selection, const AudioEngine& engine);

}  // namespace vrel
