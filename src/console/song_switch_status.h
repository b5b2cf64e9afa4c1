// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "document/app_state.h"

namespace vrel {

/// The line at the head of the song list: a dot and what a song switch does, or how long the last one took.
struct SongSwitchStatus {
  enum class Dot { green, yellow };
  static constexpr double dotSize = 6.0;  // points, both ways

  Dot dot = Dot::green;
  std::string text;

  bool operator==(const SongSwitchStatus&) const = default;
};

[[nodiscard]] inline SongSwitchStatus songSwitchStatus(const AppState& state) {
  if (state.songSwitchInProgress.get()) {
    return {SongSwitchStatus::Dot::yellow, "Switching..."};
  }
  const auto milliseconds = state.songSwitchElapsedMs.get();
  return {SongSwitchStatus::Dot::green,
          milliseconds ? "Switch: " + std::to_string(*milliseconds) + " ms" : "Switch: --"};
}

}  // namespace vrel
