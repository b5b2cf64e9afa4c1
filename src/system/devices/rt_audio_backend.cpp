// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/rt_audio_backend.h"

#include <sys/stat.h>

#include <exception>
#include <utility>

#include "system/devices/alsa_silence.h"
#include "system/devices/rt_audio_stream.h"

namespace vrel::system {
namespace {

// Seconds. A sound server that mixes others, too, leaves gaps with less.
constexpr double soundServerBuffer = 0.05;

/// When a device came or went last, in nanoseconds; the same for as long as none does.
std::int64_t lastChangeOfAlsa() {
  constexpr std::int64_t second = 1'000'000'000;
  struct stat folder {};
  return ::stat("/dev/snd", &folder) == 0 ? folder.st_mtim.tv_sec * second + folder.st_mtim.tv_nsec : 0;
}

}  // namespace

RtAudioBackend::RtAudioBackend(RtAudio::Api api) : api_(api) {
  silenceAlsa();
}

std::string RtAudioBackend::uidPrefix() const {
  return RtAudio::getApiName(api_);
}

bool RtAudioBackend::isServer() const {
  return api_ != RtAudio::LINUX_ALSA;
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
  listedAt_ = lastChangeOfAlsa();
  return listDevices(library_);
}

bool RtAudioBackend::mayHaveChanged() const {
  return api_ != RtAudio::LINUX_ALSA || listedAt_ != lastChangeOfAlsa();
}

Result<std::unique_ptr<OutputStream>> RtAudioBackend::open(const std::string& deviceName,
                                                           std::optional<std::uint32_t> frames) {
  if (devices().empty()) {
    return Error{"it is no longer connected"};
  }
  // It plays one stream at a time; another is opened while the first still plays.
  auto library = library_->audio.isStreamOpen() ? std::make_shared<RtAudioLibrary>(api_) : library_;
  auto stream = std::make_unique<RtAudioStream>(library, api_ == RtAudio::LINUX_PULSE ? soundServerBuffer : 0);
  if (Outcome failure = stream->open(deviceName, frames)) {
    if (library == library_ && !library_->isStuck) {
      library_.reset();
    }
    return *failure;
  }
  library_ = std::move(library);
  return std::unique_ptr<OutputStream>(std::move(stream));
}

}  // namespace vrel::system
