// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QQuickWindow>
#include <set>
#include <string>
#include <vector>

#include "console_fixture.h"

namespace vrel::app::test {
namespace {

/// What a screen reader finds in the window.
class Accessibility : public ConsoleFixture {
 protected:
  Accessibility() { QAccessible::setActive(true); }
  ~Accessibility() override { QAccessible::setActive(false); }

  struct Found {
    std::set<std::string> names;
    std::vector<std::string> nameless;
  };

  [[nodiscard]] Found walk() {
    Found found;
    auto* const top = QAccessible::queryAccessibleInterface(driver.program().window.quickWindow());
    if (top != nullptr) {
      visit(*top, found);
    }
    return found;
  }

 private:
  static bool isInteractive(QAccessibleInterface& item) {
    if (item.state().focusable) {
      return true;
    }
    auto* const actions = item.actionInterface();
    return actions != nullptr && !actions->actionNames().isEmpty();
  }

  static void visit(QAccessibleInterface& item, Found& found) {
    for (int child = 0; child < item.childCount(); ++child) {
      auto* const next = item.child(child);
      if (next == nullptr || next->state().invisible) {
        continue;
      }
      if (isInteractive(*next)) {
        const auto name = next->text(QAccessible::Name).trimmed().toStdString();
        found.names.insert(name);
        if (name.empty()) {
          const auto* const object = next->object();
          found.nameless.push_back(object == nullptr ? "?"
                                                     : std::string(object->metaObject()->className()) + " " +
                                                           object->objectName().toStdString());
        }
      }
      visit(*next, found);
    }
  }
};

TEST_F(Accessibility, EverythingThatCanBeUsedHasAName) {
  const Found found = walk();
  EXPECT_EQ(found.nameless, std::vector<std::string>());
  EXPECT_GT(found.names.size(), 15U) << testing::PrintToString(found.names);
  EXPECT_TRUE(found.names.contains("PANIC")) << testing::PrintToString(found.names);
}

TEST_F(Accessibility, TheAnswersOfAQuestionHaveNames) {
  driver.program().window.quickWindow()->close();
  // It comes up softly, and what can not be seen has no place there.
  EXPECT_TRUE(driver.eventually([this] { return walk().names.contains("Guardar"); }));
  const Found found = walk();
  EXPECT_EQ(found.nameless, std::vector<std::string>());
  for (const auto* answer : {"Guardar", "No guardar", "Cancelar"}) {
    EXPECT_TRUE(found.names.contains(answer)) << answer << " in " << testing::PrintToString(found.names);
  }
}

}  // namespace
}  // namespace vrel::app::test
