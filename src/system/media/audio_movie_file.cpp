// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/audio_movie_file.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/intreadwrite.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "system/media/audio_limits.h"
#include "system/media/ffmpeg_handles.h"

namespace vrel::system {
namespace {

// A decoder started in the middle of a stream is exact only after some packets; twice what any codec here needs.
constexpr std::int64_t prerollFrames = 16384;

// Containers of audio, with or without video: no playlists, no devices.
constexpr auto containers =
    "mov,mp4,m4a,3gp,3g2,mj2,matroska,webm,avi,mpeg,mpegts,flv,ogg,mxf,asf,"
    "aac,ac3,eac3,dts,mp3,amr,ape,wv,tta,tak,flac,wav,w64,aiff,caf,au";

using Samples = std::unique_ptr<SwrContext, FFmpegRelease<swr_free>>;

bool hasPacketsOfOneLength(AVCodecID codec) {
  return codec == AV_CODEC_ID_AAC || codec == AV_CODEC_ID_OPUS || codec == AV_CODEC_ID_MP3 ||
         codec == AV_CODEC_ID_AC3 || codec == AV_CODEC_ID_EAC3;
}

std::int64_t framesTrimmedAtEnd(const AVPacket& packet) {
  std::size_t size = 0;
  const std::uint8_t* const cut = av_packet_get_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, &size);
  return cut != nullptr && size >= 8 ? std::int64_t{AV_RL32(cut + 4)} : 0;
}

}  // namespace

/// The stream as frames with known positions, one after the other.
class AudioMovieFile::Decoder {
 public:
  [[nodiscard]] Outcome open(const std::string& path);

  /// Those of the first frame: a damaged stream changes them in its middle.
  [[nodiscard]] int rate() const { return rate_; }
  [[nodiscard]] int channels() const { return channels_; }

  /// The end of the last frame. Moves the reading position anywhere.
  [[nodiscard]] std::int64_t countFrames();

  /// Seeks so far before `frame` that decoding reaches it with the samples that it has from the beginning.
  [[nodiscard]] bool seek(std::int64_t frame);

  /// Decodes on until the samples at `frame` are held. False at the end of the stream.
  [[nodiscard]] bool hold(std::int64_t frame);

  /// Copies held samples from `frame` on, which they contain; returns how many.
  std::uint32_t copy(std::int64_t frame, std::uint32_t most, float* const* output, std::size_t at) const;

  /// The first held frame.
  [[nodiscard]] std::int64_t heldStart() const { return heldFrom_ - origin_; }

 private:
  [[nodiscard]] bool decodeNext();
  [[nodiscard]] bool sendNextPacket();
  void holdDecoded();
  [[nodiscard]] std::int64_t positionOf(std::int64_t timestamp) const;
  [[nodiscard]] std::int64_t onGrid(std::int64_t position) const;
  [[nodiscard]] bool rewind(std::int64_t timestamp);

  FFmpegContainer container_;
  FFmpegCodec codec_;
  FFmpegPacket packet_{av_packet_alloc()};
  FFmpegFrame frame_{av_frame_alloc()};
  Samples samples_;
  bool isBegun_ = false;
  int rate_ = 0;
  int channels_ = 0;
  int sampleFormat_ = 0;
  AVStream* stream_ = nullptr;
  std::int64_t origin_ = 0;               // of frame 0, in frames of the stream's own time
  std::int64_t grid_ = 0;                 // where some packet begins, likewise
  std::int64_t firstTimestamp_ = 0;       // of the first packet
  std::int64_t packetFrames_ = 0;         // in each packet, where timestamps are too coarse; 0 elsewhere
  std::optional<std::int64_t> expected_;  // where the next decoded frame begins, once that is known
  std::vector<std::vector<float>> held_;  // one list per channel
  std::int64_t heldFrom_ = 0;
  std::int64_t heldFrames_ = 0;
};

Outcome AudioMovieFile::Decoder::open(const std::string& path) {
  av_log_set_level(AV_LOG_QUIET);
  AVFormatContext* opened = nullptr;
  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "file", 0);
  av_dict_set(&options, "format_whitelist", containers, 0);
  const int status = avformat_open_input(&opened, ("file:" + path).c_str(), nullptr, &options);
  av_dict_free(&options);
  container_.reset(opened);
  if (status < 0 || avformat_find_stream_info(container_.get(), nullptr) < 0) {
    return Error{path + " has no audio in a known format"};
  }
  const AVCodec* decoder = nullptr;
  const int index = av_find_best_stream(container_.get(), AVMEDIA_TYPE_AUDIO, -1, -1, &decoder, 0);
  if (index < 0 || decoder == nullptr) {
    return Error{path + " has no audio stream"};
  }
  for (unsigned each = 0; each < container_->nb_streams; ++each) {
    container_->streams[each]->discard = static_cast<int>(each) == index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
  }
  stream_ = container_->streams[index];
  codec_.reset(avcodec_alloc_context3(decoder));
  if (codec_ == nullptr || avcodec_parameters_to_context(codec_.get(), stream_->codecpar) < 0) {
    return Error{path + ": its audio stream cannot be decoded"};
  }
  codec_->thread_count = 1;
  codec_->pkt_timebase = stream_->time_base;
  if (avcodec_open2(codec_.get(), decoder, nullptr) < 0 || !decodeNext()) {
    return Error{path + ": its audio stream cannot be decoded"};
  }
  origin_ = heldFrom_;
  grid_ = heldFrom_ + heldFrames_;
  if (std::int64_t{stream_->time_base.den} < std::int64_t{rate()} * stream_->time_base.num &&
      hasPacketsOfOneLength(codec_->codec_id)) {
    packetFrames_ = decodeNext() ? heldFrames_ : 0;  // the first may have been cut
  }
  return std::nullopt;
}

std::int64_t AudioMovieFile::Decoder::countFrames() {
  std::int64_t end = 0;
  if (!rewind(firstTimestamp_)) {
    return 0;
  }
  while (av_read_frame(container_.get(), packet_.get()) >= 0) {
    if (packet_->stream_index == stream_->index && packet_->pts != AV_NOPTS_VALUE) {
      const std::int64_t packetEnd = packetFrames_ > 0 ? onGrid(positionOf(packet_->pts)) + packetFrames_
                                                       : positionOf(packet_->pts + packet_->duration);
      end = std::max(end, packetEnd - framesTrimmedAtEnd(*packet_) - origin_);
    }
    av_packet_unref(packet_.get());
  }
  return end;
}

std::int64_t AudioMovieFile::Decoder::positionOf(std::int64_t timestamp) const {
  return av_rescale_q(timestamp, stream_->time_base, AVRational{1, rate()});
}

std::int64_t AudioMovieFile::Decoder::onGrid(std::int64_t position) const {
  const std::int64_t distance = position - grid_;
  const std::int64_t half = distance >= 0 ? packetFrames_ / 2 : -packetFrames_ / 2;
  return grid_ + (distance + half) / packetFrames_ * packetFrames_;
}

bool AudioMovieFile::Decoder::rewind(std::int64_t timestamp) {
  avcodec_flush_buffers(codec_.get());
  expected_.reset();
  heldFrames_ = 0;
  return av_seek_frame(container_.get(), stream_->index, timestamp, AVSEEK_FLAG_BACKWARD) >= 0 ||
         av_seek_frame(container_.get(), stream_->index, timestamp, AVSEEK_FLAG_ANY) >= 0;
}

bool AudioMovieFile::Decoder::seek(std::int64_t frame) {
  if (frame <= prerollFrames) {
    return rewind(firstTimestamp_);
  }
  return rewind(av_rescale_q(frame + origin_ - prerollFrames, AVRational{1, rate()}, stream_->time_base));
}

bool AudioMovieFile::Decoder::hold(std::int64_t frame) {
  while (heldFrames_ == 0 || heldFrom_ - origin_ + heldFrames_ <= frame) {
    if (!decodeNext()) {
      return false;
    }
  }
  return true;
}

bool AudioMovieFile::Decoder::decodeNext() {
  while (true) {
    const int status = avcodec_receive_frame(codec_.get(), frame_.get());
    if (status == 0) {
      holdDecoded();
      av_frame_unref(frame_.get());
      if (heldFrames_ > 0) {
        return true;
      }
    } else if (status != AVERROR(EAGAIN) || !sendNextPacket()) {
      heldFrames_ = 0;
      return false;
    }
  }
}

// A packet that cannot be decoded is skipped; its time is silent.
bool AudioMovieFile::Decoder::sendNextPacket() {
  while (av_read_frame(container_.get(), packet_.get()) >= 0) {
    const bool isOurs = packet_->stream_index == stream_->index;
    if (isOurs && !isBegun_) {
      isBegun_ = true;
      firstTimestamp_ = packet_->dts != AV_NOPTS_VALUE ? packet_->dts : 0;
    }
    const int status = isOurs ? avcodec_send_packet(codec_.get(), packet_.get()) : AVERROR(EAGAIN);
    av_packet_unref(packet_.get());
    if (status == 0) {
      return true;
    }
  }
  return avcodec_send_packet(codec_.get(), nullptr) == 0;
}

void AudioMovieFile::Decoder::holdDecoded() {
  if (channels_ == 0) {
    rate_ = frame_->sample_rate;
    channels_ = frame_->ch_layout.nb_channels;
    sampleFormat_ = frame_->format;
  }
  heldFrames_ = frame_->nb_samples;
  const std::int64_t timestamp = frame_->best_effort_timestamp;
  if (timestamp != AV_NOPTS_VALUE) {
    const std::int64_t position = positionOf(timestamp);
    const std::int64_t tick = std::max<std::int64_t>(positionOf(1) - positionOf(0), 0) + 1;
    if (!expected_ && packetFrames_ > 0) {
      expected_ = onGrid(position);
    } else if (!expected_ || std::abs(position - *expected_) > tick) {
      expected_ = position;
    }
  }
  heldFrom_ = expected_.value_or(origin_);
  expected_ = heldFrom_ + heldFrames_;

  held_.resize(static_cast<std::size_t>(channels()));
  std::vector<std::uint8_t*> output;
  for (auto& channel : held_) {
    channel.assign(static_cast<std::size_t>(heldFrames_), 0.0F);
    output.push_back(reinterpret_cast<std::uint8_t*>(channel.data()));
  }
  if (frame_->sample_rate != rate_ || frame_->ch_layout.nb_channels != channels_ || frame_->format != sampleFormat_) {
    return;  // the format changed in the middle: silent
  }
  if (samples_ == nullptr) {
    SwrContext* created = nullptr;
    swr_alloc_set_opts2(&created, &frame_->ch_layout, AV_SAMPLE_FMT_FLTP, rate_, &frame_->ch_layout,
                        static_cast<AVSampleFormat>(frame_->format), rate_, 0, nullptr);
    samples_.reset(created);
    if (created == nullptr || swr_init(created) < 0) {
      samples_.reset();
      return;
    }
  }
  const auto* const* const input = const_cast<const std::uint8_t* const*>(frame_->extended_data);
  swr_convert(samples_.get(), output.data(), frame_->nb_samples, const_cast<const std::uint8_t**>(input),
              frame_->nb_samples);
}

std::uint32_t AudioMovieFile::Decoder::copy(std::int64_t frame, std::uint32_t most, float* const* output,
                                            std::size_t at) const {
  const std::int64_t skipped = frame - (heldFrom_ - origin_);
  const auto count = static_cast<std::uint32_t>(std::min<std::int64_t>(heldFrames_ - skipped, most));
  for (std::size_t channel = 0; channel < held_.size(); ++channel) {
    std::copy_n(held_[channel].begin() + skipped, count, output[channel] + at);
  }
  return count;
}

Result<std::shared_ptr<AVAudioFile>> AudioMovieFile::open(const std::string& path) {
  auto decoder = std::make_unique<Decoder>();
  if (auto failure = decoder->open(path)) {
    return *failure;
  }
  const std::int64_t length = decoder->countFrames();
  if (auto failure = unplayable(path, decoder->rate(), decoder->channels(), length)) {
    return *failure;
  }
  const AVAudioFormat format{static_cast<double>(decoder->rate()), static_cast<std::uint32_t>(decoder->channels())};
  return std::shared_ptr<AVAudioFile>(new AudioMovieFile(path, std::move(decoder), format, length));
}

AudioMovieFile::AudioMovieFile(std::string path, std::unique_ptr<Decoder> decoder, AVAudioFormat format,
                               std::int64_t length)
    : path_(std::move(path)), decoder_(std::move(decoder)), format_(format), length_(length) {}

AudioMovieFile::~AudioMovieFile() = default;

void AudioMovieFile::setFramePosition(std::int64_t frame) {
  position_ = std::clamp<std::int64_t>(frame, 0, length_);
  isPlaced_ = false;
}

Outcome AudioMovieFile::readIntoBuffer(AVAudioPCMBuffer& buffer, std::uint32_t frameCount) {
  buffer.frameLength = 0;
  if (!(buffer.format() == format_)) {
    return Error{path_ + ": the buffer has a different format"};
  }
  const auto left = static_cast<std::uint64_t>(length_ - position_);
  const auto wanted = static_cast<std::uint32_t>(std::min<std::uint64_t>({left, frameCount, buffer.frameCapacity()}));
  if (wanted > 0 && !isPlaced_ && !decoder_->seek(position_)) {
    return Error{path_ + ": seek to frame " + std::to_string(position_) + " failed"};
  }
  isPlaced_ = true;
  while (buffer.frameLength < wanted) {
    if (!decoder_->hold(position_)) {
      isPlaced_ = false;
      return Error{path_ + ": unexpected end of file"};
    }
    const std::uint32_t rest = wanted - buffer.frameLength;
    std::uint32_t count = 0;
    if (const std::int64_t gap = decoder_->heldStart() - position_; gap > 0) {
      count = static_cast<std::uint32_t>(std::min<std::int64_t>(gap, rest));
      for (std::uint32_t channel = 0; channel < format_.channelCount; ++channel) {
        std::fill_n(buffer.floatChannelData()[channel] + buffer.frameLength, count, 0.0F);
      }
    } else {
      count = decoder_->copy(position_, rest, buffer.floatChannelData(), buffer.frameLength);
    }
    buffer.frameLength += count;
    position_ += count;
  }
  return std::nullopt;
}

}  // namespace vrel::system
