// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>

namespace vrel::window {

/// A focus scope, such as a strip, that reports when the performer turns to it: with a press anywhere in it, also on a
/// control that keeps the press, and when the focus comes in. A focus that a menu gives back is not reported: by then
/// the menu may have selected something else.
class FocusArea : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT

 public:
  explicit FocusArea(QQuickItem* parent = nullptr);

 Q_SIGNALS:
  void entered();

 protected:
  bool childMouseEventFilter(QQuickItem* control, QEvent* event) override;
  void itemChange(ItemChange change, const ItemChangeData& data) override;

 private:
  [[nodiscard]] bool has(const QQuickItem* item) const;
  void focusMoved();

  QPointer<QQuickWindow> window_;
  QPointer<QQuickItem> focused_;  // last, in the whole window
};

}  // namespace vrel::window
