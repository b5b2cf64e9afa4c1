// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/plugin_crash_handler.h"

#include "channel/audio_channel.h"
#include "engine/effect_racks.h"
#include "engine/instrument_loader.h"
#include "engine/plugin_pool.h"
#include "engine/ringing_strips.h"
#include "engine/strips.h"
#include "platform/console_output.h"
#include "platform/dispatch.h"

namespace vrel {

void PluginCrashHandler::pluginDied(const std::shared_ptr<AVAudioNode>& node, const std::string& how) {
  if (takeFromStrips(node, how)) {
    return;
  }
  pool_.forgetNode(node, [&mainQueue = mainQueue_, this, life = life_.watch(), node, how](bool wasParked) {
    mainQueue.async([this, life, node, how, wasParked] {
      if (life.isAlive() && !takeFromStrips(node, how)) {
        console_.print("Plug-in crashed outside of all strips: " + how +
                       (wasParked ? "; it was parked for a later song, which loads it again" : ""));
      }
    });
  });
}

bool PluginCrashHandler::takeFromStrips(const std::shared_ptr<AVAudioNode>& node, const std::string& how) {
  for (const auto& channel : strips_.channels) {
    if (channel->instrumentNode.get() == node) {
      console_.printFailure(FailureKind::instrument, "Plug-in crashed on strip " + channel->name.get() + ": " + how);
      instruments_.loseInstrument(*channel);
      return true;
    }
    if (effects_.loseEffectNode(*channel, node)) {
      console_.printFailure(FailureKind::effect, "Effect crashed on strip " + channel->name.get() + ": " + how);
      return true;
    }
  }
  if (effects_.loseEffectNode(*strips_.masterChannel, node)) {
    console_.printFailure(FailureKind::effect, "Effect crashed on the master: " + how);
    return true;
  }
  return takeFromRinging(node, how);
}

// Not a failure to be shown: the song on stage has lost nothing.
bool PluginCrashHandler::takeFromRinging(const std::shared_ptr<AVAudioNode>& node, const std::string& how) {
  for (const auto& channel : strips_.ringing) {
    if (channel->instrumentNode.get() == node) {
      console_.print("Plug-in crashed on strip " + channel->name.get() + ", which rang on: " + how);
      instruments_.simulatePluginCrash(*channel);
      ringing_.end(channel);
      return true;
    }
    if (effects_.loseEffectNode(*channel, node)) {
      console_.print("Effect crashed on strip " + channel->name.get() + ", which rings on: " + how);
      return true;
    }
  }
  return false;
}

}  // namespace vrel
