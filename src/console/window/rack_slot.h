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
  Q_PROPERTY(bool hasFailed MEMBER hasFailed FINAL)
  Q_PROPERTY(bool isInstalled MEMBER isInstalled FINAL)
  Q_PROPERTY(bool isRevived MEMBER isRevived FINAL)

 public:
  QString slotId;
  QString name;
  bool isMissing = false;  // is not in the chain, as while it loads
  bool hasFailed = false;  // has died, could not be loaded, or is not installed
  bool isInstalled = false;
  bool isRevived = false;  // is being loaded again

  bool operator==(const RackSlot&) const = default;
};

}  // namespace vrel::window
