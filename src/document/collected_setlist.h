// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "document/setlist.h"
#include "platform/file_copier.h"

// A setlist with all files that it plays in one folder, which opens on another machine:
//
//   NAME/NAME.vrel
//   NAME/files/...     each file once, under its own name or, where two have the same, with a number
//
// Its paths are absolute, as in every setlist, and its field `collectedFolder` says where the folder was when it was
// written. Where the folder is now, is known when it is opened.

namespace vrel {

/// What came of it. Of one that was stopped or has failed nothing is left.
struct Collection {
  enum class End { whole, stopped, failed };

  End end = End::whole;
  std::string reason{};                // of a failure
  std::size_t files = 0;               // that were copied
  std::vector<std::string> missing{};  // what could not be read, one line each; the setlist keeps their paths
};

/// Copies the setlist and its files into a new folder; with `background`, the video behind the clips, too, which no
/// setlist names. Any thread. `progress` gets the proportion of all.
[[nodiscard]] Collection collectSetlist(SetlistFile setlist, const std::optional<std::string>& background,
                                        const std::filesystem::path& folder, FileCopier& copier,
                                        const FileCopier::Progress& progress);

/// For a setlist that was read from `folder`, an absolute path: whatever lies there takes the place of what lay in the
/// folder when it was written, also where that is still there. Other files keep their paths.
void takeFilesBeside(SetlistFile& setlist, const std::filesystem::path& folder,
                     const std::function<bool(const std::filesystem::path& path)>& exists);

}  // namespace vrel
