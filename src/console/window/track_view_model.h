// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QList>
#include <QString>

#include "console/window/view_model.h"

namespace vrel::window {

/// What QML reads of the editor of tracks; see view_models.h. Times are seconds. Where the values come from is in
/// track_mirror.cpp.
class TrackViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = TrackViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(bool, isOpen)
  VREL_SHOWN(QString, stripName)  // with its number
  VREL_SHOWN(QColor, color)       // of the strip
  VREL_SHOWN(QString, fileName)   // empty for none
  VREL_SHOWN(QString, errorText)  // empty for none
  VREL_SHOWN(QString, tempoText)
  VREL_SHOWN(double, duration)
  VREL_SHOWN(QString, durationText)
  VREL_SHOWN(double, startTime)
  VREL_SHOWN(QString, startText)
  VREL_SHOWN(double, endTime)
  VREL_SHOWN(QString, endText)
  VREL_SHOWN(bool, isReading)  // there are more columns to come
  VREL_SHOWN(bool, isPreviewing)
  VREL_SHOWN(double, playheadTime)
  VREL_SHOWN(bool, isLooping)
  VREL_SHOWN(bool, playsToExit)
  VREL_SHOWN(double, viewFrom)
  VREL_SHOWN(double, viewLength)
  VREL_SHOWN(QList<double>, columns)  // of the view: the lowest and the highest sample of each, -1 to 1
  VREL_SHOWN(QList<double>, beats)    // times
};

}  // namespace vrel::window
