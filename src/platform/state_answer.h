// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "platform/property_list.h"

namespace vrel {

/// Of a plug-in that may not answer when its state is read: whether what was read last is only the last state known.
/// Main thread.
class StateAnswer {
 public:
  virtual ~StateAnswer() = default;
  [[nodiscard]] virtual bool missedState() const = 0;

  /// The state that went in or came out last; the plug-in is not asked.
  [[nodiscard]] virtual std::optional<PropertyListDictionary> lastKnownState() const = 0;
};

}  // namespace vrel
