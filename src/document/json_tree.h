// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string_view>

#include "foundation/result.h"

// The first half of reading a document: bytes to a tree that says nothing yet of records. Any thread.

namespace vrel {

/// Makes `tree` the tree of a JSON text. The error tells the byte; then the tree is of no use. A nesting that only a
/// hostile file has is an error, too, so that whoever walks the tree may recurse.
[[nodiscard]] Outcome parseJson(std::string_view bytes, nlohmann::json& tree);

}  // namespace vrel
