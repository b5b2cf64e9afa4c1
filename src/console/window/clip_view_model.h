// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QList>
#include <QString>

#include "console/window/clip_frame.h"
#include "console/window/clip_rows.h"
#include "console/window/view_model.h"

namespace vrel::window {

/// What QML reads of the editor of clips; see view_models.h. Where the values come from is in clip_mirror.cpp.
class ClipViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = ClipViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(bool, isOpen)
  VREL_SHOWN(QString, stripName)  // with its number
  VREL_SHOWN(QColor, color)       // of the strip
  VREL_SHOWN(QList<vrel::window::ClipRow>, rows)
  VREL_SHOWN(bool, hasPreview)  // the row that is shown has a file
  VREL_SHOWN(vrel::window::ClipFrame, frame)
  VREL_SHOWN(QString, pickedId)  // the row whose keyboard is open; empty for none
  VREL_SHOWN(int, pickedNote)
};

}  // namespace vrel::window
