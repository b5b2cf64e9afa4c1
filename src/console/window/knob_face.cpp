// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/knob_face.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPen>
#include <QPointF>
#include <QRectF>
#include <algorithm>
#include <cmath>

#include "console/control_laws.h"

namespace vrel::window {
namespace {

constexpr double arcWidth = 2.5;
constexpr double ringWidth = 0.9;
constexpr double litRingWidth = 1.3;
constexpr float shadowOpacity = 0.55F;
constexpr float pointerOpacity = 0.92F;
constexpr KnobArc wholeTravel{0.125, 0.875};

QColor grey(int level) {
  return {level, level, level};
}

const QColor belowUnity(100, 178, 205);

/// Qt counts sixteenths of a degree, anticlockwise from the right.
void drawArc(QPainter& painter, const QRectF& circle, const KnobArc& arc, const QColor& color) {
  constexpr double steps = 16 * 360.0;
  constexpr double bottom = -0.25;
  painter.setPen(QPen(color, arcWidth, Qt::SolidLine, Qt::FlatCap));
  painter.drawArc(circle, static_cast<int>(std::lround((bottom - arc.from) * steps)),
                  static_cast<int>(std::lround((arc.from - arc.to) * steps)));
}

}  // namespace

KnobFace::KnobFace(QQuickItem* parent) : QQuickPaintedItem(parent) {
  setAntialiasing(true);
}

void KnobFace::paint(QPainter* painter) {
  painter->setRenderHint(QPainter::Antialiasing);
  const double size = std::min(width(), height());
  const QRectF arcs = QRectF((width() - size) / 2, (height() - size) / 2, size, size)
                          .adjusted(arcWidth / 2, arcWidth / 2, -arcWidth / 2, -arcWidth / 2);
  drawArc(*painter, arcs, wholeTravel, grey(44));
  const bool isBelow = isCentered_ && value_ < gainKnobDefault;
  drawArc(*painter, arcs, isCentered_ ? gainKnobArc(value_) : reverbKnobArc(value_), isBelow ? belowUnity : color_);

  const QRectF face = arcs.adjusted(arcWidth, arcWidth, -arcWidth, -arcWidth);
  painter->setPen(Qt::NoPen);
  painter->setBrush(QColor::fromRgbF(0, 0, 0, shadowOpacity));
  painter->drawEllipse(face.translated(0, 1));
  QLinearGradient light(face.topLeft(), face.bottomRight());
  light.setColorAt(0, grey(52));
  light.setColorAt(1, grey(18));
  painter->setBrush(light);
  painter->setPen(QPen(grey(92), isLit_ ? litRingWidth : ringWidth));
  painter->drawEllipse(face);

  painter->translate(face.center());
  painter->rotate(knobPointerDegrees(value_));
  painter->setPen(QPen(QColor::fromRgbF(1, 1, 1, pointerOpacity), 2, Qt::SolidLine, Qt::RoundCap));
  painter->drawLine(QPointF(0, -face.height() / 2 + 2), QPointF(0, -face.height() / 5));
}

}  // namespace vrel::window
