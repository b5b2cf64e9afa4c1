// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/strip_splits.h"

#include <utility>

#include "console/window/view_models.h"

namespace vrel::window {
namespace {

StripViewModel* stripAt(const MirrorList& strips, int row) {
  return qobject_cast<StripViewModel*>(strips.data(strips.index(row), MirrorList::entryRole).value<MirrorItem*>());
}

void disconnectAll(std::vector<QMetaObject::Connection>& connections) {
  for (const auto& connection : std::exchange(connections, {})) {
    QObject::disconnect(connection);
  }
}

}  // namespace

void StripSplits::setStrips(MirrorList* strips) {
  release();
  strips_ = strips;
  if (strips != nullptr) {
    const auto watchAgain = [this] { watch(); };
    listConnections_ = {QObject::connect(strips, &MirrorList::rowsInserted, watchAgain),
                        QObject::connect(strips, &MirrorList::rowsRemoved, watchAgain),
                        QObject::connect(strips, &MirrorList::rowsMoved, watchAgain)};
  }
  watch();
}

void StripSplits::release() {
  disconnectAll(listConnections_);
  disconnectAll(stripConnections_);
}

void StripSplits::watch() {
  disconnectAll(stripConnections_);
  const int count = strips_ != nullptr ? strips_->count() : 0;
  for (int row = 0; row < count; ++row) {
    if (auto* const strip = stripAt(*strips_, row)) {
      for (const auto signal : {&StripViewModel::minNoteChanged, &StripViewModel::maxNoteChanged,
                                &StripViewModel::colorChanged, &StripViewModel::isSelectedChanged}) {
        stripConnections_.push_back(QObject::connect(strip, signal, [this] { read(); }));
      }
    }
  }
  read();
}

void StripSplits::read() {
  bars_.clear();
  colors_.clear();
  ids_.clear();
  selected_.reset();
  const int count = strips_ != nullptr ? strips_->count() : 0;
  for (int row = 0; row < count; ++row) {
    const auto* const strip = stripAt(*strips_, row);
    if (strip == nullptr) {
      continue;
    }
    if (strip->isSelected()) {
      selected_ = bars_.size();
    }
    bars_.push_back({strip->minNote(), strip->maxNote()});
    colors_.push_back(strip->color());
    ids_.push_back(strip->channelId());
  }
  changed_();
}

}  // namespace vrel::window
