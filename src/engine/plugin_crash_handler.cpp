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
  with_.pool.forgetNode(node);
  with_.mainQueue.async([this, life = life_.watch(), weakNode = std::weak_ptr(node)] {
    const auto late = weakNode.lock();
    if (life.isAlive() && late != nullptr) {
      (void)takeFromStrips(late);
    }
  });
}

bool PluginCrashHandler::takeFromStrips(const std::shared_ptr<AVAudioNode>& node) {
  for (const auto& channel : with_.strips.channels) {
    if (channel->instrumentNode.get() == node) {
      with_.instruments.simulatePluginCrash(*channel);
      return true;
    }
    if (with_.effects.loseEffectNode(*channel, node)) {
      return true;
    }
  }
  return with_.effects.loseEffectNode(*with_.strips.masterChannel, node);
}

}  // namespace vrel
