// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QList>
#include <QObject>
#include <QString>

#include "console/window/view_model.h"

// What QML reads of the help windows; where the values come from is in help_mirror.cpp.

namespace vrel::window {

/// A heading and what is below it, as QML takes it. A value.
class HelpEntry {
  Q_GADGET
  QML_VALUE_TYPE(helpEntry)
  Q_PROPERTY(QString title MEMBER title FINAL)
  Q_PROPERTY(QString body MEMBER body FINAL)

 public:
  QString title;
  QString body;

  bool operator==(const HelpEntry&) const = default;
};

/// A help window.
class HelpViewModel : public vrel::window::MirrorItem {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("the logic makes it")
  using Self = HelpViewModel;

 public:
  using MirrorItem::MirrorItem;

  VREL_SHOWN(bool, isOpen)
  VREL_SHOWN(int, raises)  // another number: it comes to the front
  VREL_SHOWN(QString, title)
  VREL_SHOWN(QColor, accentColor)
  VREL_SHOWN(QList<vrel::window::HelpEntry>, sections)
  VREL_SHOWN(int, contentWidth)  // in points, before anybody resizes it
  VREL_SHOWN(int, contentHeight)
};

}  // namespace vrel::window
