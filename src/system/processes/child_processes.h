// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>

#include "platform/child_process.h"

namespace vrel {
class MainQueue;
}  // namespace vrel

namespace vrel::system {

/// Programs of this computer, each in a process group of its own and watched by a thread of its own. The end of one
/// kills its group and waits for it, a second at most: what the system cannot end then is left to end by itself.
class ChildProcesses final : public ChildProcessFactory {
 public:
  static constexpr std::size_t mostOutputBytes = std::size_t{64} << 20U;
  static constexpr std::size_t longestLine = 4096;  // of standard error; the rest of it is dropped

  /// The queue is borrowed.
  explicit ChildProcesses(MainQueue& mainQueue) : mainQueue_(mainQueue) {}

  [[nodiscard]] std::unique_ptr<ChildProcess> start(ChildCommand command, ChildHandlers handlers) override;

 private:
  MainQueue& mainQueue_;
};

}  // namespace vrel::system
