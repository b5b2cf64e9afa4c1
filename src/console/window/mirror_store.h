// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QQmlPropertyMap>
#include <cstddef>
#include <memory>
#include <unordered_map>
#include <vector>

#include "console/window/mirror_source.h"

namespace vrel::window {

/// The window's copy of one object of the logic. QML reads its values by name and never writes them.
///
/// When the logic has let go of the object, the copy lives on for as long as a `MirrorRef` holds it.
class MirrorItem : public QQmlPropertyMap {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes these")

 public:
  explicit MirrorItem(QObject* parent) : QQmlPropertyMap(this, parent) {}

  /// The logic has let go of it. Deletes it as soon as nobody holds it.
  void farewell();

 protected:
  /// A write from QML changes nothing.
  QVariant updateValue(const QString& key, const QVariant& /*input*/) override { return value(key); }

 private:
  friend class MirrorRef;

  void leave() {
    if (isGone_ && holds_ == 0) {
      deleteLater();
    }
  }

  int holds_ = 0;
  bool isGone_ = false;
};

/// Keeps a copy alive for the item that shows it: a view takes an item away later than the row behind it, and until
/// then the item goes on reading. Stands in that item, and goes with it.
class MirrorRef : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(vrel::window::MirrorItem* entry READ entry WRITE setEntry NOTIFY entryChanged REQUIRED)

 public:
  using QObject::QObject;
  ~MirrorRef() override { letGo(); }

  [[nodiscard]] MirrorItem* entry() const { return entry_; }
  void setEntry(MirrorItem* entry);

 Q_SIGNALS:
  void entryChanged();

 private:
  void letGo();

  QPointer<MirrorItem> entry_;  // null when the store has ended
};

/// The window's copy of a list: one role, `entry`, with a `MirrorItem` for each row. Rows are inserted, moved and
/// removed one by one, so that views keep what they have under way.
class MirrorList : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes these")
  Q_PROPERTY(int count READ count NOTIFY countChanged)

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

/// The window's side of the mirror: all copies, brought up to date by the batches of the logic. The window's thread.
class MirrorStore : public QObject {
  Q_OBJECT

 public:
  explicit MirrorStore(QObject* parent = nullptr) : QObject(parent) {}

  /// The copy with this id; made, without values, when it is not there yet.
  [[nodiscard]] MirrorItem* object(MirrorId id);
  [[nodiscard]] MirrorList* list(MirrorId id);

  void apply(const MirrorBatch& batch);

 private:
  std::unordered_map<MirrorId, MirrorItem*> objects_;  // children of this
  std::unordered_map<MirrorId, MirrorList*> lists_;    // children of this
};

}  // namespace vrel::window
