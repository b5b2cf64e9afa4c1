// SPDX-License-Identifier: GPL-3.0-or-later
#include <RtAudio.h>

#include "system/devices/audio_backend.h"
#include "system/devices/jack_audio_backend.h"
#include "system/devices/rt_audio_backend.h"

namespace vrel::system {

AudioBackends makeAudioBackends(const std::string& jackServerName) {
  AudioBackends backends;
  backends.push_back(std::make_unique<JackAudioBackend>(jackServerName));
  backends.push_back(std::make_unique<RtAudioBackend>(RtAudio::LINUX_ALSA));
  backends.push_back(std::make_unique<RtAudioBackend>(RtAudio::LINUX_PULSE));
  return backends;
}

}  // namespace vrel::system
