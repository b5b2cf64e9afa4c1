// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/media/clip_decoder.h"

extern "C" {
#include <libavutil/display.h>
}

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "system/media/ffmpeg_handles.h"
#include "system/media/still_file.h"

namespace vrel::system {
namespace {

constexpr int decoderThreads = 2;
constexpr std::int64_t mostPixels = std::int64_t{8192} * 4608;
constexpr double usualPictureSeconds = 0.04;
constexpr double longestLastPicture = 10;  // seconds; only the last picture has no other to end it

// Containers of video: no playlists, no devices.
constexpr auto containers = "mov,mp4,m4a,3gp,3g2,mj2,matroska,webm,avi,mpeg,mpegts,flv,ogg,mxf";

const AVCodec* decoderFor(const AVStream& stream) {
  // The default decoders of these two ignore the second layer, which holds the alpha.
  const auto* alpha = av_dict_get(stream.metadata, "alpha_mode", nullptr, 0);
  const auto codec = stream.codecpar->codec_id;
  if (alpha != nullptr && std::strcmp(alpha->value, "1") == 0 &&
      (codec == AV_CODEC_ID_VP8 || codec == AV_CODEC_ID_VP9)) {
    if (const auto* layered = avcodec_find_decoder_by_name(codec == AV_CODEC_ID_VP9 ? "libvpx-vp9" : "libvpx")) {
      return layered;
    }
  }
  return avcodec_find_decoder(codec);
}

ClipOrientation orientationOf(const AVStream& stream) {
  std::size_t size = 0;
  const std::uint8_t* const data = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
  std::int32_t matrix[9];
  if (data == nullptr || size < sizeof matrix) {
    return {};
  }
  std::memcpy(matrix, data, sizeof matrix);
  return ClipOrientation::fromDisplayMatrix(matrix);
}

int isInterrupted(void* isOver) {
  return static_cast<const std::atomic<bool>*>(isOver)->load(std::memory_order_relaxed) ? 1 : 0;
}

}  // namespace

struct ClipDecoder::Parts {
  std::optional<StillFile> still;  // then none of the movie's parts
  FFmpegContainer container;
  FFmpegCodec codec;  // null while suspended
  FFmpegPacket packet{av_packet_alloc()};
  FFmpegFrame frame{av_frame_alloc()};
  AVStream* stream = nullptr;
  ClipOrientation orientation;
  ClipFrameConverter converter;
  const std::atomic<bool>* isOver = nullptr;
  std::optional<std::int64_t> origin;  // timestamp of the first picture
  double lastSeconds = 0;
  double lastEnd = 0;
  bool hasPicture = false;  // in this pass
  bool isDrained = false;

  [[nodiscard]] bool openStream(const std::string& path);
  [[nodiscard]] double secondsOf(const AVFrame& picture);
  [[nodiscard]] double durationOf(const AVFrame& picture) const;
};

bool ClipDecoder::Parts::openStream(const std::string& path) {
  av_log_set_level(AV_LOG_QUIET);
  AVFormatContext* context = avformat_alloc_context();
  if (context == nullptr) {
    return false;
  }
  if (isOver != nullptr) {
    // The library's interface takes a plain pointer; nothing is written through it.
    context->interrupt_callback = {isInterrupted, const_cast<std::atomic<bool>*>(isOver)};
  }
  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "file", 0);
  av_dict_set(&options, "format_whitelist", containers, 0);
  const int status = avformat_open_input(&context, ("file:" + path).c_str(), nullptr, &options);
  av_dict_free(&options);
  container.reset(status < 0 ? nullptr : context);
  if (container == nullptr || avformat_find_stream_info(container.get(), nullptr) < 0) {
    return false;
  }
  const int index = av_find_best_stream(container.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (index < 0 || (container->streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
    return false;
  }
  for (unsigned each = 0; each < container->nb_streams; ++each) {
    container->streams[each]->discard = static_cast<int>(each) == index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
  }
  stream = container->streams[index];
  orientation = orientationOf(*stream);
  return true;
}

double ClipDecoder::Parts::durationOf(const AVFrame& picture) const {
  double seconds = picture.pkt_duration > 0 ? static_cast<double>(picture.pkt_duration) * av_q2d(stream->time_base) : 0;
  if (seconds <= 0 && stream->avg_frame_rate.num > 0 && stream->avg_frame_rate.den > 0) {
    seconds = 1 / av_q2d(stream->avg_frame_rate);
  }
  return seconds > 0 ? std::min(seconds, longestLastPicture) : usualPictureSeconds;
}

// Missing timestamps, and those that go back, are replaced by the end of the picture before.
double ClipDecoder::Parts::secondsOf(const AVFrame& picture) {
  const std::int64_t stamp = picture.best_effort_timestamp;
  if (stamp != AV_NOPTS_VALUE && !origin) {
    origin = stamp;
  }
  if (!hasPicture) {
    return 0;
  }
  if (stamp == AV_NOPTS_VALUE) {
    return lastEnd;
  }
  const double seconds = (static_cast<double>(stamp) - static_cast<double>(*origin)) * av_q2d(stream->time_base);
  return seconds > lastSeconds ? seconds : lastEnd;
}

ClipDecoder::ClipDecoder(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {}
ClipDecoder::~ClipDecoder() = default;

Result<std::unique_ptr<ClipDecoder>> ClipDecoder::open(const std::string& path, const std::atomic<bool>* isOver) {
  std::error_code failure;
  if (!std::filesystem::is_regular_file(path, failure)) {
    return Error{path + " is not a regular file"};  // a pipe would block its reader
  }
  auto parts = std::make_unique<Parts>();
  parts->isOver = isOver;
  parts->still = StillFile::open(path);
  if (parts->still) {
    return std::unique_ptr<ClipDecoder>(new ClipDecoder(std::move(parts)));
  }
  if (!parts->openStream(path)) {
    return Error{path + " has no video in a known format"};
  }
  std::unique_ptr<ClipDecoder> decoder(new ClipDecoder(std::move(parts)));
  if (!decoder->wake()) {
    return Error{path + ": its video stream cannot be decoded"};
  }
  return decoder;
}

bool ClipDecoder::wake() {
  const auto* codec = decoderFor(*parts_->stream);
  parts_->codec.reset(codec == nullptr ? nullptr : avcodec_alloc_context3(codec));
  auto* const context = parts_->codec.get();
  if (context == nullptr) {
    return false;
  }
  const bool isConfigured = avcodec_parameters_to_context(context, parts_->stream->codecpar) >= 0;
  context->thread_count = decoderThreads;
  context->max_pixels = mostPixels;
  context->pkt_timebase = parts_->stream->time_base;
  if (!isConfigured || avcodec_open2(context, codec, nullptr) < 0) {
    suspend();
    return false;
  }
  return true;
}

void ClipDecoder::suspend() {
  parts_->codec.reset();
}

bool ClipDecoder::isAwake() const {
  return parts_->codec != nullptr || parts_->still;
}

bool ClipDecoder::isStill() const {
  return parts_->still.has_value();
}

bool ClipDecoder::isTooLarge() const {
  return parts_->still && parts_->still->isTooLarge();
}

bool ClipDecoder::rewind() {
  parts_->hasPicture = false;
  parts_->isDrained = false;
  parts_->lastSeconds = 0;
  parts_->lastEnd = 0;
  if (parts_->still) {
    return true;
  }
  if (parts_->codec != nullptr) {
    avcodec_flush_buffers(parts_->codec.get());
  }
  auto* const container = parts_->container.get();
  const bool isAtStart = avformat_seek_file(container, -1, INT64_MIN, INT64_MIN, INT64_MAX, 0) >= 0 ||
                         avformat_seek_file(container, -1, INT64_MIN, 0, 0, AVSEEK_FLAG_BYTE) >= 0;
  return isAtStart && (parts_->codec != nullptr || wake());
}

double ClipDecoder::statedSeconds() const {
  const std::int64_t duration = parts_->still ? 0 : parts_->container->duration;
  return duration > 0 ? static_cast<double>(duration) / AV_TIME_BASE : 0;
}

double ClipDecoder::passSeconds() const {
  return parts_->lastEnd;
}

ClipPicturePointer ClipDecoder::next() {
  if (parts_->still) {
    auto picture = std::exchange(parts_->isDrained, true) ? nullptr : parts_->still->decode();
    parts_->lastEnd = picture != nullptr ? picture->endSeconds() : parts_->lastEnd;
    return picture;
  }
  while (parts_->codec != nullptr) {
    if (auto picture = take()) {
      return picture;
    }
    if (parts_->isDrained || !feed()) {
      return nullptr;
    }
  }
  return nullptr;
}

// Sends the codec one packet, or the end of the stream.
bool ClipDecoder::feed() {
  auto* const packet = parts_->packet.get();
  for (;;) {
    if (parts_->isOver != nullptr && parts_->isOver->load(std::memory_order_relaxed)) {
      return false;
    }
    if (av_read_frame(parts_->container.get(), packet) < 0) {
      parts_->isDrained = true;
      return avcodec_send_packet(parts_->codec.get(), nullptr) >= 0;
    }
    const bool isOurs = packet->stream_index == parts_->stream->index;
    const int status = isOurs ? avcodec_send_packet(parts_->codec.get(), packet) : 0;
    av_packet_unref(packet);
    if (isOurs && status >= 0) {
      return true;  // a packet that the codec refuses is damaged; the next may be whole
    }
  }
}

ClipPicturePointer ClipDecoder::take() {
  auto* const frame = parts_->frame.get();
  // A picture that cannot be decoded is skipped.
  int status = 0;
  do {
    status = avcodec_receive_frame(parts_->codec.get(), frame);
  } while (status < 0 && status != AVERROR(EAGAIN) && status != AVERROR_EOF && parts_->isDrained);
  if (status < 0 || frame->width <= 0 || frame->height <= 0) {
    return nullptr;
  }
  const double seconds = parts_->secondsOf(*frame);
  const double duration = parts_->durationOf(*frame);
  parts_->hasPicture = true;
  parts_->lastSeconds = seconds;
  parts_->lastEnd = seconds + duration;
  AVFrame* taken = av_frame_alloc();
  if (taken == nullptr) {
    av_frame_unref(frame);
    return nullptr;
  }
  av_frame_move_ref(taken, frame);
  taken = parts_->converter.convert(taken);
  if (taken == nullptr) {
    return nullptr;
  }
  return std::make_shared<const ClipPicture>(taken, seconds, duration, parts_->orientation);
}

}  // namespace vrel::system
