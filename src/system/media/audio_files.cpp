// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/audio_files.h"

#include <sys/stat.h>

#include <new>

#include "system/media/audio_limits.h"
#include "system/media/audio_movie_file.h"
#include "system/media/audio_rate_converter.h"
#include "system/media/audio_sound_file.h"
#include "system/media/audio_vorbis_file.h"
#include "system/media/audio_vorbis_scan.h"

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

std::shared_ptr<AVAudioFile> AudioFiles::openForScanning(const std::string& path) {
  if (unreadable(path)) {
    return nullptr;
  }
  const auto exact = AudioVorbisFile::open(path);
  const auto quick = exact ? AudioVorbisScan::open(path, exact.value()) : exact;
  return quick ? quick.value() : nullptr;
}

std::optional<std::string> AudioFiles::contentIdentity(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    return std::nullopt;
  }
  std::string identity;
  for (const auto number : {static_cast<std::int64_t>(status.st_dev), static_cast<std::int64_t>(status.st_ino),
                            static_cast<std::int64_t>(status.st_size), std::int64_t{status.st_mtim.tv_sec},
                            std::int64_t{status.st_mtim.tv_nsec}, std::int64_t{status.st_ctim.tv_sec},
                            std::int64_t{status.st_ctim.tv_nsec}}) {
    identity += std::to_string(number) + " ";
  }
  return identity;
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
