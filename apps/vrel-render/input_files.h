// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "document/setlist.h"
#include "foundation/result.h"
#include "vrel-render/show.h"

namespace vrel::render {

/// Reads a setlist, and finds the files of a collected one beside it. An error is one line, about the file or with the
/// place of the damage.
[[nodiscard]] Result<SetlistFile> readSetlistFile(const std::string& path);

/// Reads a show, at most a day long.
[[nodiscard]] Result<std::vector<ShowStep>> readShowFile(const std::string& path);

}  // namespace vrel::render
