// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/rt_audio_backend.h"

#include <chrono>
#include <exception>
#include <utility>

#include "system/devices/alsa_silence.h"
#include "system/devices/bounded_call.h"
#include "system/devices/rt_audio_stream.h"

namespace vrel::system {
namespace {

// Seconds. A sound server that mixes others, too, leaves gaps with less.
constexpr double soundServerBuffer = 0.05;

constexpr auto longestLook = std::chrono::seconds(2);

std::vector<AudioDeviceDescription> listedDevices(RtAudio& library) {
  std::vector<AudioDeviceDescription> devices;
  try {
    const unsigned count = library.getDeviceCount();
    for (unsigned index = 0; index < count; ++index) {
      const auto info = library.getDeviceInfo(index);
      if (info.probed && !info.name.empty()) {
        devices.push_back({.name = info.name,
                           .title = info.name,
                           .outputChannels = info.outputChannels,
                           .isDefaultOutput = info.isDefaultOutput});
      }
    }
  } catch (const std::exception&) {
    // A list that breaks off ends where it broke.
  }
  return devices;
}

}  // namespace

RtAudioBackend::RtAudioBackend(RtAudio::Api api) : api_(api) {
  silenceAlsa();
}

std::string RtAudioBackend::uidPrefix() const {
  return RtAudio::getApiName(api_);
}

std::vector<AudioDeviceDescription> RtAudioBackend::devices() {
  if (library_ && library_->isStuck && library_.use_count() > 1) {
    return {};  // the call that hangs is not to be joined by another one
  }
  try {
    if (!library_ || library_->isStuck) {
      library_ = std::make_shared<RtAudioLibrary>(api_);
    }
  } catch (const std::exception&) {
    return {};
  }
  const auto list = std::make_shared<std::vector<AudioDeviceDescription>>();
  if (!endsWithin(longestLook, [list, library = library_] { *list = listedDevices(library->audio); })) {
    library_->isStuck = true;
    return {};
  }
  return std::move(*list);
}

Result<std::unique_ptr<OutputStream>> RtAudioBackend::open(const std::string& deviceName,
                                                           std::optional<std::uint32_t> frames) {
  if (devices().empty()) {
    return Error{"it is no longer connected"};
  }
  auto stream = std::make_unique<RtAudioStream>(library_, api_ == RtAudio::LINUX_PULSE ? soundServerBuffer : 0);
  if (Outcome failure = stream->open(deviceName, frames)) {
    if (!library_->isStuck) {
      library_.reset();
    }
    return *failure;
  }
  return std::unique_ptr<OutputStream>(std::move(stream));
}

}  // namespace vrel::system
