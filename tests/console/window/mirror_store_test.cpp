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
  Store() {
    MirrorBatch batch;
    for (MirrorId id = 101; id <= 105; ++id) {
      batch.added[id] = [](QObject* parent) -> MirrorItem* { return new StripViewModel(parent); };
    }
    store.apply(batch);
  }

  void show(std::vector<MirrorId> rows) {
    MirrorBatch batch;
    batch.lists[listId] = std::move(rows);
    store.apply(batch);
  }

  [[nodiscard]] StripViewModel& strip(MirrorId id) { return *qobject_cast<StripViewModel*>(store.find(id)); }

  [[nodiscard]] std::vector<MirrorId> rows() {
    std::vector<MirrorId> ids;
    for (int row = 0; row < list().rowCount(); ++row) {
      const auto* const entry = list().data(list().index(row), MirrorList::entryRole).value<MirrorItem*>();
      for (MirrorId id = 101; id <= 105; ++id) {
        if (store.find(id) == entry) {
          ids.push_back(id);
        }
      }
    }
    return ids;
  }

  [[nodiscard]] MirrorList& list() { return *store.list(listId); }

  /// Records what views are notified of the rows from now on.
  void watch() {
    QObject::connect(&list(), &MirrorList::rowsInserted, &list(), [this](const QModelIndex&, int first, int last) {
      notified.append(QStringLiteral("insert %1-%2").arg(first).arg(last));
    });
    QObject::connect(&list(), &MirrorList::rowsRemoved, &list(), [this](const QModelIndex&, int first, int last) {
      notified.append(QStringLiteral("remove %1-%2").arg(first).arg(last));
    });
    QObject::connect(&list(), &MirrorList::rowsMoved, &list(),
                     [this](const QModelIndex&, int first, int last, const QModelIndex&, int to) {
                       notified.append(QStringLiteral("move %1-%2 to %3").arg(first).arg(last).arg(to));
                     });
    QObject::connect(&list(), &MirrorList::modelReset, &list(), [this] { notified.append(QStringLiteral("reset")); });
  }

  MirrorStore store;
  QStringList notified;
};

using Ids = std::vector<MirrorId>;

TEST_F(Store, OnlyThePropertyThatChangesIsNotified) {
  MirrorBatch batch;
  batch.values[101][&StripViewModel::nameKey] = QStringLiteral("Lead");
  batch.values[101][&StripViewModel::muteKey] = false;
  int names = 0;
  int mutes = 0;
  QObject::connect(&strip(101), &StripViewModel::nameChanged, [&names] { ++names; });
  QObject::connect(&strip(101), &StripViewModel::muteChanged, [&mutes] { ++mutes; });
  store.apply(batch);
  EXPECT_EQ(strip(101).name(), "Lead");
  EXPECT_EQ(names, 1);
  EXPECT_EQ(mutes, 0);
  EXPECT_EQ(strip(102).name(), "");
}

TEST_F(Store, AnAdoptedCopyIsBroughtUpToDateAndNotOwned) {
  constexpr FixedMirrorId<MasterViewModel> fixed{2};
  MasterViewModel master;
  {
    MirrorStore other;
    other.adopt(fixed, master);
    MirrorBatch batch;
    batch.values[2][&MasterViewModel::muteKey] = true;
    other.apply(batch);
  }
  EXPECT_TRUE(master.mute());
}

TEST_F(Store, ANewRowIsInsertedWhereItBelongs) {
  show({101, 103});
  watch();
  show({101, 102, 103});
  EXPECT_EQ(rows(), (Ids{101, 102, 103}));
  EXPECT_EQ(notified, QStringList{QStringLiteral("insert 1-1")});
}

TEST_F(Store, ARowIsMovedAndStaysTheSameRow) {
  show({101, 102, 103, 104});
  const auto* const third = store.find(103);
  watch();
  show({103, 101, 102, 104});
  EXPECT_EQ(rows(), (Ids{103, 101, 102, 104}));
  EXPECT_EQ(store.find(103), third);
  EXPECT_EQ(notified, QStringList{QStringLiteral("move 2-2 to 0")});
}

TEST_F(Store, ARowThatMovesDownEndsWhereItShould) {
  show({101, 102, 103, 104});
  watch();
  show({102, 103, 104, 101});
  EXPECT_EQ(rows(), (Ids{102, 103, 104, 101}));
  EXPECT_FALSE(notified.contains(QStringLiteral("reset")));
  EXPECT_EQ(list().count(), 4);
}

TEST_F(Store, RowsAreRemovedOneByOneFromTheEnd) {
  show({101, 102, 103, 104});
  watch();
  show({102});
  EXPECT_EQ(rows(), Ids{102});
  EXPECT_EQ(notified,
            (QStringList{QStringLiteral("remove 3-3"), QStringLiteral("remove 2-2"), QStringLiteral("remove 0-0")}));
}

TEST_F(Store, AnotherSetOfRowsNeverResetsTheList) {
  show({101, 102});
  watch();
  show({105, 102, 104});
  EXPECT_EQ(rows(), (Ids{105, 102, 104}));
  EXPECT_FALSE(notified.contains(QStringLiteral("reset")));
  show({});
  EXPECT_EQ(list().count(), 0);
  EXPECT_FALSE(notified.contains(QStringLiteral("reset")));
}

TEST_F(Store, ThereIsNothingBesideTheRows) {
  show({101});
  EXPECT_FALSE(list().data(list().index(0), Qt::DisplayRole).isValid());
  EXPECT_FALSE(list().data(QModelIndex(), MirrorList::entryRole).isValid());
  EXPECT_EQ(list().rowCount(list().index(0)), 0);
}

TEST_F(Store, TheCountIsNotifiedOnlyWhenItChanges) {
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
  batch.values[101][&StripViewModel::volumeKey] = 0.5;
  store.apply(batch);
  QQmlEngine engine;
  engine.rootContext()->setContextProperty(QStringLiteral("strip"), &strip(101));
  QQmlComponent component(&engine);
  component.setData(
      "import QtQml\nQtObject { property real seen: strip.volume\n"
      "function press() { try { strip.volume = 1 } catch (refusal) {} } }",
      {});
  const std::unique_ptr<QObject> view(component.create());
  ASSERT_NE(view, nullptr) << component.errorString().toStdString();
  QMetaObject::invokeMethod(view.get(), "press");
  EXPECT_EQ(strip(101).volume(), 0.5);
  EXPECT_EQ(view->property("seen").toDouble(), 0.5);
  batch.values[101][&StripViewModel::volumeKey] = 0.75;
  store.apply(batch);
  EXPECT_EQ(view->property("seen").toDouble(), 0.75);
}

/// What a view makes of a row, with all that it reads of it.
class View {
 public:
  explicit View(StripViewModel* entry) : component_(&engine_) {
    registerQmlTypes();
    component_.setData(
        "import QtQml\nimport Vrel.Console\n"
        "QtObject { required property StripViewModel entry\n"
        " readonly property string seen: entry.name\n"
        " property MirrorRef hold: MirrorRef { entry: view.entry }\n id: view }",
        {});
    item_.reset(component_.createWithInitialProperties({{QStringLiteral("entry"), QVariant::fromValue(entry)}}));
    EXPECT_NE(item_, nullptr) << component_.errorString().toStdString();
    QObject::connect(&engine_, &QQmlEngine::warnings, &engine_,
                     [this](const auto& notified) { warnings += notified.size(); });
  }

  [[nodiscard]] QString seen() const { return item_->property("seen").toString(); }
  void takeAway() { item_.reset(); }

  qsizetype warnings = 0;

 private:
  QQmlEngine engine_;
  QQmlComponent component_;
  std::unique_ptr<QObject> item_;
};

void runDeferredDeletes() {
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

class Release : public Store {
 protected:
  Release() {
    MirrorBatch batch;
    batch.values[101][&StripViewModel::nameKey] = QStringLiteral("Lead");
    batch.lists[listId] = {101};
    store.apply(batch);
    entry = &strip(101);
  }

  void release() {
    MirrorBatch batch;
    batch.lists[listId] = {};
    batch.gone = {101, 104, 106};  // 104 was never shown, and 106 is unknown
    store.apply(batch);
    runDeferredDeletes();
  }

  QPointer<StripViewModel> entry;
};

TEST_F(Release, WhatIsGoneIsDeletedWhenNothingShowsIt) {
  release();
  EXPECT_EQ(list().count(), 0);
  EXPECT_TRUE(entry.isNull());
  EXPECT_EQ(store.find(101), nullptr);
}

TEST_F(Release, WhatIsGoneLivesOnForWhatStillShowsItAndNoLonger) {
  View first(entry);
  View second(entry);
  release();
  ASSERT_FALSE(entry.isNull());
  EXPECT_EQ(second.seen(), QStringLiteral("Lead"));
  first.takeAway();
  runDeferredDeletes();
  ASSERT_FALSE(entry.isNull());
  EXPECT_EQ(second.seen(), QStringLiteral("Lead"));
  second.takeAway();
  runDeferredDeletes();
  EXPECT_TRUE(entry.isNull());
  EXPECT_EQ(first.warnings + second.warnings, 0) << "nothing was read of what was no longer there";
}

TEST_F(Release, AViewThatGoesFirstTakesNothingWithIt) {
  View view(entry);
  view.takeAway();
  runDeferredDeletes();
  EXPECT_FALSE(entry.isNull());
  release();
  EXPECT_TRUE(entry.isNull());
}

TEST(MirrorRef, OutlivesTheStore) {
  auto store = std::make_unique<MirrorStore>();
  MirrorRef hold;
  hold.setEntry(new StripViewModel(store.get()));
  store.reset();
  EXPECT_EQ(hold.entry(), nullptr);
}

}  // namespace
}  // namespace vrel::window
