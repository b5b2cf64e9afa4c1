// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QQuickPaintedItem>

namespace vrel::window {

/// The round part of a knob: its face, the arc of its value and the pointer. Painted again when one of them changes.
class KnobFace : public QQuickPaintedItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(double value READ value WRITE setValue NOTIFY changed FINAL)
  Q_PROPERTY(bool isCentered READ isCentered WRITE setIsCentered NOTIFY changed FINAL)
  Q_PROPERTY(bool isLit READ isLit WRITE setIsLit NOTIFY changed FINAL)
  Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY changed FINAL)

 public:
  explicit KnobFace(QQuickItem* parent = nullptr);

  /// 0 to 1.
  [[nodiscard]] double value() const { return value_; }
  void setValue(double value) { assign(value_, value); }
  /// Whether the arc starts at the top, as for gain, or where the travel starts.
  [[nodiscard]] bool isCentered() const { return isCentered_; }
  void setIsCentered(bool isCentered) { assign(isCentered_, isCentered); }
  /// Whether the ring is wider, as while the pointer is over it.
  [[nodiscard]] bool isLit() const { return isLit_; }
  void setIsLit(bool isLit) { assign(isLit_, isLit); }
  [[nodiscard]] const QColor& color() const { return color_; }
  void setColor(const QColor& color) { assign(color_, color); }

  void paint(QPainter* painter) override;

 Q_SIGNALS:
  void changed();

 private:
  template <typename T>
  void assign(T& field, const T& value) {
    if (field != value) {
      field = value;
      Q_EMIT changed();
      update();
    }
  }

  double value_ = 0;
  bool isCentered_ = false;
  bool isLit_ = false;
  QColor color_;
};

}  // namespace vrel::window
