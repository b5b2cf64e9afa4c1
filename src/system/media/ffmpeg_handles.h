// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <memory>

namespace vrel::system {

/// Releases an FFmpeg object with its own function for that.
template <auto release>
struct FFmpegRelease {
  template <typename T>
  void operator()(T* held) const {
    release(&held);
  }
};

using FFmpegContainer = std::unique_ptr<AVFormatContext, FFmpegRelease<avformat_close_input>>;
using FFmpegCodec = std::unique_ptr<AVCodecContext, FFmpegRelease<avcodec_free_context>>;
using FFmpegPacket = std::unique_ptr<AVPacket, FFmpegRelease<av_packet_free>>;
using FFmpegFrame = std::unique_ptr<AVFrame, FFmpegRelease<av_frame_free>>;

}  // namespace vrel::system
