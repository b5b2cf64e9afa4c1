// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAccessible>
#include <QString>
#include <functional>
#include <string>
#include <vector>

class QObject;

namespace vrel::app::test {

/// The windows of the program as assistive technology has them: roles, names, states, values, actions and texts, and
/// nothing else. While one exists Qt keeps them up to date.
class SpokenWindow {
 public:
  SpokenWindow() { QAccessible::setActive(true); }
  ~SpokenWindow() { QAccessible::setActive(false); }
  SpokenWindow(const SpokenWindow&) = delete;
  SpokenWindow& operator=(const SpokenWindow&) = delete;

  /// The first that can be seen under this name, of any role or of this one; null when there is none.
  [[nodiscard]] static QAccessibleInterface* find(const std::string& name,
                                                  QAccessible::Role role = QAccessible::NoRole);
  /// Whether what assistive technology reads has this object.
  [[nodiscard]] static bool has(const QObject* object);
  /// All that can be seen, a line for each.
  [[nodiscard]] static std::string words();

  /// Calls this with all that can be seen.
  static void visitAll(const std::function<void(QAccessibleInterface& item)>& action);

  /// What a person could not use: focusable, with an action or a progress, and without a name, a role, a value or a
  /// state.
  [[nodiscard]] static std::vector<std::string> faults();
};

}  // namespace vrel::app::test
