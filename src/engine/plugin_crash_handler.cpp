// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/plugin_crash_handler.h"

#include "channel/audio_channel.h"
#include "engine/effect_racks.h"
#include "engine/instrument_loader.h"
#include "engine/plugin_pool.h"
#include "engine/strips.h"
#include "platform/dispatch.h"

namespace vrel {

void PluginCrashHandler::pluginDied(const std::shared_ptr<AVAudioNode>& node) {
  if (takeFromStrips(node)) {
    return;
  }
  pool_.forgetNode(node);
  mainQueue_.async([this, life = life_.watch(), weakNode = std::weak_ptr(node)] {
    const auto late = weakNode.lock();
    if (life.isAlive() && late != nullptr) {
      (void)takeFromStrips(late);
    }
  });
}

bool PluginCrashHandler::takeFromStrips(const std::shared_ptr<AVAudioNode>& node) {
  for (const auto& channel : strips_.channels) {
    if (channel->instrumentNode.get() == node) {
      instruments_.simulatePluginCrash(*channel);
      return true;
    }
    if (effects_.loseEffectNode(*channel, node)) {
      return true;
    }
  }
  return effects_.loseEffectNode(*strips_.masterChannel, node);
}

}  // namespace vrel
