// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

struct _XDisplay;  // NOLINT(bugprone-reserved-identifier): X11's name for a connection

namespace vrel::editor {

/// The windows that an editor opens by itself: those of this process, or of one that it has started, as far as their
/// data says so. One thread.
class OutsideWindows {
 public:
  /// X11's number of the console's window; 0 for none.
  explicit OutsideWindows(std::uint64_t mainWindow);
  ~OutsideWindows();
  OutsideWindows(const OutsideWindows&) = delete;
  OutsideWindows& operator=(const OutsideWindows&) = delete;

  /// Above the console's window, which owns them from then on; or, with `isRaised`, in front of all.
  void keepAbove(bool isRaised);

 private:
  [[nodiscard]] bool isOwn(unsigned long window) const;

  _XDisplay* const display_;  // null without one
  const unsigned long mainWindow_;
};

}  // namespace vrel::editor
