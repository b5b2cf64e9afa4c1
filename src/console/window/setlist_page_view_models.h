// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QList>
#include <QString>

#include "console/window/setlist_page_rows.h"
#include "console/window/view_model.h"

// What QML reads of the pages about the whole setlist; where the values come from is in setlist_pages_mirror.cpp.

namespace vrel::window {

/// The page of the setlist's check.
class CheckViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = CheckViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(bool, isOpen)
  VREL_SHOWN(bool, isRunning)
  VREL_SHOWN(bool, mayStart)
  VREL_SHOWN(double, progress)  // 0 to 1
  VREL_SHOWN(QString, status)   // in one line
  VREL_SHOWN(QList<vrel::window::CheckEntry>, rows)
};

/// The page of the kept versions.
class CopiesViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = CopiesViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(bool, isOpen)
  VREL_SHOWN(bool, isReading)
  VREL_SHOWN(bool, mayRestore)
  VREL_SHOWN(QString, status)
  VREL_SHOWN(QList<vrel::window::CopyEntry>, rows)
};

}  // namespace vrel::window
