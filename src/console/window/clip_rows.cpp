// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/clip_rows.h"

#include <QVariant>
#include <algorithm>

namespace vrel::window {

bool ClipRows::areSameRows(const QList<ClipRow>& rows) const {
  return std::equal(rows.begin(), rows.end(), rows_.begin(), rows_.end(),
                    [](const ClipRow& one, const ClipRow& other) { return one.mappingId == other.mappingId; });
}

void ClipRows::setRows(const QList<ClipRow>& rows) {
  if (rows == rows_) {
    return;
  }
  if (areSameRows(rows)) {
    const auto before = rows_;
    rows_ = rows;
    for (int row = 0; row < rowCount(); ++row) {
      if (before[row] != rows_[row]) {
        Q_EMIT dataChanged(index(row), index(row));
      }
    }
  } else if (rows.size() > rows_.size() && std::equal(rows_.begin(), rows_.end(), rows.begin())) {
    beginInsertRows({}, rowCount(), static_cast<int>(rows.size()) - 1);
    rows_ = rows;
    endInsertRows();
  } else {
    beginResetModel();
    rows_ = rows;
    endResetModel();
  }
  Q_EMIT rowsChanged();
}

QVariant ClipRows::data(const QModelIndex& index, int role) const {
  const bool isThere = index.isValid() && index.row() < rowCount() && role == Qt::UserRole;
  return isThere ? QVariant::fromValue(rows_[index.row()]) : QVariant();
}

}  // namespace vrel::window
