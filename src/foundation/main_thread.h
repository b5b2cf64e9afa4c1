// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel {

/// Whether the caller is on the main thread, the one that makes all decisions: the program's first thread, or the one
/// that holds the MainThreadScope. Cheap enough for every assignment. Any thread.
[[nodiscard]] bool isMainThread() noexcept;

/// Makes the calling thread the main one for the time of its life. The previous one has the role again afterwards and
/// must not act as the main thread meanwhile. One at a time.
class MainThreadScope {
 public:
  MainThreadScope() noexcept;
  ~MainThreadScope();
  MainThreadScope(const MainThreadScope&) = delete;
  MainThreadScope& operator=(const MainThreadScope&) = delete;

 private:
  const char* previous_;
};

}  // namespace vrel
