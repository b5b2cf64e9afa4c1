// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/editors_mirror.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "console/editor_panels.h"
#include "console/window/console_model.h"
#include "console/window/console_stage.h"
#include "console/window_settings.h"

namespace vrel::window {
namespace {

class Editors : public ConsoleStage {
 protected:
  Editors() {
    AUParameter level;
    level.address = 7;
    level.identifier = "level";
    level.displayName = "Level";
    level.groupName = "Output";
    level.maxValue = 4;
    level.unitName = "dB";
    AUParameter shape = level;
    shape.address = 8;
    shape.identifier = "shape";
    shape.displayName = "Shape";
    shape.isEnumeration = true;
    shape.valueNames = {{0, "Sine"}, {4, "Saw"}};
    AUParameterTree tree;
    tree.allParameters = {level, shape};
    appear();
    strip_ = addStrip("Keys");
    strip_.instrument->core.parameters = std::make_shared<const AUParameterTree>(tree);
    strip_.instrument->core.parameterValues[7] = 2;
  }

  void toggle() {
    model.plugins()->toggleInstrument(QString::fromStdString(strip_.channel->id.text()));
    settle();
    for (const auto& request : strip_.instrument->core.viewRequests) {
      request(nullptr);
    }
    strip_.instrument->core.viewRequests.clear();
    settle();
  }

  [[nodiscard]] EditorViewModel& shown() {
    auto& editors = *model.editors();
    return *qobject_cast<EditorViewModel*>(editors.data(editors.index(0), MirrorList::entryRole).value<MirrorItem*>());
  }

  WindowSettings settings{defaults};
  ConsoleActions actions{content, [](auto) {}, [](const std::string&, const std::string&) {}, settings};
  ConsoleModel model{
      [this](const ConsoleCommands::Action& action) { mainQueue.async([this, action] { action(actions); }); }};
  Observable<std::optional<NSAlert>> shownAlert;
  MirrorSource source{mainQueue, [this](const MirrorBatch& batch) {
                        model.apply(batch);
                        source.delivered();
                      }};
  std::optional<ConsoleMirror> mirror{std::in_place, source, content, shownAlert};
  Strip strip_;
};

TEST_F(Editors, AWindowIsShownWithItsControlsAndValuesUntilItIsClosed) {
  toggle();
  ASSERT_EQ(model.editors()->count(), 1);
  EXPECT_EQ(shown().title(), QStringLiteral("Keys - Keys Editor (Generic)"));
  EXPECT_EQ(shown().contentWidth(), 760);
  EXPECT_EQ(shown().contentHeight(), 520);
  EXPECT_TRUE(shown().isLoaded());
  EXPECT_EQ(shown().values(), (QList<double>{2, 0}));
  ASSERT_EQ(shown().entries().size(), 2);
  EXPECT_EQ(shown().entries()[0].section, QStringLiteral("Output"));
  EXPECT_EQ(shown().centerings(), 1);
  mainQueue.advance(1);
  EXPECT_EQ(shown().centerings(), 4);
  model.plugins()->close(shown().editorId());
  settle();
  EXPECT_EQ(model.editors()->count(), 0);
}

TEST_F(Editors, ItsControlsAreMovedByCommands) {
  toggle();
  const QString id = shown().editorId();
  auto& values = strip_.instrument->core.parameterValues;
  model.plugins()->set(id, 0, 3);
  settle();
  EXPECT_EQ(values[7], 3.0F);
  EXPECT_EQ(shown().values()[0], 3.0);
  model.plugins()->enter(id, 0, QStringLiteral("1.5 dB"));
  settle();
  EXPECT_EQ(values[7], 1.5F);
  model.plugins()->reset(id, 0);
  settle();
  EXPECT_EQ(values[7], 0.0F);
  model.plugins()->setSearch(id, QStringLiteral("sha"));
  settle();
  EXPECT_EQ(shown().entries().size(), 1);
  EXPECT_EQ(shown().searchText(), QStringLiteral("sha"));
}

TEST_F(Editors, AControlWaitsForItsHardwareInItsOwnWindowOnly) {
  toggle();
  const QString id = shown().editorId();
  EXPECT_EQ(shown().pendingControl(), -1);
  model.plugins()->learn(id, 1);
  settle();
  EXPECT_EQ(shown().pendingControl(), -1) << "outside learn mode";
  model.commands()->toggleLearn();
  model.plugins()->learn(id, 1);
  model.plugins()->learn(id, 99);
  settle();
  EXPECT_EQ(shown().pendingControl(), 1);
  EXPECT_EQ(model.session()->learnLabel(), QStringLiteral("Move MIDI"));
  engine->routeMIDI(0xB0, 20, 64);
  settle();
  EXPECT_EQ(shown().pendingControl(), -1);
  EXPECT_EQ(song(0).pluginControlAssignments.size(), 1U);
}

TEST_F(Editors, AWindowThatIsClosedTakesNoCommand) {
  toggle();
  const QString id = shown().editorId();
  toggle();
  EXPECT_EQ(model.editors()->count(), 0);
  model.plugins()->set(id, 0, 3);
  model.plugins()->trigger(id, 0);
  model.plugins()->close(id);
  model.plugins()->toggleEffect(id);
  settle();
  EXPECT_EQ(strip_.instrument->core.parameterValues[7], 2.0F);
}

TEST_F(Editors, TheRowsKnowTheLawsOfTheirControlsAndARowThatIsGoneKnowsNone) {
  toggle();
  ControlRows rows;
  rows.setEntries(shown().entries());
  EXPECT_EQ(rows.count(), 2);
  EXPECT_EQ(rows.data(rows.index(1), ControlRows::lookRole).toInt(), ControlRows::Choice);
  EXPECT_EQ(rows.text(0, 2), QStringLiteral("2.00 dB"));
  EXPECT_DOUBLE_EQ(rows.position(0, 1), 0.25);
  EXPECT_DOUBLE_EQ(rows.valueAt(0, 0.75), 3);
  EXPECT_EQ(rows.choices(1), (QList<QString>{QStringLiteral("Sine"), QStringLiteral("Saw")}));
  EXPECT_EQ(rows.choice(1, 3), 1);
  EXPECT_DOUBLE_EQ(rows.choiceValue(1, 1), 4);
  EXPECT_EQ(rows.text(9, 2), QString());
  EXPECT_EQ(rows.choice(-1, 0), -1);
  EXPECT_DOUBLE_EQ(rows.choiceValue(1, 9), 0);
}

}  // namespace
}  // namespace vrel::window
