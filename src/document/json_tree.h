// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string_view>

#include "foundation/result.h"

// The first half of reading a document: bytes to a tree that says nothing yet of records. Any thread.

namespace vrel {

/// Parses a JSON text into `tree`. The error names the byte; the tree is then unusable. Excessive nesting is an error,
/// too, so that the tree may be walked by recursion. A string with the escape of a lone surrogate, which JSON allows
/// and UTF-8 cannot hold, becomes a value of type binary: whoever ignores it may, and whoever wants a text finds none.
[[nodiscard]] Outcome parseJson(std::string_view bytes, nlohmann::json& tree);

}  // namespace vrel
