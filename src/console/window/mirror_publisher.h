// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QVariant>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "console/window/mirror_source.h"
#include "console/window/view_model.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"

namespace vrel::window {

/// A value of the logic as a view-model holds it; what is absent is an empty text.
template <typename T, typename U>
[[nodiscard]] T shownAs(const U& value) {
  if constexpr (std::is_same_v<U, std::string>) {
    return QString::fromStdString(value);
  } else if constexpr (std::is_same_v<U, std::optional<Uuid>>) {
    return value ? QString::fromStdString(value->text()) : QString();
  } else if constexpr (std::is_arithmetic_v<T> && std::is_arithmetic_v<U>) {
    return static_cast<T>(value);
  } else {
    return value;
  }
}

/// One object of the logic as the window sees it: publishes the properties of its view-model, which follow the logic
/// for as long as this lives.
///
/// The observables must outlive this or never change again. Main thread.
template <typename Model>
class MirrorPublisher {
 public:
  const MirrorId id;

  explicit MirrorPublisher(MirrorSource& source)
      : id(source.add([](QObject* parent) -> MirrorItem* { return new Model(parent); })), source_(source) {}
  MirrorPublisher(MirrorSource& source, FixedMirrorId<Model> fixed) : id(fixed.id), source_(source) {}
  ~MirrorPublisher() { source_.remove(id); }
  MirrorPublisher(const MirrorPublisher&) = delete;
  MirrorPublisher& operator=(const MirrorPublisher&) = delete;

  /// A value that is the same as before is not sent again.
  template <typename T, typename U>
  void set(const MirrorKey<Model, T>& key, const U& value) {
    auto shown = QVariant::fromValue(shownAs<T>(value));
    const auto [sent, isNew] = sent_.try_emplace(&key, shown);
    if (isNew || sent->second != shown) {
      sent->second = shown;
      source_.setValue(id, key, std::move(shown));
    }
  }

  /// Shows the value, now and after each change.
  template <typename T, typename U>
  void follow(const MirrorKey<Model, T>& key, Observable<U>& value) {
    set(key, value.get());
    connections_.push_back(value.changed.connect([this, &key](const U& now) { set(key, now); }));
  }

  /// Shows what `compute` returns, now and after each change of any of the values.
  template <typename T, typename Compute, typename... U>
  void derive(const MirrorKey<Model, T>& key, Compute compute, Observable<U>&... values) {
    set(key, compute());
    (connections_.push_back(values.changed.connect([this, &key, compute](const U&) { set(key, compute()); })), ...);
  }

 private:
  MirrorSource& source_;
  std::map<const AnyMirrorKey*, QVariant> sent_;
  std::vector<std::shared_ptr<void>> connections_;
};

}  // namespace vrel::window
