// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <algorithm>

namespace vrel::window {

/// One plug-in in a list to choose from. A value.
class PluginRow {
  Q_GADGET
  QML_VALUE_TYPE(pluginRow)

 public:
  QString section;  // the heading it is under
  QString key;
  QString name;
  QString manufacturer;
  bool isFavourite = false;

  bool operator==(const PluginRow&) const = default;
};

/// The rows of a view-model as a model for a list, which makes items for what is in sight alone. The first row under a
/// heading shows it. The window's thread.
class PluginRows : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(QList<vrel::window::PluginRow> rows READ rows WRITE setRows NOTIFY rowsChanged FINAL)
  Q_PROPERTY(int count READ count NOTIFY rowsChanged FINAL)

 public:
  enum Role { headingRole = Qt::UserRole, keyRole, nameRole, manufacturerRole, favouriteRole };

  using QAbstractListModel::QAbstractListModel;

  [[nodiscard]] const QList<PluginRow>& rows() const { return rows_; }
  /// Rows keep their items in the list, which get new values: to make the items again would take longer than a frame.
  void setRows(const QList<PluginRow>& rows) {
    if (rows_ == rows) {
      return;
    }
    Q_EMIT rowsAboutToChange();
    const int before = count();
    const int now = static_cast<int>(rows.size());
    if (now < before) {
      beginRemoveRows({}, now, before - 1);
      rows_ = rows;
      endRemoveRows();
    } else if (now > before) {
      beginInsertRows({}, before, now - 1);
      rows_ = rows;
      endInsertRows();
    } else {
      rows_ = rows;
    }
    if (const int common = std::min(before, now); common > 0) {
      Q_EMIT dataChanged(index(0), index(common - 1));
    }
    Q_EMIT rowsChanged();
  }

  [[nodiscard]] int count() const { return static_cast<int>(rows_.size()); }
  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : count(); }
  [[nodiscard]] QHash<int, QByteArray> roleNames() const override {
    return {{headingRole, "heading"},
            {keyRole, "key"},
            {nameRole, "name"},
            {manufacturerRole, "manufacturer"},
            {favouriteRole, "isFavourite"}};
  }
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override {
    if (!index.isValid() || index.row() >= count()) {
      return {};
    }
    const PluginRow& row = rows_[index.row()];
    switch (role) {
      case headingRole:
        return index.row() > 0 && rows_[index.row() - 1].section == row.section ? QString() : row.section;
      case keyRole:
        return row.key;
      case nameRole:
        return row.name;
      case manufacturerRole:
        return row.manufacturer;
      case favouriteRole:
        return row.isFavourite;
      default:
        return {};
    }
  }

  /// The key of a row; empty for none.
  Q_INVOKABLE [[nodiscard]] QString keyAt(int row) const {
    return row >= 0 && row < count() ? rows_[row].key : QString();
  }
  Q_INVOKABLE [[nodiscard]] vrel::window::PluginRow rowAt(int row) const { return rows_.value(row); }

  /// The row with this key; -1 without one.
  Q_INVOKABLE [[nodiscard]] int findKey(const QString& key) const {
    const auto found = std::find_if(rows_.begin(), rows_.end(), [&](const PluginRow& row) { return row.key == key; });
    return found == rows_.end() ? -1 : static_cast<int>(found - rows_.begin());
  }

  /// Where this plug-in is now, under the same heading if possible; the first row when it is gone, -1 when all are.
  Q_INVOKABLE [[nodiscard]] int find(const vrel::window::PluginRow& wanted) const {
    int best = std::min(0, count() - 1);
    for (int row = count() - 1; row >= 0; --row) {
      if (rows_[row].key == wanted.key && rows_[row].section == wanted.section) {
        return row;
      }
      best = rows_[row].key == wanted.key ? row : best;
    }
    return best;
  }

 Q_SIGNALS:
  void rowsAboutToChange();
  void rowsChanged();

 private:
  QList<PluginRow> rows_;
};

}  // namespace vrel::window
