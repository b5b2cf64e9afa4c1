// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "document/setlist.h"

namespace vrel {
class AppState;
class AudioEngine;
}  // namespace vrel

namespace vrel::render {

/// What of `song`, which has just been put on stage and has no load under way, is missing there and
/// why: one text for each strip and each effect that does not sound. Main thread.
[[nodiscard]] std::vector<std::string> loadProblems(const SongConfig& song, const AudioEngine& engine,
                                                    const AppState& state);

}  // namespace vrel::render
