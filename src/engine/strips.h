// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include "channel/audio_channel.h"

namespace vrel {

/// The strips of the song on stage, in strip order, and the master, which is never among them and
/// lives as long as the engine. Beside them those of the song before that ring; see RingingStrips. Main thread.
struct Strips {
  std::vector<std::shared_ptr<AudioChannel>> channels;
  std::vector<std::shared_ptr<AudioChannel>> ringing;
  std::shared_ptr<AudioChannel> masterChannel;

  [[nodiscard]] bool isMaster(const AudioChannel& channel) const { return channel.id == masterChannel->id; }

  /// False for one that was taken out but is still referenced, or rings.
  [[nodiscard]] bool holds(const AudioChannel& channel) const {
    return isMaster(channel) || std::any_of(channels.begin(), channels.end(),
                                            [&channel](const auto& each) { return each->id == channel.id; });
  }
};

}  // namespace vrel
