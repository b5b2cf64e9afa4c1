// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>

namespace vrel {

/// What the player queue may look at of a channel's playback, since the fields are the main thread's.
/// Written there only. A stale read costs at most one pass.
struct PlaybackRunView {
  std::atomic<std::uint64_t> runNumber{0};  // another one with each assignment of the token
  std::atomic<bool> stopRequested{false};
  std::atomic<bool> loops{false};
};

}  // namespace vrel
