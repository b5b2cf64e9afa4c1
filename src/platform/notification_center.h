// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "foundation/observable.h"

namespace vrel {

/// Posted when the program, one of its windows, or its main window comes to the front.
inline constexpr auto applicationDidBecomeActiveNotification = "NSApplicationDidBecomeActiveNotification";
inline constexpr auto windowDidBecomeKeyNotification = "NSWindowDidBecomeKeyNotification";
inline constexpr auto windowDidBecomeMainNotification = "NSWindowDidBecomeMainNotification";

/// Passes commands to their handlers by name. A listener is called inside `post`; posting a name without listeners is
/// not an error. Main thread.
class NSNotificationCenter {
 public:
  /// The file that a command concerns; none for most.
  using Object = std::optional<std::filesystem::path>;
  using Listeners = Signal<const Object&>;

  void post(const std::string& name, const Object& object = std::nullopt) {
    if (const auto found = listeners_.find(name); found != listeners_.end()) {
      found->second.emit(object);
    }
  }

  /// Listens for as long as the connection lives.
  [[nodiscard]] Listeners::Connection addObserver(const std::string& name, Listeners::Listener listener) {
    return listeners_[name].connect(std::move(listener));
  }

 private:
  std::map<std::string, Listeners> listeners_;
};

}  // namespace vrel
