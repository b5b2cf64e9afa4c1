// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>

namespace vrel::window {

/// One effect of a rack, as QML takes it. A value.
class RackSlot {
  Q_GADGET
  QML_VALUE_TYPE(rackSlot)
  Q_PROPERTY(QString slotId MEMBER slotId FINAL)
  Q_PROPERTY(QString name MEMBER name FINAL)
  Q_PROPERTY(bool isMissing MEMBER isMissing FINAL)

 public:
  QString slotId;
  QString name;
  bool isMissing = false;  // its plug-in is not installed, failed or crashed

  bool operator==(const RackSlot&) const = default;
};

}  // namespace vrel::window
