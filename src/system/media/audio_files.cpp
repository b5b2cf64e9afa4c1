// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/audio_files.h"

#include <new>

#include "system/media/audio_limits.h"
#include "system/media/audio_movie_file.h"
#include "system/media/audio_rate_converter.h"
#include "system/media/audio_sound_file.h"
#include "system/media/audio_vorbis_file.h"

namespace vrel::system {

Result<std::shared_ptr<AVAudioFile>> AudioFiles::openForReading(const std::string& path) {
  if (auto failure = unreadable(path)) {
    return *failure;
  }
  if (auto vorbis = AudioVorbisFile::open(path)) {
    return vorbis;
  }
  if (auto sound = AudioSoundFile::open(path)) {
    return sound;
  }
  return AudioMovieFile::open(path);
}

std::shared_ptr<AVAudioPCMBuffer> AudioFiles::makePCMBuffer(AVAudioFormat format, std::uint32_t frameCapacity) {
  if (std::uint64_t{format.channelCount} * frameCapacity * sizeof(float) > largestBufferBytes) {
    return nullptr;
  }
  try {
    return std::make_shared<AVAudioPCMBuffer>(format, frameCapacity);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

std::unique_ptr<AVAudioConverter> AudioFiles::makeConverter(double inputRate, double outputRate) {
  return AudioRateConverter::make(inputRate, outputRate);
}

}  // namespace vrel::system
