// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/focus_area.h"

#include <QEvent>

namespace vrel::window {
namespace {

bool isInPopup(const QQuickItem* item) {
  while (item != nullptr && !item->inherits("QQuickOverlay")) {
    item = item->parentItem();
  }
  return item != nullptr;
}

}  // namespace

FocusArea::FocusArea(QQuickItem* parent) : QQuickItem(parent) {
  setFlag(ItemIsFocusScope);
  setFiltersChildMouseEvents(true);
}

bool FocusArea::childMouseEventFilter(QQuickItem* /*control*/, QEvent* event) {
  if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::TouchBegin) {
    Q_EMIT entered();
  }
  return false;
}

void FocusArea::itemChange(ItemChange change, const ItemChangeData& data) {
  if (change == ItemSceneChange) {
    if (window_ != nullptr) {
      disconnect(window_, nullptr, this, nullptr);
    }
    window_ = data.window;
    if (window_ != nullptr) {
      focused_ = window_->activeFocusItem();
      connect(window_, &QQuickWindow::activeFocusItemChanged, this, &FocusArea::focusMoved);
    }
  }
  QQuickItem::itemChange(change, data);
}

bool FocusArea::has(const QQuickItem* item) const {
  return item != nullptr && (item == this || isAncestorOf(item));
}

void FocusArea::focusMoved() {
  auto* const now = window_->activeFocusItem();
  const bool wasHere = has(focused_);
  const bool comesFromPopup = isInPopup(focused_);
  focused_ = now;
  if (has(now) && !wasHere && !comesFromPopup) {
    Q_EMIT entered();
  }
}

}  // namespace vrel::window
