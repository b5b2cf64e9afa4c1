// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/audio_sound_file.h"

#include <sndfile.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <string_view>
#include <utility>

#include "system/media/audio_limits.h"
#include "system/media/mpeg_packets.h"

namespace vrel::system {
namespace {

constexpr std::uint32_t chunkFrames = 4096;  // read at once, to keep the buffer small

/// From interleaved samples to one list per channel.
void deinterleave(const float* interleaved, std::uint32_t channels, std::uint32_t frames, float* const* output,
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

/// Whether it is an Ogg file, by its first page, of anything but Opus: the library drops frames of Vorbis streams, and
/// leaks memory on damaged headers.
bool isOtherOgg(const std::string& path) {
  std::array<char, 64> bytes{};
  std::ifstream(path, std::ios::binary).read(bytes.data(), bytes.size());
  const std::string_view begin(bytes.data(), bytes.size());
  return begin.starts_with("OggS") && begin.find("OpusHead") == std::string_view::npos;
}

}  // namespace

struct AudioSoundFile::Handle {
  Handle() = default;
  ~Handle() { sf_close(file); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  [[nodiscard]] Outcome open(const std::string& path) {
    if (isOtherOgg(path)) {
      return Error{path + ": Ogg files other than Opus are read with another library"};
    }
    file = sf_open(path.c_str(), SFM_READ, &info);
    if (file == nullptr) {
      return Error{path + ": " + sf_strerror(nullptr)};
    }
    if ((info.format & SF_FORMAT_SUBMASK) == SF_FORMAT_VORBIS) {
      return Error{path + ": Vorbis streams are read with another library"};
    }
    if (info.seekable == 0) {
      return Error{path + " is not seekable"};
    }
    return unplayable(path, info.samplerate, info.channels, 0);
  }

  /// Whether its last frame is where the header says.
  [[nodiscard]] bool isWhole() const {
    std::vector<float> frame(static_cast<std::size_t>(info.channels));
    return info.frames == 0 ||
           (sf_seek(file, info.frames - 1, SEEK_SET) == info.frames - 1 && sf_readf_float(file, frame.data(), 1) == 1);
  }

  /// Reads to the end.
  [[nodiscard]] sf_count_t countFrames() const {
    std::vector<float> chunk(std::size_t{chunkFrames} * static_cast<std::size_t>(info.channels));
    sf_count_t frames = 0;
    for (sf_count_t got = 1; got > 0; frames += got) {
      got = std::max<sf_count_t>(sf_readf_float(file, chunk.data(), chunkFrames), 0);
    }
    return frames;
  }

  /// The frames that can be read, where the header claims more. Each attempt has a handle of its own: a failed seek
  /// leaves one in an unusable state. To seek in an MP3 file the library takes ten times as long as a walk over its
  /// packets does.
  [[nodiscard]] std::int64_t framesIn(const std::string& path) const {
    if ((info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG) {
      if (const auto packets = findMpegPackets(path); packets && packets->hold(info.frames)) {
        return info.frames;
      }
    }
    Handle probe;
    if (!probe.open(path) && probe.isWhole()) {
      return probe.info.frames;
    }
    Handle reader;
    return reader.open(path) ? 0 : reader.countFrames();
  }

  SNDFILE* file = nullptr;
  SF_INFO info{};
  sf_count_t at = 0;  // the frame that the library reads next; negative when unknown
};

Result<std::shared_ptr<AVAudioFile>> AudioSoundFile::open(const std::string& path) {
  auto handle = std::make_unique<Handle>();
  if (auto failure = handle->open(path)) {
    return *failure;
  }
  const SF_INFO& info = handle->info;
  const std::int64_t length = handle->framesIn(path);
  if (auto failure = unplayable(path, info.samplerate, info.channels, length)) {
    return *failure;
  }
  const AVAudioFormat format{static_cast<double>(info.samplerate), static_cast<std::uint32_t>(info.channels)};
  return std::shared_ptr<AVAudioFile>(new AudioSoundFile(path, std::move(handle), format, length));
}

AudioSoundFile::AudioSoundFile(std::string path, std::unique_ptr<Handle> handle, AVAudioFormat format,
                               std::int64_t length)
    : path_(std::move(path)), handle_(std::move(handle)), format_(format), length_(length) {}

AudioSoundFile::~AudioSoundFile() = default;

void AudioSoundFile::setFramePosition(std::int64_t frame) {
  position_ = std::clamp<std::int64_t>(frame, 0, length_);
}

bool AudioSoundFile::place() {
  handle_->at = sf_seek(handle_->file, position_, SEEK_SET);
  return handle_->at == position_;
}

Outcome AudioSoundFile::readIntoBuffer(AVAudioPCMBuffer& buffer, std::uint32_t frameCount) {
  buffer.frameLength = 0;
  if (!(buffer.format() == format_)) {
    return Error{path_ + ": the buffer has a different format"};
  }
  const auto left = static_cast<std::uint64_t>(length_ - position_);
  const auto wanted = static_cast<std::uint32_t>(std::min<std::uint64_t>({left, frameCount, buffer.frameCapacity()}));
  interleaved_.resize(std::size_t{chunkFrames} * format_.channelCount);
  if (wanted > 0 && handle_->at != position_ && !place()) {
    return Error{path_ + ": seek to frame " + std::to_string(position_) + " failed"};
  }
  while (buffer.frameLength < wanted) {
    const std::uint32_t chunk = std::min(wanted - buffer.frameLength, chunkFrames);
    const sf_count_t got = sf_readf_float(handle_->file, interleaved_.data(), chunk);
    if (got <= 0) {
      handle_->at = -1;
      return Error{path_ + ": unexpected end of file"};
    }
    deinterleave(interleaved_.data(), format_.channelCount, static_cast<std::uint32_t>(got), buffer.floatChannelData(),
                 buffer.frameLength);
    buffer.frameLength += static_cast<std::uint32_t>(got);
    position_ += got;
    handle_->at = position_;
  }
  return std::nullopt;
}

}  // namespace vrel::system
