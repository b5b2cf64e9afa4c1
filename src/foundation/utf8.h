// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace vrel {

/// Whether `text` is well-formed UTF-8: no stray or missing continuation bytes, no overlong forms,
/// no surrogates, nothing past U+10FFFF.
[[nodiscard]] bool isValidUtf8(std::string_view text);

}  // namespace vrel
