// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/audio_vorbis_file.h"

#define OV_EXCLUDE_STATIC_CALLBACKS
#include <vorbis/vorbisfile.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <string_view>
#include <utility>

#include "system/media/audio_limits.h"

namespace vrel::system {
namespace {

constexpr std::string_view pageMark = "OggS";

struct FileClose {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileClose>;

std::size_t readBytes(void* to, std::size_t size, std::size_t count, void* file) {
  return std::fread(to, size, count, static_cast<std::FILE*>(file));
}

int seekTo(void* file, ogg_int64_t offset, int from) {
  return fseeko(static_cast<std::FILE*>(file), offset, from);
}

// The library's interface wants a long.
long positionIn(void* file) {
  return static_cast<long>(ftello(static_cast<std::FILE*>(file)));
}

constexpr ov_callbacks callbacks{readBytes, seekTo, nullptr, positionIn};

}  // namespace

class AudioVorbisFile::Stream {
 public:
  Stream() = default;
  ~Stream() {
    if (isOpen_) {
      ov_clear(&vorbis_);
    }
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  /// Whether it is a Vorbis stream with one rate and channel count from beginning to end.
  [[nodiscard]] bool open(const std::string& path) {
    file_.reset(std::fopen(path.c_str(), "rbe"));
    std::array<char, pageMark.size()> mark{};
    if (file_ == nullptr || std::fread(mark.data(), mark.size(), 1, file_.get()) != 1 ||
        std::string_view(mark.data(), mark.size()) != pageMark || fseeko(file_.get(), 0, SEEK_SET) != 0) {
      return false;
    }
    isOpen_ = ov_open_callbacks(file_.get(), &vorbis_, nullptr, 0, callbacks) == 0;
    if (!isOpen_ || ov_seekable(&vorbis_) == 0) {
      return false;
    }
    for (int part = 1; part < ov_streams(&vorbis_); ++part) {
      const vorbis_info& other = *ov_info(&vorbis_, part);
      if (other.channels != info().channels || other.rate != info().rate) {
        return false;
      }
    }
    return true;
  }

  [[nodiscard]] const vorbis_info& info() { return *ov_info(&vorbis_, 0); }
  [[nodiscard]] std::int64_t frames() { return ov_pcm_total(&vorbis_, -1); }

  [[nodiscard]] bool place(std::int64_t frame) {
    return ov_pcm_seek(&vorbis_, frame) == 0 && ov_pcm_tell(&vorbis_) == frame;
  }

  /// Up to `most` frames into each of `output`, from `begin` on; 0 behind the last that can be read.
  [[nodiscard]] std::uint32_t read(std::uint32_t most, float* const* output, std::size_t begin) {
    constexpr std::uint32_t mostAtOnce = 1U << 16U;
    float** samples = nullptr;
    int part = 0;
    long got = OV_HOLE;
    while (got == OV_HOLE) {  // each call after a hole reads on behind it
      got = ov_read_float(&vorbis_, &samples, static_cast<int>(std::min(most, mostAtOnce)), &part);
    }
    const auto count = static_cast<std::uint32_t>(std::max(got, 0L));
    for (int channel = 0; channel < info().channels && count > 0; ++channel) {
      std::copy_n(samples[channel], count, output[channel] + begin);
    }
    return count;
  }

 private:
  File file_;
  OggVorbis_File vorbis_{};
  bool isOpen_ = false;
};

Result<std::shared_ptr<AVAudioFile>> AudioVorbisFile::open(const std::string& path) {
  auto stream = std::make_unique<Stream>();
  if (!stream->open(path)) {
    return Error{path + " is not a Vorbis file of one sample rate and channel count"};
  }
  const vorbis_info& info = stream->info();
  const std::int64_t length = stream->frames();
  if (auto failure = unplayable(path, static_cast<double>(info.rate), info.channels, length)) {
    return *failure;
  }
  const AVAudioFormat format{static_cast<double>(info.rate), static_cast<std::uint32_t>(info.channels)};
  return std::shared_ptr<AVAudioFile>(new AudioVorbisFile(path, std::move(stream), format, length));
}

AudioVorbisFile::AudioVorbisFile(std::string path, std::unique_ptr<Stream> stream, AVAudioFormat format,
                                 std::int64_t length)
    : path_(std::move(path)), stream_(std::move(stream)), format_(format), length_(length) {}

AudioVorbisFile::~AudioVorbisFile() = default;

void AudioVorbisFile::setFramePosition(std::int64_t frame) {
  position_ = std::clamp<std::int64_t>(frame, 0, length_);
  isPlaced_ = false;
}

Outcome AudioVorbisFile::readIntoBuffer(AVAudioPCMBuffer& buffer, std::uint32_t frameCount) {
  buffer.frameLength = 0;
  if (!(buffer.format() == format_)) {
    return Error{path_ + ": the buffer has a different format"};
  }
  const auto left = static_cast<std::uint64_t>(length_ - position_);
  const auto wanted = static_cast<std::uint32_t>(std::min<std::uint64_t>({left, frameCount, buffer.frameCapacity()}));
  if (wanted > 0 && !isPlaced_ && !stream_->place(position_)) {
    return Error{path_ + ": seek to frame " + std::to_string(position_) + " failed"};
  }
  isPlaced_ = true;
  while (buffer.frameLength < wanted) {
    const std::uint32_t count =
        stream_->read(wanted - buffer.frameLength, buffer.floatChannelData(), buffer.frameLength);
    if (count == 0) {
      isPlaced_ = false;
      return Error{path_ + ": unexpected end of file"};
    }
    buffer.frameLength += count;
    position_ += count;
  }
  return std::nullopt;
}

}  // namespace vrel::system
