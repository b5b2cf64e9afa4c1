// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

#include "foundation/enum_texts.h"

namespace vrel {

/// What a note does to a playback that loops. Without a loop it always stops it at once.
enum class StopMode {
  toggle,    // stops it at once
  rangeEnd,  // lets it play to the exit point
  unknown,   // another version's
};

inline constexpr EnumTexts<StopMode, 2> stopModeTexts = {{
    {StopMode::toggle, "toggle"},
    {StopMode::rangeEnd, "rangeEnd"},
}};
static_assert(isComplete(stopModeTexts));

/// A stop mode as it is stored: an unknown text is written as it was read.
class PlaybackStopMode {
 public:
  PlaybackStopMode() = default;
  PlaybackStopMode(StopMode known) : mode_(known) {}

  [[nodiscard]] static PlaybackStopMode fromText(std::string text);

  [[nodiscard]] StopMode mode() const { return mode_; }
  [[nodiscard]] std::string_view text() const;

  bool operator==(const PlaybackStopMode&) const = default;

 private:
  StopMode mode_ = StopMode::toggle;
  std::string unknownText_;
};

}  // namespace vrel
