// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

// Whether a file can be decoded to its end, which a player finds out only on stage. Takes seconds for a long file. Any
// thread.

namespace vrel::system {

struct DecodingFailure {
  enum class Kind { unreadable, incomplete };

  Kind kind = Kind::unreadable;
  std::string reason{};  // in the words of a library, or how much there is of what the file states

  bool operator==(const DecodingFailure&) const = default;
};

/// Decodes all of an audio file. Incomplete is also one that is shorter than its header states.
[[nodiscard]] std::optional<DecodingFailure> checkAudioDecoding(const std::string& path);

/// Reads all packets of a clip, and decodes one key picture of each second and the last one.
[[nodiscard]] std::optional<DecodingFailure> checkClipDecoding(const std::string& path);

}  // namespace vrel::system
