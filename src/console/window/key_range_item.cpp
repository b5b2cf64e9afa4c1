// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/key_range_item.h"

#include <utility>

namespace vrel::window {

KeyRangeItem::KeyRangeItem(QQuickItem* parent)
    : QQuickItem(parent), splits_([this] {
        splitsChanged();
        update();
      }) {
  setFlag(ItemHasContents);
  setAcceptedMouseButtons(Qt::LeftButton);
}

void KeyRangeItem::setStrips(MirrorList* strips) {
  if (strips != splits_.strips()) {
    splits_.setStrips(strips);
    Q_EMIT stripsChanged();
  }
}

void KeyRangeItem::setStartNote(int note) {
  if (std::exchange(startNote_, note) != note) {
    arrange();
  }
}

void KeyRangeItem::setKeyCount(int keys) {
  if (std::exchange(keyCount_, keys) != keys) {
    arrange();
  }
}

void KeyRangeItem::setViewWidth(qreal width) {
  if (std::exchange(viewWidth_, width) != width) {
    arrange();
  }
}

void KeyRangeItem::arrange() {
  layout_ = PianoLayout(startNote_, keyCount_, viewWidth_);
  layoutChanged();
  setImplicitWidth(layout_.width());
  update();
  Q_EMIT rangeChanged();
}

}  // namespace vrel::window
