// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/audio_sound_file.h"

#include <sndfile.h>

#include <algorithm>
#include <cstddef>
#include <utility>

#include "system/media/audio_limits.h"

namespace vrel::system {
namespace {

constexpr std::uint32_t pieceFrames = 4096;  // read at once, so that what holds them stays small

/// From one list of samples, channel by channel within the frame, to one list per channel.
void spread(const float* interleaved, std::uint32_t channels, std::uint32_t frames, float* const* output,
            std::size_t at) {
  if (channels == 2) {
    float* const left = output[0] + at;
    float* const right = output[1] + at;
    for (std::uint32_t frame = 0; frame < frames; ++frame) {
      left[frame] = interleaved[std::size_t{2} * frame];
      right[frame] = interleaved[std::size_t{2} * frame + 1];
    }
    return;
  }
  for (std::uint32_t channel = 0; channel < channels; ++channel) {
    for (std::uint32_t frame = 0; frame < frames; ++frame) {
      output[channel][at + frame] = interleaved[std::size_t{frame} * channels + channel];
    }
  }
}

}  // namespace

struct AudioSoundFile::Handle {
  explicit Handle(SNDFILE* sound) : file(sound) {}
  ~Handle() { sf_close(file); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  SNDFILE* file;
  sf_count_t at = 0;         // the frame that the library reads next; negative when that is unknown
  bool seeksExactly = true;  // the library's way to a frame of an Ogg stream misses it
};

Result<std::shared_ptr<AVAudioFile>> AudioSoundFile::open(const std::string& path) {
  SF_INFO info{};
  SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
  if (file == nullptr) {
    return Error{path + ": " + sf_strerror(nullptr)};
  }
  auto handle = std::make_unique<Handle>(file);
  if (info.seekable == 0) {
    return Error{path + " can only be read from its beginning"};
  }
  if (auto failure = unplayable(path, info.samplerate, info.channels, info.frames)) {
    return *failure;
  }
  const AVAudioFormat format{static_cast<double>(info.samplerate), static_cast<std::uint32_t>(info.channels)};
  handle->seeksExactly = (info.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_OGG;
  return std::shared_ptr<AVAudioFile>(new AudioSoundFile(path, std::move(handle), format, info.frames));
}

AudioSoundFile::AudioSoundFile(std::string path, std::unique_ptr<Handle> handle, AVAudioFormat format,
                               std::int64_t length)
    : path_(std::move(path)), handle_(std::move(handle)), format_(format), length_(length) {}

AudioSoundFile::~AudioSoundFile() = default;

void AudioSoundFile::setFramePosition(std::int64_t frame) {
  position_ = std::clamp<std::int64_t>(frame, 0, length_);
}

bool AudioSoundFile::place() {
  auto& at = handle_->at;
  if (handle_->seeksExactly) {
    at = sf_seek(handle_->file, position_, SEEK_SET);
    return at == position_;
  }
  if (at < 0 || at > position_) {
    at = sf_seek(handle_->file, 0, SEEK_SET);
  }
  while (at >= 0 && at < position_) {
    const auto piece = std::min<sf_count_t>(position_ - at, pieceFrames);
    const sf_count_t got = sf_readf_float(handle_->file, interleaved_.data(), piece);
    at = got > 0 ? at + got : -1;
  }
  return at == position_;
}

Outcome AudioSoundFile::readIntoBuffer(AVAudioPCMBuffer& buffer, std::uint32_t frameCount) {
  buffer.frameLength = 0;
  if (!(buffer.format() == format_)) {
    return Error{path_ + ": the buffer has another format"};
  }
  const auto left = static_cast<std::uint64_t>(length_ - position_);
  const auto wanted = static_cast<std::uint32_t>(std::min<std::uint64_t>({left, frameCount, buffer.frameCapacity()}));
  interleaved_.resize(std::size_t{pieceFrames} * format_.channelCount);
  if (wanted > 0 && handle_->at != position_ && !place()) {
    return Error{path_ + ": there is no way to its frame " + std::to_string(position_)};
  }
  while (buffer.frameLength < wanted) {
    const std::uint32_t piece = std::min(wanted - buffer.frameLength, pieceFrames);
    const sf_count_t got = sf_readf_float(handle_->file, interleaved_.data(), piece);
    if (got <= 0) {
      handle_->at = -1;
      return Error{path_ + " ends before its time"};
    }
    spread(interleaved_.data(), format_.channelCount, static_cast<std::uint32_t>(got), buffer.floatChannelData(),
           buffer.frameLength);
    buffer.frameLength += static_cast<std::uint32_t>(got);
    position_ += got;
    handle_->at = position_;
  }
  return std::nullopt;
}

}  // namespace vrel::system
