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

/// What failed to load of `song`, which has just come on stage and has no pending load: one text with the
/// reason for each strip and effect that is silent. Main thread.
[[nodiscard]] std::vector<std::string> loadProblems(const SongConfig& song, const AudioEngine& engine,
                                                    const AppState& state);

}  // namespace vrel::render
