// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/mirror_store.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QStringList>
#include <memory>
#include <vector>

#include "console/window/console_model.h"

namespace vrel::window {
namespace {

constexpr MirrorId listId = 7;

class Store : public testing::Test {
 protected:
  void show(std::vector<MirrorId> rows) {
    MirrorBatch batch;
    batch.lists[listId] = std::move(rows);
    store.apply(batch);
  }

  [[nodiscard]] std::vector<MirrorId> rows() {
    std::vector<MirrorId> ids;
    for (int row = 0; row < list().rowCount(); ++row) {
      const auto* const entry = list().data(list().index(row), MirrorList::entryRole).value<MirrorItem*>();
      for (MirrorId id = 101; id <= 105; ++id) {
        if (store.object(id) == entry) {
          ids.push_back(id);
        }
      }
    }
    return ids;
  }

  [[nodiscard]] MirrorList& list() { return *store.list(listId); }

  /// Writes down what views are told of the rows from now on.
  void watch() {
    QObject::connect(&list(), &MirrorList::rowsInserted, &list(), [this](const QModelIndex&, int first, int last) {
      told.append(QStringLiteral("insert %1-%2").arg(first).arg(last));
    });
    QObject::connect(&list(), &MirrorList::rowsRemoved, &list(), [this](const QModelIndex&, int first, int last) {
      told.append(QStringLiteral("remove %1-%2").arg(first).arg(last));
    });
    QObject::connect(&list(), &MirrorList::rowsMoved, &list(),
                     [this](const QModelIndex&, int first, int last, const QModelIndex&, int to) {
                       told.append(QStringLiteral("move %1-%2 to %3").arg(first).arg(last).arg(to));
                     });
    QObject::connect(&list(), &MirrorList::modelReset, &list(), [this] { told.append(QStringLiteral("reset")); });
  }

  MirrorStore store;
  QStringList told;
};

using Ids = std::vector<MirrorId>;

TEST_F(Store, AValueOfABatchCanBeReadByItsName) {
  MirrorBatch batch;
  batch.values[101][QStringLiteral("name")] = QStringLiteral("Lead");
  store.apply(batch);
  EXPECT_EQ(store.object(101)->value(QStringLiteral("name")), QVariant(QStringLiteral("Lead")));
}

TEST_F(Store, ANewRowIsInsertedWhereItBelongs) {
  show({101, 103});
  watch();
  show({101, 102, 103});
  EXPECT_EQ(rows(), (Ids{101, 102, 103}));
  EXPECT_EQ(told, QStringList{QStringLiteral("insert 1-1")});
}

TEST_F(Store, ARowIsMovedAndStaysTheSameRow) {
  show({101, 102, 103, 104});
  const auto* const third = store.object(103);
  watch();
  show({103, 101, 102, 104});
  EXPECT_EQ(rows(), (Ids{103, 101, 102, 104}));
  EXPECT_EQ(store.object(103), third);
  EXPECT_EQ(told, QStringList{QStringLiteral("move 2-2 to 0")});
}

TEST_F(Store, ARowThatMovesDownEndsWhereItShould) {
  show({101, 102, 103, 104});
  watch();
  show({102, 103, 104, 101});
  EXPECT_EQ(rows(), (Ids{102, 103, 104, 101}));
  EXPECT_FALSE(told.contains(QStringLiteral("reset")));
  EXPECT_EQ(list().count(), 4);
}

TEST_F(Store, RowsAreRemovedOneByOneFromTheEnd) {
  show({101, 102, 103, 104});
  watch();
  show({102});
  EXPECT_EQ(rows(), Ids{102});
  EXPECT_EQ(told,
            (QStringList{QStringLiteral("remove 3-3"), QStringLiteral("remove 2-2"), QStringLiteral("remove 0-0")}));
}

TEST_F(Store, AnotherSetOfRowsNeverResetsTheList) {
  show({101, 102});
  watch();
  show({105, 102, 104});
  EXPECT_EQ(rows(), (Ids{105, 102, 104}));
  EXPECT_FALSE(told.contains(QStringLiteral("reset")));
  show({});
  EXPECT_EQ(list().count(), 0);
  EXPECT_FALSE(told.contains(QStringLiteral("reset")));
}

TEST_F(Store, ThereIsNothingBesideTheRows) {
  show({101});
  EXPECT_FALSE(list().data(list().index(0), Qt::DisplayRole).isValid());
  EXPECT_FALSE(list().data(QModelIndex(), MirrorList::entryRole).isValid());
  EXPECT_EQ(list().rowCount(list().index(0)), 0);
}

TEST_F(Store, TheCountIsToldOnlyWhenItChanges) {
  show({101, 102});
  int counts = 0;
  QObject::connect(&list(), &MirrorList::countChanged, &list(), [&] { ++counts; });
  show({102, 101});
  EXPECT_EQ(counts, 0);
  show({102});
  EXPECT_EQ(counts, 1);
}

TEST_F(Store, AWriteFromQmlChangesNothing) {
  MirrorBatch batch;
  batch.values[101][QStringLiteral("volume")] = 0.5;
  store.apply(batch);
  QQmlEngine engine;
  engine.rootContext()->setContextProperty(QStringLiteral("strip"), store.object(101));
  QQmlComponent component(&engine);
  component.setData(
      "import QtQml\nQtObject { property real seen: strip.volume\n function press() { strip.volume = 1 } }", {});
  const std::unique_ptr<QObject> view(component.create());
  ASSERT_NE(view, nullptr) << component.errorString().toStdString();
  QMetaObject::invokeMethod(view.get(), "press");
  EXPECT_EQ(store.object(101)->value(QStringLiteral("volume")), QVariant(0.5));
  EXPECT_EQ(view->property("seen").toDouble(), 0.5);
  batch.values[101][QStringLiteral("volume")] = 0.75;
  store.apply(batch);
  EXPECT_EQ(view->property("seen").toDouble(), 0.75);
}

/// What a view makes of a row, with all that it reads of it.
class View {
 public:
  explicit View(MirrorItem* entry) : component_(&engine_) {
    registerQmlTypes();
    component_.setData(
        "import QtQml\nimport Vrel.Console\n"
        "QtObject { required property MirrorItem entry\n"
        " readonly property string seen: entry.name\n"
        " property MirrorRef hold: MirrorRef { entry: view.entry }\n id: view }",
        {});
    item_.reset(component_.createWithInitialProperties({{QStringLiteral("entry"), QVariant::fromValue(entry)}}));
    EXPECT_NE(item_, nullptr) << component_.errorString().toStdString();
    QObject::connect(&engine_, &QQmlEngine::warnings, &engine_, [this](const auto& told) { warnings += told.size(); });
  }

  [[nodiscard]] QString seen() const { return item_->property("seen").toString(); }
  void takeAway() { item_.reset(); }

  qsizetype warnings = 0;

 private:
  QQmlEngine engine_;
  QQmlComponent component_;
  std::unique_ptr<QObject> item_;
};

void deleteWhatShallGo() {
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

class Farewell : public Store {
 protected:
  Farewell() {
    MirrorBatch batch;
    batch.values[101][QStringLiteral("name")] = QStringLiteral("Lead");
    batch.lists[listId] = {101};
    store.apply(batch);
    entry = store.object(101);
  }

  void sayFarewell() {
    MirrorBatch batch;
    batch.lists[listId] = {};
    batch.gone = {101, 104};  // 104 was never shown
    store.apply(batch);
    deleteWhatShallGo();
  }

  QPointer<MirrorItem> entry;
};

TEST_F(Farewell, WhatIsGoneIsDeletedWhenNothingShowsIt) {
  sayFarewell();
  EXPECT_EQ(list().count(), 0);
  EXPECT_TRUE(entry.isNull());
  EXPECT_TRUE(store.object(101)->isEmpty()) << "a copy under the same id would be a new one";
}

TEST_F(Farewell, WhatIsGoneLivesOnForWhatStillShowsItAndNoLonger) {
  View first(entry);
  View second(entry);
  sayFarewell();
  ASSERT_FALSE(entry.isNull());
  EXPECT_EQ(second.seen(), QStringLiteral("Lead"));
  first.takeAway();
  deleteWhatShallGo();
  ASSERT_FALSE(entry.isNull());
  EXPECT_EQ(second.seen(), QStringLiteral("Lead"));
  second.takeAway();
  deleteWhatShallGo();
  EXPECT_TRUE(entry.isNull());
  EXPECT_EQ(first.warnings + second.warnings, 0) << "nothing was read of what was no longer there";
}

TEST_F(Farewell, AViewThatGoesFirstTakesNothingWithIt) {
  View view(entry);
  view.takeAway();
  deleteWhatShallGo();
  EXPECT_FALSE(entry.isNull());
  sayFarewell();
  EXPECT_TRUE(entry.isNull());
}

TEST(MirrorRef, OutlivesTheStore) {
  auto store = std::make_unique<MirrorStore>();
  MirrorRef hold;
  hold.setEntry(store->object(101));
  store.reset();
  EXPECT_EQ(hold.entry(), nullptr);
}

}  // namespace
}  // namespace vrel::window
