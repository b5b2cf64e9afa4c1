// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>

namespace vrel::window {

/// A row of the check's page, as QML takes it. A value.
class CheckEntry {
  Q_GADGET
  QML_VALUE_TYPE(checkEntry)
  Q_PROPERTY(bool isSong MEMBER isSong FINAL)
  Q_PROPERTY(bool isError MEMBER isError FINAL)
  Q_PROPERTY(QString severity MEMBER severity FINAL)
  Q_PROPERTY(QString title MEMBER title FINAL)
  Q_PROPERTY(QString detail MEMBER detail FINAL)

 public:
  bool isSong = false;
  bool isError = false;
  QString severity;  // of a finding, in a word
  QString title;
  QString detail;

  bool operator==(const CheckEntry&) const = default;
};

/// A kept version of a setlist. A value.
class CopyEntry {
  Q_GADGET
  QML_VALUE_TYPE(copyEntry)
  Q_PROPERTY(QString path MEMBER path FINAL)
  Q_PROPERTY(QString date MEMBER date FINAL)
  Q_PROPERTY(QString detail MEMBER detail FINAL)
  Q_PROPERTY(bool isGood MEMBER isGood FINAL)

 public:
  QString path;
  QString date;
  QString detail;
  bool isGood = false;

  bool operator==(const CopyEntry&) const = default;
};

}  // namespace vrel::window
