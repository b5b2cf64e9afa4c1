// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <functional>

namespace vrel::system {

/// Does work that another program may hold up forever, on a thread of its own. False when it has not ended in time:
/// it is then left behind, with all that it holds, until it ends by itself.
[[nodiscard]] bool endsWithin(std::chrono::milliseconds limit, const std::function<void()>& work);

}  // namespace vrel::system
