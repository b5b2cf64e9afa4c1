// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QHash>
#include <QObject>
#include <cstddef>
#include <unordered_map>
#include <vector>

#include "console/window/mirror_source.h"
#include "console/window/view_model.h"

namespace vrel::window {

/// The window's copy of a list: one role, `entry`, with a `MirrorItem` for each row. Rows are inserted, moved and
/// removed one by one, so that views keep what they have under way.
class MirrorList : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes these")
  Q_PROPERTY(int count READ count NOTIFY countChanged FINAL)

 public:
  static constexpr int entryRole = Qt::UserRole;

  explicit MirrorList(QObject* parent) : QAbstractListModel(parent) {}

  [[nodiscard]] int count() const { return static_cast<int>(rows_.size()); }
  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : count(); }
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QHash<int, QByteArray> roleNames() const override { return {{entryRole, "entry"}}; }

  /// Brings the rows into this order row by row.
  void setRows(const std::vector<MirrorItem*>& wanted);

 Q_SIGNALS:
  void countChanged();

 private:
  void removeRowAt(std::size_t row);

  std::vector<MirrorItem*> rows_;  // owned by the store
};

/// The window's end of the mirror: all copies, brought up to date by the batches of the logic. The window's thread.
class MirrorStore : public QObject {
  Q_OBJECT

 public:
  using QObject::QObject;

  /// The copy of an object that both threads know from the beginning. Borrowed, and outlives this.
  template <typename Model>
  void adopt(FixedMirrorId<Model> fixed, Model& item) {
    items_[fixed.id] = &item;
  }

  /// The copy with this id; null when the logic has added none.
  [[nodiscard]] MirrorItem* find(MirrorId id) const;
  /// Made, without rows, when it is not there yet.
  [[nodiscard]] MirrorList* list(MirrorId id);

  void apply(const MirrorBatch& batch);

 private:
  std::unordered_map<MirrorId, MirrorItem*> items_;  // those that were added are children of this
  std::unordered_map<MirrorId, MirrorList*> lists_;  // children of this
};

}  // namespace vrel::window
