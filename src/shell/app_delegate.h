// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace vrel {

class AppState;
class NSNotificationCenter;

/// The answer to the system's question whether the program may end.
// NOLINTNEXTLINE(readability-identifier-naming): the platform's names
enum class NSApplicationTerminateReply { NSTerminateCancel = 0, NSTerminateNow = 1, NSTerminateLater = 2 };

/// Turns the system's request to quit into the notification "vrel.requestTermination", which the main view answers
/// with its alert, and in the end with `Desktop::replyToApplicationShouldTerminate`. Where nobody listens nobody
/// answers, and the program goes on. Main thread.
class VrelAppDelegate {
 public:
  explicit VrelAppDelegate(NSNotificationCenter& notifications) : notifications_(notifications) {}

  /// Null until the window is there. Borrowed.
  AppState* appState = nullptr;

  /// Always NSTerminateLater. A request that comes while the alert of an earlier one is shown waits for the same
  /// answer.
  NSApplicationTerminateReply applicationShouldTerminate();

  /// How often a request has been answered.
  [[nodiscard]] std::uint64_t answerCount() const { return answerCount_; }

 private:
  NSNotificationCenter& notifications_;
  bool isAsking_ = false;
  std::uint64_t answerCount_ = 0;
};

}  // namespace vrel
