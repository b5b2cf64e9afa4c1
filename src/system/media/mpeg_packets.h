// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vrel::system {

/// What the headers of an MP3 file's packets say; nothing is decoded.
struct MpegPackets {
  std::int64_t count = 0;                // without the one that holds the encoder's tag
  std::optional<std::int64_t> stated{};  // how many there should be, by that tag
  std::int64_t framesEach = 0;

  /// Whether the file holds all that it should, and at least this many frames.
  [[nodiscard]] bool hold(std::int64_t frames) const {
    return count >= stated.value_or(0) && count * framesEach >= frames;
  }
};

/// Walks from header to header through the whole file, 1 ms for ten minutes. None when anything but packets of one
/// kind follows the tags at the beginning, up to the end or a tag there: then only decoding shows what is in it.
[[nodiscard]] std::optional<MpegPackets> findMpegPackets(const std::string& path);

}  // namespace vrel::system
