// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/strip_controls.h"

#include <algorithm>
#include <cstdint>

#include "console/control_laws.h"
#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "performance/live_mode_policy.h"

namespace vrel {

void StripControls::setName(AudioChannel& channel, const std::string& name) {
  channel.name.set(name);
  state_.markEdited();
}

void StripControls::setVolume(AudioChannel& channel, float position) {
  channel.volume.set(std::clamp(position, 0.0F, 1.0F));
  state_.edited.emit();
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

void StripControls::setGain(AudioChannel& channel, double position) {
  if (const auto changed = knobChange(channel.gain.get(), position)) {
    channel.gain.set(*changed);
    state_.markEdited();
  }
}

void StripControls::setReverb(AudioChannel& channel, double position) {
  if (const auto changed = knobChange(channel.reverb.get(), position)) {
    channel.reverb.set(*changed);
    state_.markEdited();
  }
}

void StripControls::setColor(AudioChannel& channel, const std::array<float, 3>& components) {
  channel.color.set({components.begin(), components.end()});
  state_.markEdited();
}

void StripControls::setMasterColor(const std::array<float, 3>& components) {
  if (LiveModePolicy::isAllowed(LiveModeAction::chooseMasterColor, state_)) {
    setColor(*engine_.masterChannel(), components);
  }
}

void StripControls::setTranspose(AudioChannel& channel, int semitones) {
  const int limited = std::clamp(semitones, lowestTranspose, highestTranspose);
  if (limited != channel.transpose.get()) {
    channel.transpose.set(static_cast<std::int8_t>(limited));
    state_.markEdited();
  }
}

void StripControls::setMinNote(AudioChannel& channel, int note) {
  const int limited = lowSplitNote(std::clamp(note, 0, highestNote), channel.maxNote.get());
  if (limited != channel.minNote.get()) {
    channel.minNote.set(static_cast<std::uint8_t>(limited));
    state_.markEdited();
  }
}

void StripControls::setMaxNote(AudioChannel& channel, int note) {
  const int limited = highSplitNote(std::clamp(note, 0, highestNote), channel.minNote.get());
  if (limited != channel.maxNote.get()) {
    channel.maxNote.set(static_cast<std::uint8_t>(limited));
    state_.markEdited();
  }
}

void StripControls::enterTranspose(AudioChannel& channel, std::string_view draft) {
  if (const auto entered = badgeCommit(draft, channel.transpose.get(), lowestTranspose, highestTranspose)) {
    setTranspose(channel, *entered);
  }
}

void StripControls::enterMinNote(AudioChannel& channel, std::string_view draft) {
  if (const auto entered = badgeCommit(draft, channel.minNote.get(), 0, highestNote)) {
    setMinNote(channel, *entered);
  }
}

void StripControls::enterMaxNote(AudioChannel& channel, std::string_view draft) {
  if (const auto entered = badgeCommit(draft, channel.maxNote.get(), 0, highestNote)) {
    setMaxNote(channel, *entered);
  }
}

void StripControls::toggleSendSustain(AudioChannel& channel) {
  channel.sendSustain.set(!channel.sendSustain.get());
  state_.markEdited();
}

void StripControls::toggleSendExpression(AudioChannel& channel) {
  channel.sendExpression.set(!channel.sendExpression.get());
  state_.markEdited();
}

void StripControls::toggleSustainControlsRotor(AudioChannel& channel) {
  channel.sustainControlsRotor.set(!channel.sustainControlsRotor.get());
  state_.markEdited();
}

}  // namespace vrel
