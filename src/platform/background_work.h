// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

namespace vrel {

/// Work that would hold up the main queue, on a thread of its own: one piece at a time, in the order of the calls. Main
/// thread.
class BackgroundWork {
 public:
  using Work = std::function<void()>;

  virtual ~BackgroundWork() = default;

  /// Runs `work` there and then `ended` on the main queue, and returns behind both. The main queue goes on meanwhile,
  /// so the caller must expect any other work of it in between. Nothing is dropped when the program ends.
  virtual void run(const Work& work, const Work& ended) = 0;

  /// Returns when `isOver` holds; the main queue goes on meanwhile.
  virtual void waitUntil(const std::function<bool()>& isOver) = 0;
};

}  // namespace vrel
