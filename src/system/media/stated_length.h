// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdio>
#include <string>

#include "system/media/ffmpeg_handles.h"

namespace vrel::system {

/// The file's container, quietly; null where the library cannot open it. Only for what has been opened before.
[[nodiscard]] inline FFmpegContainer openContainer(const std::string& path) {
  av_log_set_level(AV_LOG_QUIET);
  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "file", 0);
  AVFormatContext* context = nullptr;
  const int status = avformat_open_input(&context, ("file:" + path).c_str(), nullptr, &options);
  av_dict_free(&options);
  FFmpegContainer container(status < 0 ? nullptr : context);
  if (container != nullptr && avformat_find_stream_info(container.get(), nullptr) < 0) {
    container.reset();
  }
  return container;
}

/// The length of the whole file that its headers state, in seconds; 0 where they state none, or it is only estimated.
[[nodiscard]] inline double statedSeconds(const AVFormatContext& container) {
  const bool isEstimated = container.duration_estimation_method == AVFMT_DURATION_FROM_BITRATE;
  return isEstimated || container.duration <= 0 ? 0 : static_cast<double>(container.duration) / AV_TIME_BASE;
}

/// The same of one stream; that of the file where it is the only one.
[[nodiscard]] inline double statedSeconds(const AVFormatContext& container, const AVStream& stream) {
  if (container.duration_estimation_method == AVFMT_DURATION_FROM_BITRATE || stream.duration <= 0) {
    return container.nb_streams == 1 ? statedSeconds(container) : 0;
  }
  return static_cast<double>(stream.duration) * av_q2d(stream.time_base);
}

/// Such as "1.5 s of 3.0 s".
[[nodiscard]] inline std::string partText(double seconds, double of) {
  std::array<char, 80> text{};
  std::snprintf(text.data(), text.size(), "%.1f s of %.1f s", seconds, of);
  return text.data();
}

}  // namespace vrel::system
