// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QVariant>
#include <cstdint>
#include <functional>
#include <map>
#include <utility>
#include <vector>

#include "foundation/life_token.h"

namespace vrel {
class MainQueue;
}  // namespace vrel

class QObject;

namespace vrel::window {

class MirrorItem;

/// Names an object or a list that the window has a copy of. Never used twice.
using MirrorId = std::uint64_t;

/// The id of an object that both threads know from the beginning, and the view-model that shows it.
template <typename Model>
struct FixedMirrorId {
  MirrorId id;
};

/// Names a property of a view-model by its own address, and sets it; see `MirrorKey`.
class AnyMirrorKey {
 public:
  void set(MirrorItem& item, const QVariant& value) const { set_(*this, item, value); }

 protected:
  using Set = void (*)(const AnyMirrorKey& key, MirrorItem& item, const QVariant& value);

  explicit constexpr AnyMirrorKey(Set setValue) : set_(setValue) {}

 private:
  Set set_;
};

/// Makes the view-model of an object, on the window's thread.
using MakeMirrorItem = MirrorItem* (*)(QObject* parent);

/// What changed since the last batch: of each value the last state only.
struct MirrorBatch {
  std::map<MirrorId, MakeMirrorItem> added;
  std::map<MirrorId, std::map<const AnyMirrorKey*, QVariant>> values;
  std::map<MirrorId, std::vector<MirrorId>> lists;  // the objects in each list, in order
  std::vector<MirrorId> gone;

  [[nodiscard]] bool isEmpty() const { return added.empty() && values.empty() && lists.empty() && gone.empty(); }
};

/// The logic's end of the mirror: collects what the window shows and hands it over in batches.
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

  /// An object that the window knows from the next batch on.
  [[nodiscard]] MirrorId add(MakeMirrorItem make);
  void setValue(MirrorId object, const AnyMirrorKey& key, QVariant value);
  void setRows(MirrorId list, std::vector<MirrorId> objects);
  void remove(MirrorId object);

  /// Looks for changes when what is on the main queue now has run.
  void schedule();
  void delivered();

  /// Fixed ids go up to this one.
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

}  // namespace vrel::window
