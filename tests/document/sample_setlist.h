// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "document/setlist.h"

namespace vrel {

/// A setlist in which no field has its default value.
[[nodiscard]] SetlistFile sampleSetlist();

/// The same content with every id nil, so that two loads can be compared.
[[nodiscard]] SetlistFile withoutIds(SetlistFile setlist);

}  // namespace vrel
