// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "engine/channel/audio_channel.h"

namespace vrel {

/// The strips of the song on stage, in strip order, and the master, which is never among them and
/// lives as long as the engine. Main thread.
struct Strips {
  std::vector<std::shared_ptr<AudioChannel>> channels;
  std::shared_ptr<AudioChannel> masterChannel;

  [[nodiscard]] bool isMaster(const AudioChannel& channel) const { return channel.id == masterChannel->id; }
};

}  // namespace vrel
