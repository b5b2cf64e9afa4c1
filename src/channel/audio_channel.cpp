// SPDX-License-Identifier: GPL-3.0-or-later
#include "channel/audio_channel.h"

namespace vrel {

AudioChannel::AudioChannel(std::string channelName, std::weak_ptr<ChannelMixer> owner)
    : name(std::move(channelName)), engine(std::move(owner)) {
  const auto applyLevels = [this] {
    if (const auto mixer = engine.lock()) {
      mixer->applyMixerLevels();
    }
  };
  volume.setEffect(applyLevels);
  gain.setEffect(applyLevels);
  mute.setEffect(applyLevels);
  solo.setEffect(applyLevels);
  playbackRunToken.setEffect([this] { playbackRunView->runNumber.fetch_add(1); });
  playbackStopRequested.setEffect([this] { playbackRunView->stopRequested.store(playbackStopRequested.get()); });
  playbackLoop.setEffect([this] { playbackRunView->loops.store(playbackLoop.get()); });
  reverb.setEffect([this] {
    if (const auto mixer = engine.lock()) {
      mixer->applyReverbMix(*this);
    }
  });
}

void AudioChannel::endPlaybackRun() {
  playbackIsPlaying.set(false);
  playbackStopRequested.set(false);
  playbackRunToken.set(std::nullopt);
  playbackMeterStartedAt.set(std::nullopt);
}

std::optional<SharedText> AudioChannel::lostStateBase64() const {
  const bool isOfThisPath = lostState && lostState->pluginPath == pluginPath.get();
  return isOfThisPath ? std::optional(lostState->stateBase64) : std::nullopt;
}

AVAudioUnitMIDIInstrument* AudioChannel::midiInstrument() const {
  return dynamic_cast<AVAudioUnitMIDIInstrument*>(instrumentNode.get().get());
}

}  // namespace vrel
