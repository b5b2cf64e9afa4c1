// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace vrel {

/// Of the program, such as "0.1.0". Any thread.
[[nodiscard]] std::string_view programVersion();

}  // namespace vrel
