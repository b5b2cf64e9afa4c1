// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QVariant>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/life_token.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"

namespace vrel {
class MainQueue;
}  // namespace vrel

namespace vrel::window {

/// Names an object or a list that the window has a copy of. Never used twice.
using MirrorId = std::uint64_t;

/// What changed since the last batch: of each value the last state only.
struct MirrorBatch {
  std::map<MirrorId, std::map<QString, QVariant>> values;
  std::map<MirrorId, std::vector<MirrorId>> lists;  // the objects in each list, in order
  std::vector<MirrorId> gone;
};

/// The logic's side of the mirror: collects what the window shows and hands it over in batches.
///
/// One batch is under way at a time. While the window is busy with it, further changes gather and replace each other,
/// so that a flood of changes costs the window what it can show and the logic next to nothing. Main thread.
class MirrorSource {
 public:
  /// Gets a batch to the window; `delivered` is called when the window has taken it.
  using Deliver = std::function<void(MirrorBatch)>;

  /// The queue is borrowed.
  MirrorSource(MainQueue& mainQueue, Deliver deliver) : mainQueue_(mainQueue), deliver_(std::move(deliver)) {}

  /// Called at the end of each turn of the main queue that changed something, before a batch is made up.
  std::function<void()> refresh;

  [[nodiscard]] MirrorId newId() { return ++lastId_; }
  void setValue(MirrorId object, const QString& name, QVariant value);
  void setRows(MirrorId list, std::vector<MirrorId> objects);
  void remove(MirrorId object);

  /// Looks for changes behind what the main queue holds now.
  void schedule();
  void delivered();

  /// Objects that both sides know from the beginning have ids up to this one.
  static constexpr MirrorId lastFixedId = 100;

 private:
  void turn();
  void deliver();

  MainQueue& mainQueue_;
  Deliver deliver_;
  MirrorBatch pending_;
  MirrorId lastId_ = lastFixedId;
  bool isScheduled_ = false;
  bool isUnderWay_ = false;
  LifeToken life_;
};

// How the values of the logic look to the window; what is absent is an empty text.
inline QVariant toVariant(bool value) {
  return value;
}
inline QVariant toVariant(float value) {
  return static_cast<double>(value);
}
inline QVariant toVariant(double value) {
  return value;
}
inline QVariant toVariant(int value) {
  return value;
}
inline QVariant toVariant(std::uint32_t value) {
  return value;
}
inline QVariant toVariant(const QString& value) {
  return value;
}
inline QVariant toVariant(const std::string& value) {
  return QString::fromStdString(value);
}
inline QVariant toVariant(const std::optional<Uuid>& value) {
  return value ? QString::fromStdString(value->text()) : QString();
}
inline QVariant toVariant(const QVariant& value) {
  return value;
}

/// One object of the logic as the window sees it: values under names, which follow for as long as this lives.
///
/// What is followed must outlive this or fall silent. Main thread.
class MirrorPublisher {
 public:
  const MirrorId id;

  explicit MirrorPublisher(MirrorSource& source) : id(source.newId()), source_(source) {}
  /// One that both sides know by its id.
  MirrorPublisher(MirrorSource& source, MirrorId fixedId) : id(fixedId), source_(source) {}
  ~MirrorPublisher() { source_.remove(id); }
  MirrorPublisher(const MirrorPublisher&) = delete;
  MirrorPublisher& operator=(const MirrorPublisher&) = delete;

  template <typename T>
  void set(const char* name, const T& value) {
    setVariant(QString::fromLatin1(name), toVariant(value));
  }

  /// A value that is the same as before is not sent again.
  void setVariant(const QString& name, QVariant value);

  /// Shows the value under this name, now and after each change.
  template <typename T>
  void follow(const char* name, Observable<T>& value) {
    set(name, value.get());
    connections_.push_back(value.changed.connect([this, name](const T& now) { set(name, now); }));
  }

  /// Shows what `compute` gives, now and after each change of any of the values.
  template <typename Compute, typename... T>
  void derive(const char* name, Compute compute, Observable<T>&... values) {
    set(name, compute());
    (connections_.push_back(values.changed.connect([this, name, compute](const T&) { set(name, compute()); })), ...);
  }

 private:
  MirrorSource& source_;
  std::map<QString, QVariant> sent_;
  std::vector<std::shared_ptr<void>> connections_;
};

}  // namespace vrel::window
