// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

#include "foundation/result.h"

namespace vrel::render {

/// All bytes of a file. The error names the file.
[[nodiscard]] Result<std::string> readFile(const std::string& path);

/// Makes `bytes` the content of a file, in one move: whoever reads it finds the old content or the new,
/// and after a failure the old one stands.
[[nodiscard]] Outcome replaceFile(const std::string& path, std::string_view bytes);

}  // namespace vrel::render
