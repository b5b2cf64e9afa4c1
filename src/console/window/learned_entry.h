// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>

namespace vrel::window {

/// One learned control, as QML takes it. A value.
class LearnedEntry {
  Q_GADGET
  QML_VALUE_TYPE(learnedEntry)
  Q_PROPERTY(QString controlId MEMBER controlId FINAL)
  Q_PROPERTY(QString control MEMBER control FINAL)
  Q_PROPERTY(QString source MEMBER source FINAL)
  Q_PROPERTY(QString place MEMBER place FINAL)

 public:
  QString controlId;
  QString control;
  QString source;
  QString place;

  bool operator==(const LearnedEntry&) const = default;
};

}  // namespace vrel::window
