// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "check/finding.h"
#include "document/app_state.h"

// The words of findings, in the five languages of the interface. Pure functions.

namespace vrel {

/// What was found, in one sentence without a full stop and without the strip's name.
[[nodiscard]] std::string findingText(const Finding& finding, Language language);

/// What to do about it, in one sentence.
[[nodiscard]] std::string findingAdvice(FindingKind kind, Language language);

/// What was measured of a song, in one line.
[[nodiscard]] std::string playedText(const PlayedSong& played, Language language);

}  // namespace vrel
