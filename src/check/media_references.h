// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <set>
#include <string>

#include "document/setlist.h"

namespace vrel {

/// What is known of a file that a setlist names.
struct MediaState {
  enum class Kind { whole, missing, unreadable, incomplete, crashes };  // the last one: its decoder

  Kind kind = Kind::whole;
  std::string reason{};  // of a library or the system; empty for a whole one

  bool operator==(const MediaState&) const = default;
};

/// States by path; a path that is not in it counts as whole.
using MediaStates = std::map<std::string, MediaState>;

/// The files that the strips of a setlist play, each once.
struct MediaReferences {
  std::set<std::string> audioFiles;
  std::set<std::string> clips;
};

[[nodiscard]] MediaReferences mediaReferencesOf(const SetlistFile& setlist);

}  // namespace vrel
