// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstdint>
#include <optional>

#include "system/media/clip_decoder.h"
#include "system/media/decoding_check.h"
#include "system/media/stated_length.h"

namespace vrel::system {
namespace {

using Kind = DecodingFailure::Kind;

constexpr double secondsBetweenPictures = 1;
constexpr double negligiblePart = 0.3;  // seconds; the last picture's own duration is often not stated

/// Decodes single key pictures.
class KeyPictures {
 public:
  explicit KeyPictures(const AVStream& stream) {
    const auto* codec = avcodec_find_decoder(stream.codecpar->codec_id);
    codec_.reset(codec == nullptr ? nullptr : avcodec_alloc_context3(codec));
    if (codec_ != nullptr && (avcodec_parameters_to_context(codec_.get(), stream.codecpar) < 0 ||
                              avcodec_open2(codec_.get(), codec, nullptr) < 0)) {
      codec_.reset();
    }
  }

  [[nodiscard]] bool canDecode(const AVPacket& packet) {
    if (codec_ == nullptr || frame_ == nullptr) {
      return false;
    }
    bool isDecoded = false;
    if (avcodec_send_packet(codec_.get(), &packet) >= 0 && avcodec_send_packet(codec_.get(), nullptr) >= 0) {
      isDecoded = avcodec_receive_frame(codec_.get(), frame_.get()) >= 0;
    }
    avcodec_flush_buffers(codec_.get());
    return isDecoded;
  }

 private:
  FFmpegCodec codec_;
  FFmpegFrame frame_{av_frame_alloc()};
};

/// One pass through the packets of the clip's video.
class ClipPass {
 public:
  ClipPass(AVFormatContext& container, const AVStream& stream)
      : container_(container), stream_(stream), pictures_(stream) {}

  std::optional<DecodingFailure> check() {
    if (packet_ == nullptr || lastKey_ == nullptr) {
      return DecodingFailure{Kind::unreadable, "not enough memory"};
    }
    int status = 0;
    while ((status = av_read_frame(&container_, packet_.get())) >= 0) {
      noteEnd();
      if (packet_->stream_index == stream_.index) {
        take();
      }
      av_packet_unref(packet_.get());
    }
    const bool isLastDecoded = lastKey_->size == 0 || pictures_.canDecode(*lastKey_);
    const double stated = statedSeconds(container_, stream_);
    if (status != AVERROR_EOF || end_ + negligiblePart < stated) {
      return DecodingFailure{Kind::incomplete, partText(end_, std::max(stated, end_))};
    }
    if (fileEnd_ + negligiblePart < statedSeconds(container_)) {
      return DecodingFailure{Kind::incomplete, partText(fileEnd_, statedSeconds(container_))};
    }
    if (firstDamage_ || !isLastDecoded) {
      return DecodingFailure{Kind::incomplete, "a picture at " + partText(firstDamage_.value_or(end_), end_)};
    }
    return std::nullopt;
  }

 private:
  // Of all streams: a container may state the length of its sound only.
  void noteEnd() {
    const AVStream& stream = *container_.streams[packet_->stream_index];
    const std::int64_t stamp = packet_->pts != AV_NOPTS_VALUE ? packet_->pts : packet_->dts;
    if (stamp != AV_NOPTS_VALUE) {
      const auto duration = std::max<std::int64_t>(packet_->duration, 0);
      fileEnd_ = std::max(fileEnd_, static_cast<double>(stamp + duration) * av_q2d(stream.time_base));
    }
  }

  void take() {
    const double unit = av_q2d(stream_.time_base);
    const std::int64_t stamp = packet_->pts != AV_NOPTS_VALUE ? packet_->pts : packet_->dts;
    const double begin = stream_.start_time != AV_NOPTS_VALUE ? static_cast<double>(stream_.start_time) * unit : 0;
    const double seconds = stamp != AV_NOPTS_VALUE ? static_cast<double>(stamp) * unit - begin : end_;
    end_ = std::max(end_, seconds + static_cast<double>(std::max<std::int64_t>(packet_->duration, 0)) * unit);
    if ((packet_->flags & AV_PKT_FLAG_KEY) == 0) {
      return;
    }
    if (seconds >= nextPicture_) {
      nextPicture_ = seconds + secondsBetweenPictures;
      av_packet_unref(lastKey_.get());
      if (!pictures_.canDecode(*packet_) && !firstDamage_) {
        firstDamage_ = seconds;
      }
    } else {
      av_packet_unref(lastKey_.get());
      av_packet_ref(lastKey_.get(), packet_.get());
    }
  }

  AVFormatContext& container_;
  const AVStream& stream_;
  KeyPictures pictures_;
  FFmpegPacket packet_{av_packet_alloc()};
  FFmpegPacket lastKey_{av_packet_alloc()};  // that was not decoded
  double end_ = 0;                           // of the packets so far, seconds
  double fileEnd_ = 0;                       // the same of all streams
  double nextPicture_ = 0;
  std::optional<double> firstDamage_;
};

}  // namespace

std::optional<DecodingFailure> checkClipDecoding(const std::string& path) {
  const auto opened = ClipDecoder::open(path, nullptr);
  if (!opened) {
    return DecodingFailure{Kind::unreadable, opened.error().description};
  }
  if (opened.value()->next() == nullptr) {
    return DecodingFailure{Kind::unreadable,
                           opened.value()->isTooLarge() ? "the picture is too large" : "no picture can be decoded"};
  }
  if (opened.value()->isStill()) {
    return std::nullopt;
  }
  const FFmpegContainer container = openContainer(path);
  const int index =
      container == nullptr ? -1 : av_find_best_stream(container.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (index < 0) {
    return DecodingFailure{Kind::unreadable, "no video stream"};
  }
  return ClipPass(*container, *container->streams[index]).check();
}

}  // namespace vrel::system
