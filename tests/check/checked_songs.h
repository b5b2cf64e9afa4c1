// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "check/finding.h"
#include "document/setlist.h"

namespace vrel {

/// The one instrument that the tests of the check have installed.
inline const std::string installedPiano = "aucd:1635085685:1:2";

inline ChannelConfig stripWith(const std::string& pluginPath, int minNote = 0, int maxNote = 127) {
  ChannelConfig strip;
  strip.name = "Strip";
  strip.pluginPath = pluginPath;
  strip.minNote = static_cast<std::uint8_t>(minNote);
  strip.maxNote = static_cast<std::uint8_t>(maxNote);
  return strip;
}

inline SongConfig songWith(const std::vector<ChannelConfig>& strips) {
  SongConfig song;
  song.name = "Song";
  song.channels = strips;
  return song;
}

inline std::vector<FindingKind> kindsOf(const std::vector<Finding>& findings) {
  std::vector<FindingKind> kinds;
  std::transform(findings.begin(), findings.end(), std::back_inserter(kinds),
                 [](const Finding& finding) { return finding.kind; });
  return kinds;
}

}  // namespace vrel
