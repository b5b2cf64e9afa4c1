// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/mirror_store.h"

#include <algorithm>

namespace vrel::window {

QVariant MirrorList::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= count() || role != entryRole) {
    return {};
  }
  return QVariant::fromValue(rows_[static_cast<std::size_t>(index.row())]);
}

void MirrorList::removeRowAt(std::size_t row) {
  const int index = static_cast<int>(row);
  beginRemoveRows({}, index, index);
  rows_.erase(rows_.begin() + index);
  endRemoveRows();
}

void MirrorList::setRows(const std::vector<MirrorItem*>& wanted) {
  const auto before = rows_.size();
  for (std::size_t row = rows_.size(); row-- > 0;) {
    if (std::find(wanted.begin(), wanted.end(), rows_[row]) == wanted.end()) {
      removeRowAt(row);
    }
  }
  for (std::size_t row = 0; row < wanted.size(); ++row) {
    const auto place = rows_.begin() + static_cast<std::ptrdiff_t>(row);
    const auto found = std::find(place, rows_.end(), wanted[row]);
    const int index = static_cast<int>(row);
    if (found == rows_.end()) {
      beginInsertRows({}, index, index);
      rows_.insert(place, wanted[row]);
      endInsertRows();
    } else if (found != place) {
      // A row that moved down is met as the one in the place of its neighbour.
      const int from = static_cast<int>(found - rows_.begin());
      beginMoveRows({}, from, from, {}, index);
      std::rotate(place, found, found + 1);
      endMoveRows();
    }
  }
  if (before != rows_.size()) {
    Q_EMIT countChanged();
  }
}

MirrorItem* MirrorStore::find(MirrorId id) const {
  const auto found = items_.find(id);
  return found != items_.end() ? found->second : nullptr;
}

MirrorList* MirrorStore::list(MirrorId id) {
  auto& list = lists_[id];
  if (list == nullptr) {
    list = new MirrorList(this);
  }
  return list;
}

void MirrorStore::apply(const MirrorBatch& batch) {
  for (const auto& [id, make] : batch.added) {
    items_[id] = make(this);
  }
  for (const auto& [id, values] : batch.values) {
    MirrorItem& changed = *items_.at(id);
    for (const auto& [key, value] : values) {
      key->set(changed, value);
    }
  }
  for (const auto& [id, ids] : batch.lists) {
    std::vector<MirrorItem*> rows;
    rows.reserve(ids.size());
    for (const MirrorId row : ids) {
      rows.push_back(items_.at(row));
    }
    list(id)->setRows(rows);
  }
  for (const MirrorId id : batch.gone) {
    if (const auto found = items_.find(id); found != items_.end()) {
      found->second->release();
      items_.erase(found);
    }
  }
}

}  // namespace vrel::window
