// SPDX-License-Identifier: GPL-3.0-or-later
#include <RtAudio.h>

#include <algorithm>
#include <utility>

#include "system/devices/audio_backend.h"
#include "system/devices/jack_audio_backend.h"
#include "system/devices/rt_audio_backend.h"

namespace vrel::system {

std::optional<std::string> defaultOutput(const std::vector<AudioDeviceDescription>& devices) {
  const auto find = [&](auto&& matches) { return std::find_if(devices.begin(), devices.end(), matches); };
  auto found = find([](const auto& device) { return device.isDefaultOutput; });
  if (found == devices.end()) {
    found = find([](const auto& device) { return device.outputChannels > 0; });
  }
  return found == devices.end() ? std::nullopt : std::optional(found->name);
}

AudioBackends makeAudioBackends(const std::string& jackServerName, std::shared_ptr<JackMidiInlet> inlet) {
  AudioBackends backends;
  backends.push_back(std::make_unique<JackAudioBackend>(jackServerName, std::move(inlet)));
  backends.push_back(std::make_unique<RtAudioBackend>(RtAudio::LINUX_ALSA));
  backends.push_back(std::make_unique<RtAudioBackend>(RtAudio::LINUX_PULSE));
  return backends;
}

}  // namespace vrel::system
