// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/playback_stop_mode.h"

#include <utility>

namespace vrel {

PlaybackStopMode PlaybackStopMode::fromText(std::string text) {
  if (const auto known = caseOf(stopModeTexts, text)) {
    return *known;
  }
  PlaybackStopMode unknown(StopMode::unknown);
  unknown.unknownText_ = std::move(text);
  return unknown;
}

std::string_view PlaybackStopMode::text() const {
  return mode_ == StopMode::unknown ? unknownText_ : textOf(stopModeTexts, mode_);
}

}  // namespace vrel
