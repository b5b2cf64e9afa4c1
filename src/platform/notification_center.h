// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "foundation/observable.h"

namespace vrel {

/// Passes commands from whoever gives them to whoever carries them out, by name. A listener is called inside `post`; a
/// name that nobody listens to is no fault. Main thread.
class NSNotificationCenter {
 public:
  /// The file that a command is about; most are about none.
  using Object = std::optional<std::filesystem::path>;
  using Listeners = Signal<const Object&>;

  void post(const std::string& name, const Object& object = std::nullopt) {
    if (const auto found = listeners_.find(name); found != listeners_.end()) {
      found->second.emit(object);
    }
  }

  /// Listens for as long as the connection is kept.
  [[nodiscard]] Listeners::Connection addObserver(const std::string& name, Listeners::Listener listener) {
    return listeners_[name].connect(std::move(listener));
  }

 private:
  std::map<std::string, Listeners> listeners_;
};

}  // namespace vrel
