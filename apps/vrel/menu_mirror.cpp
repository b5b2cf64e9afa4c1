// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/menu_mirror.h"

#include <QString>
#include <string>

namespace vrel::app {
namespace {

QString shortcutOf(const MenuItem& item) {
  if (item.key.empty()) {
    return {};
  }
  QString text;
  const auto add = [&](ModifierFlags flag, const char* name) {
    if (contains(item.modifiers, flag)) {
      text += QLatin1String(name);
    }
  };
  add(ModifierFlags::control, "Meta+");
  add(ModifierFlags::command, "Ctrl+");
  add(ModifierFlags::option, "Alt+");
  add(ModifierFlags::shift, "Shift+");
  return text + QString::fromStdString(item.key).toUpper();
}

}  // namespace

QList<window::MenuEntry> menusForQml(const std::vector<MenuItem>& items) {
  QList<window::MenuEntry> entries;
  for (const MenuItem& item : items) {
    window::MenuEntry entry;
    entry.title = QString::fromStdString(item.title);
    entry.hint = QString::fromStdString(item.hint);
    entry.shortcut = shortcutOf(item);
    entry.isEnabled = item.isEnabled;
    entry.isChecked = item.isChecked;
    entry.isSeparator = item.isSeparator;
    entry.action = QString::fromStdString(item.action);
    entry.object = QString::fromStdString(item.representedObject);
    entry.items = menusForQml(item.children);
    entries.append(entry);
  }
  return entries;
}

}  // namespace vrel::app
