// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/plugin_rows.h"

#include <gtest/gtest.h>

#include <QList>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QString>
#include <QVariant>
#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "console/window/console_model.h"

namespace vrel::window {
namespace {

using Words = std::vector<std::string>;

PluginRow rowOf(const char* section, const char* name) {
  return {QString::fromUtf8(section), QString::fromUtf8(name), QString::fromUtf8(name), {}, false};
}

/// A list that shows names under headings.
class RowsInAList : public testing::Test {
 protected:
  RowsInAList() {
    registerQmlTypes();
    engine_.addImportPath(QStringLiteral("qrc:/qt/qml"));
    QQmlComponent component(&engine_);
    component.setData(R"(
      import QtQuick
      import Vrel.Console
      ListView {
        id: list
        property alias rows: model.rows
        property int made
        width: 100
        height: 400
        model: PluginRows { id: model }
        delegate: Column {
          id: item
          required property string heading
          required property string name
          Item {
            objectName: "heading"
            property string words: item.heading
            visible: words !== ""
            width: 10
            height: 10
          }
          Item {
            objectName: "row"
            property string words: item.name
            width: 10
            height: 20
          }
          Component.onCompleted: list.made += 1
        }
      })",
                      {});
    list_.reset(qobject_cast<QQuickItem*>(component.create()));
    EXPECT_NE(list_, nullptr) << component.errorString().toStdString();
  }

  void show(const QList<PluginRow>& rows) {
    list_->setProperty("rows", QVariant::fromValue(rows));
    QMetaObject::invokeMethod(list_.get(), "forceLayout");
  }

  /// From the top.
  [[nodiscard]] Words shown(const char* kind) const {
    std::vector<std::pair<double, std::string>> found;
    const auto items = list_->property("contentItem").value<QQuickItem*>()->childItems();
    for (const QQuickItem* const item : items) {
      collect(*item, kind, found);
    }
    std::sort(found.begin(), found.end());
    Words words;
    for (const auto& each : found) {
      words.push_back(each.second);
    }
    return words;
  }

  [[nodiscard]] int made() const { return list_->property("made").toInt(); }

 private:
  void collect(const QQuickItem& item, const char* kind, std::vector<std::pair<double, std::string>>& found) const {
    for (const QQuickItem* const part : item.childItems()) {
      if (item.isVisible() && part->isVisible() && part->objectName() == QLatin1String(kind)) {
        found.emplace_back(part->mapToItem(list_.get(), {}).y(), part->property("words").toString().toStdString());
      }
    }
  }

  QQmlEngine engine_;
  std::unique_ptr<QQuickItem> list_;
};

TEST_F(RowsInAList, ChangeTheirWordsAndHeadingsWithoutNewItems) {
  show({rowOf("A", "one"), rowOf("A", "two"), rowOf("B", "three")});
  EXPECT_EQ(shown("row"), (Words{"one", "two", "three"}));
  EXPECT_EQ(shown("heading"), (Words{"A", "B"}));
  EXPECT_EQ(made(), 3);
  show({rowOf("B", "three")});
  EXPECT_EQ(shown("row"), (Words{"three"}));
  EXPECT_EQ(shown("heading"), (Words{"B"}));
  EXPECT_EQ(made(), 3);
  show({rowOf("C", "four")});
  EXPECT_EQ(shown("row"), (Words{"four"}));
  EXPECT_EQ(shown("heading"), (Words{"C"}));
  EXPECT_EQ(made(), 3);
}

TEST_F(RowsInAList, BecomeMoreAndNone) {
  show({});
  EXPECT_EQ(shown("row"), Words());
  show({rowOf("A", "one")});
  show({rowOf("A", "zero"), rowOf("A", "one"), rowOf("B", "two")});
  EXPECT_EQ(shown("row"), (Words{"zero", "one", "two"}));
  EXPECT_EQ(shown("heading"), (Words{"A", "B"}));
  show({});
  EXPECT_EQ(shown("row"), Words());
  EXPECT_EQ(shown("heading"), Words());
}

}  // namespace
}  // namespace vrel::window
