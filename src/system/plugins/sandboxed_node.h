// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel {

/// A node whose plug-in runs in a process of its own. It derives from this class beside its platform
/// interface, and whoever reports on the process looks for it.
class SandboxedNode {
 public:
  virtual ~SandboxedNode() = default;

  /// The process as the system numbers it, also when it has died since. Main thread.
  [[nodiscard]] virtual int processId() const = 0;
};

}  // namespace vrel
