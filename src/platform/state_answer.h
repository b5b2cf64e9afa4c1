// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel {

/// Of a plug-in that may not answer when its state is read: whether what was read last is only the last state known.
/// Main thread.
class StateAnswer {
 public:
  virtual ~StateAnswer() = default;
  [[nodiscard]] virtual bool missedState() const = 0;
};

}  // namespace vrel
