// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/clip_recorder.h"

#include <algorithm>

#include "engine/audio_engine.h"
#include "system/dispatch/offline_main_loop.h"
#include "vrel-render/event_log.h"

namespace vrel::render {

ClipRecorder::ClipRecorder(AudioEngine& engine, const system::OfflineClock& clock, EventLog* log)
    : engine_(engine), clock_(clock), log_(log) {
  if (log_ != nullptr) {
    players_ = engine_.visualEngine().activePlayers.changed.connect(
        [this](const VrelVisualEngine::Players& players) { follow(players); });
  }
}

void ClipRecorder::follow(const VrelVisualEngine::Players& players) {
  std::erase_if(opacities_, [&](const auto& followed) {
    return std::none_of(players.begin(), players.end(), [&](const auto& each) { return each->id == followed.first; });
  });
  for (const auto& player : players) {
    const auto strip = stripOf(*player);
    if (!strip || opacities_.contains(player->id)) {
      continue;
    }
    opacities_[player->id] =
        player->opacity.changed.connect([this, strip = *strip, note = player->note](const double& opacity) {
          log_->clip(clock_.seconds(), strip, note, opacity);
        });
  }
}

std::optional<std::size_t> ClipRecorder::stripOf(const VrelVisualClipPlayer& player) const {
  const auto& prepared = engine_.visualEngine().playersByChannelAndNote();
  const auto& channels = engine_.channels();
  for (std::size_t strip = 0; strip < channels.size(); ++strip) {
    const auto found = prepared.find(VrelVisualEngine::playerKey(channels[strip]->id, player.note));
    if (found != prepared.end() && found->second->id == player.id) {
      return strip;
    }
  }
  return std::nullopt;
}

}  // namespace vrel::render
