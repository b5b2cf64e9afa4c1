// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "check/media_references.h"
#include "system/media/decoding_check.h"

namespace vrel::render {

/// How the files of a setlist are decoded.
struct MediaDecoders {
  using Decode = std::function<std::optional<system::DecodingFailure>(const std::string& path)>;

  Decode audioFile = &system::checkAudioDecoding;
  Decode clip = &system::checkClipDecoding;
  std::chrono::milliseconds timeLimit = std::chrono::minutes(5);  // for each
};

struct CheckedMedia {
  MediaStates audioFiles;
  MediaStates clips;
};

/// Decodes each file in a copy of this process, as many at a time as the machine has cores: one that takes its decoder
/// along costs nothing else. `progress` gets the number of files that are done, at least every few seconds. Only while
/// this process has no other thread.
[[nodiscard]] CheckedMedia checkMedia(const MediaReferences& references, const MediaDecoders& decoders,
                                      const std::function<void(std::size_t done)>& progress);

}  // namespace vrel::render
