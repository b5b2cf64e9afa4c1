// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/menu_mirror.h"

#include <QString>
#include <QVariantMap>
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

QVariantList itemsForQml(const std::vector<MenuItem>& items) {
  QVariantList list;
  for (const MenuItem& item : items) {
    QVariantMap map;
    map[QStringLiteral("title")] = QString::fromStdString(item.title);
    map[QStringLiteral("shortcut")] = shortcutOf(item);
    map[QStringLiteral("enabled")] = item.isEnabled;
    map[QStringLiteral("checkable")] = item.isChecked;
    map[QStringLiteral("checked")] = item.isChecked;
    map[QStringLiteral("separator")] = item.isSeparator;
    map[QStringLiteral("path")] =
        QVariantList{QString::fromStdString(item.action), QString::fromStdString(item.representedObject)};
    map[QStringLiteral("items")] = itemsForQml(item.children);
    list.append(map);
  }
  return list;
}

}  // namespace

QVariantList menusForQml(const MenuBar& menus) {
  return itemsForQml(menus);
}

}  // namespace vrel::app
