// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtQml/qqmlregistration.h>
#include <QList>
#include <QObject>
#include <QString>

namespace vrel::window {

/// A menu, or a line of one, as QML takes it. A value.
class MenuEntry {
  Q_GADGET
  QML_VALUE_TYPE(menuEntry)
  Q_PROPERTY(QString title MEMBER title FINAL)
  Q_PROPERTY(QString hint MEMBER hint FINAL)
  Q_PROPERTY(QString shortcut MEMBER shortcut FINAL)
  Q_PROPERTY(bool isEnabled MEMBER isEnabled FINAL)
  Q_PROPERTY(bool isChecked MEMBER isChecked FINAL)
  Q_PROPERTY(bool isSeparator MEMBER isSeparator FINAL)
  Q_PROPERTY(QString action MEMBER action FINAL)
  Q_PROPERTY(QString object MEMBER object FINAL)
  Q_PROPERTY(QList<vrel::window::MenuEntry> items MEMBER items FINAL)

 public:
  QString title;
  QString hint;      // what it does, or why it does nothing now; empty where there is no command
  QString shortcut;  // in Qt's portable text; empty without one
  bool isEnabled = true;
  bool isChecked = false;
  bool isSeparator = false;
  QString action;  // with `object`, for ConsoleCommands::activateMenuItem
  QString object;
  QList<MenuEntry> items;  // of a menu

  friend bool operator==(const MenuEntry& a, const MenuEntry& b);
};

inline bool operator==(const MenuEntry& a, const MenuEntry& b) {
  return a.title == b.title && a.hint == b.hint && a.shortcut == b.shortcut && a.isEnabled == b.isEnabled &&
         a.isChecked == b.isChecked && a.isSeparator == b.isSeparator && a.action == b.action && a.object == b.object &&
         a.items == b.items;
}

}  // namespace vrel::window
