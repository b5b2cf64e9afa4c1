// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/strip_controls.h"

#include <algorithm>

#include "document/app_state.h"
#include "engine/audio_engine.h"

namespace vrel {

void StripControls::setName(AudioChannel& channel, const std::string& name) {
  channel.name.set(name);
  state_.markEdited();
}

void StripControls::setVolume(AudioChannel& channel, float position) {
  channel.volume.set(std::clamp(position, 0.0F, 1.0F));
}

void StripControls::toggleMute(AudioChannel& channel) {
  channel.mute.set(!channel.mute.get());
  engine_.applyMixerLevels();
  state_.markEdited();
}

void StripControls::toggleSolo(AudioChannel& channel) {
  channel.solo.set(!channel.solo.get());
  engine_.applyMixerLevels();
  state_.markEdited();
}

}  // namespace vrel
