// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/piano_keys.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QSGRectangleNode>
#include <algorithm>
#include <utility>

#include "console/window/piano_node.h"
#include "console/window/scene_scale.h"

namespace vrel::window {
namespace {

// Of a held key that no strip takes.
constexpr QRgb whiteHeldColor = qRgb(200, 200, 200);
constexpr QRgb blackHeldColor = qRgb(160, 160, 160);

}  // namespace

PianoKeys::PianoKeys(QQuickItem* parent)
    : KeyRangeItem(parent),
      drag_([this](int note) { Q_EMIT notePressed(note); }, [this](int note) { Q_EMIT noteReleased(note); }) {
  setActiveFocusOnTab(true);
  setImplicitHeight(PianoLayout::keysHeight);
}

void PianoKeys::setBoard(PerformanceBoard* board) {
  if (board == board_) {
    return;
  }
  disconnect(notes_);
  board_ = board;
  if (board != nullptr) {
    notes_ = connect(board, &PerformanceBoard::notesChanged, this, [this] { update(); });
  }
  update();
  Q_EMIT boardChanged();
}

void PianoKeys::layoutChanged() {
  isLayoutNew_ = true;
  if (cursor_ && !layout().has(*cursor_)) {
    releaseCursor();
    cursor_.reset();
  }
}

std::optional<QColor> PianoKeys::heldColor(int note) const {
  const bool isHeld = board_ != nullptr && note >= 0 && static_cast<std::size_t>(note) < board_->notes().size() &&
                      board_->notes()[static_cast<std::size_t>(note)];
  if (!isHeld) {
    return std::nullopt;
  }
  const auto row = claimant(splits().bars(), note);
  return row ? splits().color(*row) : QColor(isBlackKey(note) ? blackHeldColor : whiteHeldColor);
}

QSGNode* PianoKeys::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) {
  auto* node = static_cast<PianoNode*>(old);
  const qreal scale = pixelsPerPoint(*this);
  if (node == nullptr || isLayoutNew_ || node->scale() != scale) {
    delete node;
    node = new PianoNode(*window(), layout(), scale);
    isLayoutNew_ = false;
  }
  redrawnKeys_ = node->show([this](int note) { return heldColor(note); });
  node->showCursor(hasActiveFocus() ? cursor_ : std::nullopt);
  return node;
}

void PianoKeys::itemChange(ItemChange change, const ItemChangeData& data) {
  QQuickItem::itemChange(change, data);
  if ((change == ItemVisibleHasChanged || change == ItemEnabledHasChanged) && !(isVisible() && isEnabled())) {
    endAll();
  }
}

void PianoKeys::endAll() {
  drag_.end();
  releaseCursor();
}

void PianoKeys::mousePressEvent(QMouseEvent* event) {
  setKeepMouseGrab(true);
  forceActiveFocus(Qt::MouseFocusReason);
  drag_.move(layout(), event->position().x(), event->position().y());
}

void PianoKeys::mouseMoveEvent(QMouseEvent* event) {
  drag_.move(layout(), event->position().x(), event->position().y());
}

void PianoKeys::mouseReleaseEvent(QMouseEvent* /*event*/) {
  drag_.end();
}

void PianoKeys::mouseUngrabEvent() {
  drag_.end();
}

void PianoKeys::moveCursor(int by) {
  const int last = startNote() + keyCount() - 1;
  cursor_ = std::clamp(cursor_.value_or(startNote()) + by, startNote(), std::max(startNote(), last));
  update();
}

void PianoKeys::releaseCursor() {
  if (const auto held = std::exchange(cursorHeld_, std::nullopt)) {
    Q_EMIT noteReleased(*held);
  }
}

void PianoKeys::keyPressEvent(QKeyEvent* event) {
  const int key = event->key();
  if (key == Qt::Key_Left || key == Qt::Key_Right) {
    moveCursor(key == Qt::Key_Left ? -1 : 1);
  } else if ((key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space) && cursor_) {
    if (!event->isAutoRepeat() && !cursorHeld_) {
      cursorHeld_ = cursor_;
      Q_EMIT notePressed(*cursor_);
    }
  } else {
    event->ignore();
  }
}

void PianoKeys::keyReleaseEvent(QKeyEvent* event) {
  if (!event->isAutoRepeat() && cursorHeld_) {
    releaseCursor();
  } else {
    event->ignore();
  }
}

void PianoKeys::focusInEvent(QFocusEvent* event) {
  if (!cursor_ && event->reason() != Qt::MouseFocusReason) {
    moveCursor(0);
  }
  update();
}

void PianoKeys::focusOutEvent(QFocusEvent* /*event*/) {
  releaseCursor();
  update();
}

}  // namespace vrel::window
