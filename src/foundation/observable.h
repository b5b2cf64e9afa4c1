// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "foundation/contracts.h"
#include "foundation/main_thread.h"

namespace vrel {

/// A list of listeners that one object calls and others join for as long as they keep the
/// connection. Main thread, which is checked: elsewhere `emit` calls nobody. A listener may join, leave or emit again
/// while it is called.
template <typename... Arguments>
class Signal {
 public:
  using Listener = std::function<void(Arguments...)>;

  /// Keeps a listener joined; releasing it leaves the signal. May outlive the signal.
  using Connection = std::shared_ptr<void>;

  [[nodiscard]] Connection connect(Listener listener) {
    auto entry = std::make_shared<Listener>(std::move(listener));
    if (!VREL_EXPECTS(isMainThread()) || !VREL_EXPECTS(*entry != nullptr)) {
      return nullptr;
    }
    listeners_.push_back(entry);
    return entry;
  }

  void emit(Arguments... arguments) {
    if (!VREL_EXPECTS(isMainThread())) {
      return;
    }
    if (listeners_.empty()) {
      return;
    }
    const auto joined = listeners_;
    for (const auto& weak : joined) {
      if (const auto listener = weak.lock()) {
        (*listener)(arguments...);
      }
    }
    std::erase_if(listeners_, [](const auto& weak) { return weak.expired(); });
  }

 private:
  std::vector<std::weak_ptr<Listener>> listeners_;
};

/// A value that notifies its readers when it changes. Main thread, which is checked: elsewhere an assignment is
/// refused.
///
/// `changed` is emitted on a real change only. The owner may add an effect, which runs on every
/// assignment, equal or not, after the value is stored and before the readers are notified.
template <typename T>
class Observable {
 public:
  Observable() = default;
  explicit Observable(T value) : value_(std::move(value)) {}
  Observable(const Observable&) = delete;
  Observable& operator=(const Observable&) = delete;

  [[nodiscard]] const T& get() const { return value_; }

  void set(T value) {
    if (!VREL_EXPECTS(isMainThread())) {
      return;
    }
    const bool differs = !(value_ == value);
    if (differs) {
      value_ = std::move(value);
    }
    if (effect_) {
      effect_();
    }
    if (differs) {
      changed.emit(value_);
    }
  }

  /// Changes the value where it is, for one that is too large to be copied. Counts as a real change.
  template <typename Change>
  void modify(Change change) {
    if (!VREL_EXPECTS(isMainThread())) {
      return;
    }
    change(value_);
    if (effect_) {
      effect_();
    }
    changed.emit(value_);
  }

  /// Runs on every assignment. For the object that owns this value.
  void setEffect(std::function<void()> effect) { effect_ = std::move(effect); }

  Signal<const T&> changed;

 private:
  T value_{};
  std::function<void()> effect_;
};

}  // namespace vrel
