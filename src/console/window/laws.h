// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>

#include "console/control_laws.h"
#include "console/parameter_laws.h"
#include "console/window_layout.h"

namespace vrel::window {

/// The sizes of the window and the laws of its controls, for QML.
class Laws : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_SINGLETON

 public:
  using QObject::QObject;

  // See window_layout.h.
  Q_INVOKABLE static double windowScale(double width, double height, int zoomPercent) {
    return vrel::windowScale(width, height, zoomPercent);
  }
  Q_INVOKABLE static double setlistWidth(double windowWidth) { return vrel::setlistWidth(windowWidth); }
  Q_INVOKABLE static double splitBandHeight(int strips) { return vrel::splitBandHeight(strips); }

  // See control_laws.h and parameter_laws.h.
  Q_INVOKABLE static double faderPosition(double pointerFromTop, double height, double present) {
    return vrel::faderPosition(pointerFromTop, height, present);
  }
  Q_INVOKABLE static double draggedKnob(double start, double right, double down) {
    return vrel::draggedKnob(start, right, down);
  }
  Q_INVOKABLE static double draggedControl(double start, double right, double trackWidth, bool isFine) {
    return vrel::draggedControl(start, right, trackWidth, isFine);
  }
  Q_INVOKABLE static int barValue(double pointerFromLeft, double width, int lower, int upper) {
    return vrel::barValue(pointerFromLeft, width, lower, upper);
  }
  Q_INVOKABLE static int octaveOf(int startNote) { return vrel::octaveOf(startNote); }
  Q_INVOKABLE static bool canNudgeStartNote(int startNote, int by) {
    return vrel::nudgedStartNote(startNote, by) != startNote;
  }
  Q_INVOKABLE static double barMarker(int value, int lower, int upper) { return vrel::barMarker(value, lower, upper); }
};

}  // namespace vrel::window
