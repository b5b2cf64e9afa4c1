// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel {
class ConsoleOutput;
}  // namespace vrel

namespace vrel::app {

/// What Qt prints also goes to a log, for as long as this lives. One at a time, with no other thread of Qt's at its
/// beginning and end.
class QtMessages {
 public:
  /// Borrowed, and outlives this.
  explicit QtMessages(ConsoleOutput& log);
  ~QtMessages();
  QtMessages(const QtMessages&) = delete;
  QtMessages& operator=(const QtMessages&) = delete;
};

}  // namespace vrel::app
