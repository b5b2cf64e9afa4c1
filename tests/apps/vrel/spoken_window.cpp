// SPDX-License-Identifier: GPL-3.0-or-later
#include "apps/vrel/spoken_window.h"

#include <QAccessibleActionInterface>
#include <QAccessibleValueInterface>
#include <QCoreApplication>
#include <QMetaEnum>
#include <QMetaObject>
#include <QObject>
#include <QVariant>

namespace vrel::app::test {
namespace {

void visit(QAccessibleInterface& item, const std::function<void(QAccessibleInterface&)>& action) {
  for (int child = 0; child < item.childCount(); ++child) {
    auto* const next = item.child(child);
    if (next != nullptr && next->isValid() && !next->state().invisible) {
      action(*next);
      visit(*next, action);
    }
  }
}

QAccessibleInterface* findIf(QAccessible::Role role, const std::function<bool(const QString& name)>& isIt) {
  QAccessibleInterface* found = nullptr;
  SpokenWindow::visitAll([&](QAccessibleInterface& item) {
    if (found == nullptr && (role == QAccessible::NoRole || item.role() == role) &&
        isIt(item.text(QAccessible::Name))) {
      found = &item;
    }
  });
  return found;
}

bool isUsable(QAccessibleInterface& item) {
  auto* const actions = item.actionInterface();
  return item.state().focusable || (actions != nullptr && !actions->actionNames().isEmpty());
}

bool isValueRole(QAccessible::Role role) {
  return role == QAccessible::Slider || role == QAccessible::Dial || role == QAccessible::SpinBox;
}

/// It is read, not used; its value is in its description.
bool isProgress(QAccessibleInterface& item) {
  return item.role() == QAccessible::ProgressBar;
}

std::string faultOf(QAccessibleInterface& item) {
  const auto role = item.role();
  if (item.text(QAccessible::Name).trimmed().isEmpty()) {
    return "no name";
  }
  if (role == QAccessible::NoRole || role == QAccessible::Client || role == QAccessible::Grouping) {
    return "no role";
  }
  auto* const value = item.valueInterface();
  if (isValueRole(role) && (value == nullptr || !value->currentValue().isValid() || !value->minimumValue().isValid() ||
                            !value->maximumValue().isValid())) {
    return "no value";
  }
  if (isProgress(item) && item.text(QAccessible::Description).isEmpty()) {
    return "no value";
  }
  if (role == QAccessible::CheckBox && !item.state().checkable) {
    return "no state";
  }
  return {};
}

}  // namespace

void SpokenWindow::visitAll(const std::function<void(QAccessibleInterface& item)>& action) {
  if (auto* const all = QAccessible::queryAccessibleInterface(qApp)) {
    visit(*all, action);
  }
}

QAccessibleInterface* SpokenWindow::find(const std::string& name, QAccessible::Role role) {
  return findIf(role, [&](const QString& spoken) { return spoken.toStdString() == name; });
}

bool SpokenWindow::has(const QObject* object) {
  bool isThere = false;
  visitAll([&](QAccessibleInterface& item) { isThere = isThere || item.object() == object; });
  return isThere;
}

std::string SpokenWindow::words() {
  std::string all;
  visitAll([&](QAccessibleInterface& item) {
    all += std::to_string(item.role()) + (item.state().disabled ? " (disabled) " : " ") +
           item.text(QAccessible::Name).toStdString() + "\n";
  });
  return all;
}

std::vector<std::string> SpokenWindow::faults() {
  std::vector<std::string> found;
  visitAll([&](QAccessibleInterface& item) {
    const auto fault = isUsable(item) || isProgress(item) ? faultOf(item) : std::string();
    if (!fault.empty()) {
      const auto* const object = item.object();
      found.push_back(
          fault + ": role " + std::to_string(item.role()) + " '" + item.text(QAccessible::Name).toStdString() + "' " +
          (object == nullptr
               ? std::string("?")
               : std::string(object->metaObject()->className()) + " " + object->objectName().toStdString()));
    }
  });
  return found;
}

}  // namespace vrel::app::test
