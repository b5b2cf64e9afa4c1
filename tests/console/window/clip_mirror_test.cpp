// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/clip_mirror.h"

#include <gtest/gtest.h>

#include <QString>
#include <QUrl>
#include <optional>
#include <string>

#include "console/window/console_model.h"
#include "console/window/console_stage.h"
#include "console/window_settings.h"

namespace vrel::window {
namespace {

/// The editor of clips, moved by commands as QML calls them, on a machine without clips.
class ClipPanel : public ConsoleStage {
 protected:
  ClipPanel() {
    addSong("One", {record("Film", "")});
    appear();
    content.songSwitch().applySong(0);
    answerAll();
    commands.open(QString::fromStdString(strip(0).id.text()));
    settle();
  }

  [[nodiscard]] const ClipRow& row(qsizetype index) { return clips.rows()[index]; }

  WindowSettings settings{defaults};
  ConsoleActions actions{content, [](std::optional<std::size_t>) {}, [](const std::string&, const std::string&) {},
                         settings};
  ConsoleModel model{[this](const ConsoleCommands::Action& action) {
    mainQueue.async([this, action] {
      action(actions);
      source.schedule();
    });
  }};
  Observable<std::optional<NSAlert>> shownAlert;
  MirrorSource source{mainQueue, [this](const MirrorBatch& batch) {
                        model.apply(batch);
                        source.delivered();
                      }};
  ConsoleMirror mirror{source, content, shownAlert};
  ClipCommands& commands = *model.clipCommands();
  ClipViewModel& clips = *model.clips();
};

TEST_F(ClipPanel, ShowsItsRows) {
  EXPECT_TRUE(clips.isOpen());
  EXPECT_EQ(clips.stripName(), QStringLiteral("1  Film"));
  EXPECT_TRUE(clips.rows().isEmpty());
  commands.add();
  commands.dropFile(QUrl::fromLocalFile(QStringLiteral("/home/me/sea.mp4")));
  settle();
  ASSERT_EQ(clips.rows().size(), 2);
  EXPECT_EQ(row(0).noteName, QStringLiteral("C4"));
  EXPECT_EQ(row(1).noteName, QStringLiteral("C#4"));
  EXPECT_EQ(row(1).fileName, QStringLiteral("sea.mp4"));
  EXPECT_FALSE(row(0).isShown);
  EXPECT_TRUE(row(1).isShown);
  EXPECT_TRUE(clips.hasPreview());
}

TEST_F(ClipPanel, CommandsChangeOneRow) {
  commands.add();
  commands.add();
  settle();
  const QString first = row(0).mappingId;
  commands.setNote(first, 300);
  commands.setToggles(first, true);
  commands.setHoldsLastPicture(first, true);
  commands.toggleLearn(first);
  commands.toggleNotePicker(first);
  commands.select(first);
  settle();
  EXPECT_EQ(row(0).note, 127);
  EXPECT_TRUE(row(0).toggles);
  EXPECT_TRUE(row(0).holdsLastPicture);
  EXPECT_FALSE(row(1).holdsLastPicture);
  EXPECT_TRUE(row(0).isLearning);
  EXPECT_TRUE(row(0).isShown);
  EXPECT_EQ(clips.pickedId(), first);
  EXPECT_EQ(clips.pickedNote(), 127);
  EXPECT_EQ(row(1).note, 60);
  commands.remove(first);
  commands.setNote(first, 5);
  settle();
  ASSERT_EQ(clips.rows().size(), 1);
  EXPECT_EQ(clips.pickedId(), QString());
  EXPECT_EQ(row(0).note, 60);
}

TEST_F(ClipPanel, ApplyAndCancelClose) {
  commands.add();
  commands.cancel();
  settle();
  EXPECT_FALSE(clips.isOpen());
  commands.open(QString::fromStdString(strip(0).id.text()));
  commands.add();
  commands.apply();
  settle();
  EXPECT_FALSE(clips.isOpen());
  EXPECT_EQ(strip(0).visualClipMappings.get().size(), 1U);
}

TEST(ClipRowModel, KeepsItsItemsWhileRowsChangeOrJoin) {
  ClipRow one;
  one.mappingId = QStringLiteral("one");
  ClipRow two;
  two.mappingId = QStringLiteral("two");
  ClipRows model;
  model.setRows({one});
  int resets = 0;
  int changes = 0;
  int insertions = 0;
  QObject::connect(&model, &QAbstractItemModel::modelReset, [&resets] { ++resets; });
  QObject::connect(&model, &QAbstractItemModel::dataChanged, [&changes] { ++changes; });
  QObject::connect(&model, &QAbstractItemModel::rowsInserted, [&insertions] { ++insertions; });
  one.note = 61;
  model.setRows({one});
  EXPECT_EQ(changes, 1);
  model.setRows({one, two});
  EXPECT_EQ(insertions, 1);
  EXPECT_EQ(resets, 0);
  model.setRows({two});
  EXPECT_EQ(resets, 1);
  EXPECT_EQ(model.data(model.index(0), Qt::UserRole).value<ClipRow>(), two);
}

}  // namespace
}  // namespace vrel::window
