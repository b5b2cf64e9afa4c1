// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/audio_vorbis_scan.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "system/media/ffmpeg_handles.h"

namespace vrel::system {
namespace {

constexpr std::uint32_t probeFrames = 64;
constexpr float audible = 0.01F;
constexpr float largestDifference = 1e-3F;  // far above the last bits, far below another frame's sample

}  // namespace

/// The packets of the stream, decoded one after the other.
class AudioVorbisScan::Decoder {
 public:
  [[nodiscard]] bool open(const std::string& path, const AVAudioFormat& format) {
    av_log_set_level(AV_LOG_QUIET);
    AVFormatContext* opened = nullptr;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    av_dict_set(&options, "format_whitelist", "ogg", 0);
    const int status = avformat_open_input(&opened, ("file:" + path).c_str(), nullptr, &options);
    av_dict_free(&options);
    container_.reset(opened);
    if (status < 0 || container_->nb_streams != 1) {
      return false;
    }
    const AVCodecParameters* const parameters = container_->streams[0]->codecpar;
    const AVCodec* const decoder =
        parameters->codec_id == AV_CODEC_ID_VORBIS ? avcodec_find_decoder(AV_CODEC_ID_VORBIS) : nullptr;
    codec_.reset(avcodec_alloc_context3(decoder));
    if (decoder == nullptr || codec_ == nullptr || avcodec_parameters_to_context(codec_.get(), parameters) < 0) {
      return false;
    }
    codec_->thread_count = 1;
    codec_->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;  // the count is of all that is decoded
    return avcodec_open2(codec_.get(), decoder, nullptr) == 0 && codec_->sample_fmt == AV_SAMPLE_FMT_FLTP &&
           codec_->sample_rate == static_cast<int>(format.sampleRate) &&
           codec_->ch_layout.nb_channels == static_cast<int>(format.channelCount);
  }

  /// Makes sure that a frame is held. False at the end, and for what cannot be decoded.
  [[nodiscard]] bool hold() {
    while (taken_ >= held()) {
      taken_ = 0;
      const int status = avcodec_receive_frame(codec_.get(), frame_.get());
      if (status != 0 && (status != AVERROR(EAGAIN) || !sendNextPacket())) {
        return false;
      }
      if (status == 0 && frame_->ch_layout.nb_channels != codec_->ch_layout.nb_channels) {
        return false;
      }
    }
    return true;
  }

  /// What is held and not taken yet.
  [[nodiscard]] std::uint32_t left() const { return held() - taken_; }
  [[nodiscard]] const float* channel(std::size_t index) const {
    return reinterpret_cast<const float*>(frame_->extended_data[index]) + taken_;
  }
  void take(std::uint32_t frames) { taken_ += frames; }

 private:
  [[nodiscard]] std::uint32_t held() const { return static_cast<std::uint32_t>(frame_->nb_samples); }

  [[nodiscard]] bool sendNextPacket() {
    if (av_read_frame(container_.get(), packet_.get()) < 0) {
      return false;
    }
    const int status = avcodec_send_packet(codec_.get(), packet_.get());
    av_packet_unref(packet_.get());
    return status == 0;
  }

  FFmpegContainer container_;
  FFmpegCodec codec_;
  FFmpegPacket packet_{av_packet_alloc()};
  FFmpegFrame frame_{av_frame_alloc()};
  std::uint32_t taken_ = 0;
};

Result<std::shared_ptr<AVAudioFile>> AudioVorbisScan::open(const std::string& path,
                                                           std::shared_ptr<AVAudioFile> exact) {
  constexpr std::uint32_t mostChannels = 2;
  auto decoder = std::make_unique<Decoder>();
  const AVAudioFormat format = exact->processingFormat();
  if (format.channelCount > mostChannels || !decoder->open(path, format)) {
    return Error{path + " is not a Vorbis file of one or two channels"};
  }
  return std::shared_ptr<AVAudioFile>(new AudioVorbisScan(path, std::move(decoder), std::move(exact)));
}

AudioVorbisScan::AudioVorbisScan(std::string path, std::unique_ptr<Decoder> decoder, std::shared_ptr<AVAudioFile> exact)
    : path_(std::move(path)), decoder_(std::move(decoder)), exact_(std::move(exact)) {}

AudioVorbisScan::~AudioVorbisScan() = default;

Outcome AudioVorbisScan::readIntoBuffer(AVAudioPCMBuffer& buffer, std::uint32_t frameCount) {
  buffer.frameLength = 0;
  if (!(buffer.format() == processingFormat())) {
    return Error{path_ + ": the buffer has a different format"};
  }
  const auto left = static_cast<std::uint64_t>(length() - position_);
  const auto wanted = static_cast<std::uint32_t>(std::min<std::uint64_t>({left, frameCount, buffer.frameCapacity()}));
  while (buffer.frameLength < wanted) {
    if (!decoder_->hold()) {
      return Error{path_ + ": unexpected end of file"};
    }
    const std::uint32_t count = std::min(decoder_->left(), wanted - buffer.frameLength);
    for (std::uint32_t channel = 0; channel < buffer.format().channelCount; ++channel) {
      std::copy_n(decoder_->channel(channel), count, buffer.floatChannelData()[channel] + buffer.frameLength);
    }
    takeProbe(count);
    decoder_->take(count);
    buffer.frameLength += count;
    position_ += count;
  }
  if (!isOnePass_ || (wanted > 0 && position_ == length() && !(isExact(first_) && isExact(last_)))) {
    return Error{path_ + ": its frames are not where they were counted"};
  }
  return std::nullopt;
}

void AudioVorbisScan::takeProbe(std::uint32_t frames) {
  const std::uint32_t count = std::min(frames, probeFrames);
  const auto isLoud = [](float sample) { return std::abs(sample) > audible; };
  const float* const samples = decoder_->channel(0);
  if (count < probeFrames || std::none_of(samples, samples + count, isLoud)) {
    return;
  }
  last_.position = position_;
  last_.channels.resize(processingFormat().channelCount);
  for (std::size_t channel = 0; channel < last_.channels.size(); ++channel) {
    last_.channels[channel].assign(decoder_->channel(channel), decoder_->channel(channel) + count);
  }
  if (first_.channels.empty()) {
    first_ = last_;
  }
}

bool AudioVorbisScan::isExact(const Probe& probe) const {
  AVAudioPCMBuffer expected(processingFormat(), probeFrames);
  exact_->setFramePosition(probe.position);
  if (exact_->readIntoBuffer(expected, probeFrames)) {
    return false;
  }
  for (std::size_t channel = 0; channel < probe.channels.size(); ++channel) {
    const auto& found = probe.channels[channel];
    if (expected.frameLength < found.size() ||
        !std::equal(found.begin(), found.end(), expected.floatChannelData()[channel],
                    [](float one, float other) { return std::abs(one - other) < largestDifference; })) {
      return false;
    }
  }
  return true;
}

}  // namespace vrel::system
