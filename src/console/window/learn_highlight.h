// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QList>
#include <QObject>

#include "console/midi_learnable.h"

namespace vrel::window {

/// What QML draws over a control that can be learned. The window's thread.
class LearnHighlight : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(bool isEnabled MEMBER isEnabled_ NOTIFY changed)
  Q_PROPERTY(bool isPending MEMBER isPending_ NOTIFY changed)
  Q_PROPERTY(bool isShown READ isShown NOTIFY changed)
  Q_PROPERTY(QColor stroke READ stroke NOTIFY changed)
  Q_PROPERTY(qreal strokeWidth READ strokeWidth NOTIFY changed)
  Q_PROPERTY(QList<qreal> dashes READ dashes NOTIFY changed)
  Q_PROPERTY(QColor shadow READ shadow NOTIFY changed)
  Q_PROPERTY(qreal shadowRadius READ shadowRadius NOTIFY changed)
  Q_PROPERTY(qreal cornerRadius READ cornerRadius CONSTANT)

 public:
  using QObject::QObject;

  [[nodiscard]] bool isShown() const { return MidiLearnableModifier{isEnabled_, isPending_}.overlay().has_value(); }
  [[nodiscard]] QColor stroke() const { return opaque(overlay().color); }
  [[nodiscard]] qreal strokeWidth() const { return overlay().strokeWidth; }
  /// On and off by turns, in widths of the stroke; empty for one that is drawn through.
  [[nodiscard]] QList<qreal> dashes() const {
    const auto look = overlay();
    return look.dashOn > 0 ? QList<qreal>{look.dashOn / look.strokeWidth, look.dashOff / look.strokeWidth}
                           : QList<qreal>();
  }
  [[nodiscard]] QColor shadow() const {
    QColor color = stroke();
    color.setAlphaF(static_cast<float>(overlay().shadowOpacity));
    return color;
  }
  [[nodiscard]] qreal shadowRadius() const { return overlay().shadowRadius; }
  [[nodiscard]] static qreal cornerRadius() { return MidiLearnableOverlay::cornerRadius; }

 Q_SIGNALS:
  void changed();

 private:
  /// All nothing while nothing is shown.
  [[nodiscard]] MidiLearnableOverlay overlay() const {
    return MidiLearnableModifier{isEnabled_, isPending_}.overlay().value_or(MidiLearnableOverlay());
  }
  static QColor opaque(const Color& color) {
    return QColor::fromRgbF(static_cast<float>(color[0]), static_cast<float>(color[1]), static_cast<float>(color[2]));
  }

  bool isEnabled_ = false;
  bool isPending_ = false;
};

}  // namespace vrel::window
