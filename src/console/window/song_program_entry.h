// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>

namespace vrel::window {

/// A song and the program change that selects it, as QML takes it. A value.
class SongProgramEntry {
  Q_GADGET
  QML_VALUE_TYPE(songProgramEntry)
  Q_PROPERTY(QString songId MEMBER songId FINAL)
  Q_PROPERTY(QString name MEMBER name FINAL)
  Q_PROPERTY(QString program MEMBER program FINAL)

 public:
  QString songId;
  QString name;
  QString program;  // empty for none

  bool operator==(const SongProgramEntry&) const = default;
};

}  // namespace vrel::window
