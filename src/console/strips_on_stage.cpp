// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/strips_on_stage.h"

#include <algorithm>

#include "engine/audio_engine.h"
#include "performance/console_selection.h"

namespace vrel {

std::optional<std::size_t> indexOfStrip(const AudioEngine& engine, const std::optional<Uuid>& id) {
  const auto& strips = engine.channels();
  const auto found = std::find_if(strips.begin(), strips.end(), [&](const auto& strip) { return id == strip->id; });
  return found == strips.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - strips.begin()));
}

std::shared_ptr<AudioChannel> stripWithId(const AudioEngine& engine, const std::optional<Uuid>& id) {
  const auto index = indexOfStrip(engine, id);
  return index ? engine.channels()[*index] : nullptr;
}

std::string numberedName(const AudioEngine& engine, const AudioChannel& channel) {
  const auto index = indexOfStrip(engine, channel.id);
  return index ? std::to_string(*index + 1) + "  " + channel.name.get() : channel.name.get();
}

void selectFirstStrip(ConsoleSelection& selection, const AudioEngine& engine) {
  const auto& strips = engine.channels();
  selection.selectedChannelId.set(strips.empty() ? std::nullopt : std::optional(strips.front()->id));
}

}  // namespace vrel
