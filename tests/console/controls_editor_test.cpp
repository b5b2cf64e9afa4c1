// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/controls_editor.h"

#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "console/editor_panels.h"
#include "engine/plugin_editors.h"
#include "platform/message_parameters.h"
#include "simulation/scripted_desktop.h"
#include "support/simulated_session.h"

namespace vrel {
namespace {

using Sets = std::vector<std::pair<AUParameterAddress, float>>;

class GenericEditor : public SimulatedSession {
 protected:
  GenericEditor() {
    AUParameter level;
    level.address = 7;
    level.displayName = "Level";
    level.maxValue = 4;
    level.defaultValue = 1;
    AUParameter pitch = level;
    pitch.address = 9;
    pitch.displayName = "Reset";
    pitch.isTrigger = true;
    pitch.defaultValue = 0;
    AUParameter meter = level;
    meter.address = 11;
    meter.displayName = "Meter";
    meter.isOutput = true;
    AUParameterTree tree;
    tree.allParameters = {level, pitch, meter};
    strip_.instrument->core.parameters = std::make_shared<const AUParameterTree>(tree);
    core().parameterValues[7] = 1;
  }

  void press() {
    editors_.openInstrumentEditor(strip_.channel);
    mainQueue.runAll();
    if (!core().viewRequests.empty()) {
      core().viewRequests.front()(nullptr);
      core().viewRequests.clear();
      mainQueue.runAll();
    }
  }

  ControlsEditor& open() {
    press();
    return *panels_.shown.get().front()->controls;
  }

  [[nodiscard]] simulation::ScriptedUnitCore& core() { return strip_.instrument->core; }

  simulation::ScriptedDesktop desktop_;
  Strip strip_ = addStrip("Keys");
  EditorPanels panels_{{state, mainQueue, desktop_}};
  NSNotificationCenter notifications_;
  PluginEditors editors_{panels_, mainQueue, notifications_};
};

TEST_F(GenericEditor, ShowsTheControlsAndTheirValues) {
  auto& editor = open();
  EXPECT_EQ(panels_.shown.get().front()->title.get(), "Keys - Keys Editor (Generic)");
  ASSERT_EQ(editor.rows.get().size(), 3U);
  EXPECT_EQ(editor.values.get(), (std::vector<float>{1, 0, 0}));
  editor.searchText.set("lev");
  ASSERT_EQ(editor.rows.get().size(), 1U);
  EXPECT_EQ(editor.rows.get()[0].index, 0U);
}

TEST_F(GenericEditor, AMovedControlIsSetAndMarksTheSetlistChanged) {
  auto& editor = open();
  state.isDirty.set(false);
  editor.set(0, 1);
  EXPECT_FALSE(state.isDirty.get()) << "it has this value";
  EXPECT_TRUE(core().parameterSets.empty());
  editor.set(0, 99);
  EXPECT_EQ(core().parameterSets, (Sets{{7, 4}})) << "limited";
  EXPECT_TRUE(state.isDirty.get());
  EXPECT_EQ(editor.values.get()[0], 4.0F) << "shown at once";
  editor.reset(0);
  editor.enter(0, "2,5");
  editor.enter(0, "loud");
  EXPECT_EQ(core().parameterSets, (Sets{{7, 4}, {7, 1}, {7, 2.5F}}));
}

/// A plug-in whose second parameter is a file.
class FileCore final : public simulation::ScriptedUnitCore, public MessageParameters {
 public:
  void watchMessageParameters(bool isWatched) override { watchers += isWatched ? 1 : -1; }
  [[nodiscard]] std::string parameterText(AUParameterAddress address) override { return texts[address]; }
  void setParameterText(AUParameterAddress address, const std::string& text) override { texts[address] = text; }

  int watchers = 0;
  std::map<AUParameterAddress, std::string> texts;
};

class FileUnit final : public simulation::SimulatedNodeOf<AVAudioUnit> {
 public:
  using SimulatedNodeOf::SimulatedNodeOf;
  AUAudioUnit& auAudioUnit() override { return core; }
  void reset() override {}

  FileCore core;
};

class FileOfAPlugIn : public SimulatedSession {
 protected:
  FileOfAPlugIn() {
    AUParameter amount;
    amount.address = firstMessageParameter;
    amount.defaultValue = 0.5F;
    AUParameter file;
    file.address = firstPathParameter;
    AUParameter words;
    words.address = firstTextParameter;
    AUParameter said = words;
    said.address += 1;
    said.isOutput = true;
    AUParameterTree tree;
    tree.allParameters = {amount, file, words, said};
    unit_->core.parameters = std::make_shared<const AUParameterTree>(tree);
    unit_->core.parameterValues[firstMessageParameter] = std::nanf("");
    unit_->core.texts[firstPathParameter] = "/samples/old.sfz";
    open();
  }

  void open() {
    editor_ =
        std::make_shared<ControlsEditor>(unit_, std::make_shared<PresetChooser::Loaded>(), state, mainQueue, desktop_);
    editor_->load();
    mainQueue.runAll();
    state.isDirty.set(false);
  }

  simulation::ScriptedDesktop desktop_;
  std::shared_ptr<FileUnit> unit_ = std::make_shared<FileUnit>("sampler");
  std::shared_ptr<ControlsEditor> editor_;
};

TEST_F(FileOfAPlugIn, IsShownWhileTheWindowIsOpenAndWhatIsNotReportedHasItsDefault) {
  EXPECT_EQ(unit_->core.watchers, 1);
  EXPECT_EQ(editor_->texts.get(), (std::vector<std::string>{"", "/samples/old.sfz", "", ""}));
  EXPECT_EQ(editor_->values.get(), (std::vector<float>{0.5F, 0, 0, 0}));
  unit_->core.texts[firstPathParameter] = "/samples/other.sfz";
  unit_->core.parameterValues[firstMessageParameter] = 0.25F;
  editor_->refresh();
  EXPECT_EQ(editor_->texts.get()[1], "/samples/other.sfz");
  EXPECT_EQ(editor_->values.get()[0], 0.25F);
  editor_ = nullptr;
  EXPECT_EQ(unit_->core.watchers, 0);
}

TEST_F(FileOfAPlugIn, IsChosenBesideTheLastOneAndMarksTheSetlistChanged) {
  desktop_.openPanelAnswers = {"/samples/new.sfz"};
  editor_->chooseFile(1);
  EXPECT_EQ(unit_->core.texts[firstPathParameter], "/samples/new.sfz");
  EXPECT_EQ(desktop_.openPanels.back().directory, "/samples");
  EXPECT_EQ(editor_->texts.get()[1], "/samples/new.sfz");
  EXPECT_TRUE(state.isDirty.get());
}

TEST_F(FileOfAPlugIn, StaysWhenThePanelIsCancelledInLiveModeAndForAnotherControl) {
  editor_->chooseFile(1);
  desktop_.openPanelAnswers = {"/samples/new.sfz", "/samples/new.sfz"};
  editor_->chooseFile(0);
  editor_->chooseFile(99);
  editor_->set(1, 1);
  state.isLiveModeEnabled.set(true);
  editor_->chooseFile(1);
  EXPECT_EQ(desktop_.openPanels.size(), 1U);
  EXPECT_EQ(unit_->core.texts[firstPathParameter], "/samples/old.sfz");
  EXPECT_TRUE(unit_->core.parameterSets.empty());
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(FileOfAPlugIn, ATextIsTypedAndMarksTheSetlistChangedAndOneThatThePlugInSetsIsOnlyShown) {
  editor_->enter(2, "Grand Piano");
  EXPECT_EQ(unit_->core.texts[firstTextParameter], "Grand Piano");
  EXPECT_EQ(editor_->texts.get()[2], "Grand Piano");
  EXPECT_TRUE(state.isDirty.get());
  state.isDirty.set(false);
  editor_->enter(2, "Grand Piano");
  EXPECT_FALSE(state.isDirty.get()) << "it is that already";
  unit_->core.texts[firstTextParameter + 1] = "ready";
  editor_->refresh();
  EXPECT_EQ(editor_->texts.get()[3], "ready");
  editor_->enter(3, "mine");
  editor_->enter(1, "/typed");
  editor_->enter(99, "mine");
  editor_->set(2, 1);
  editor_->reset(2);
  EXPECT_EQ(unit_->core.texts[firstTextParameter + 1], "ready");
  EXPECT_EQ(unit_->core.texts[firstPathParameter], "/samples/old.sfz");
  EXPECT_FALSE(state.isDirty.get());
  EXPECT_TRUE(unit_->core.parameterSets.empty());
}

TEST_F(FileOfAPlugIn, ATextThatIsTooLongForThePlugInIsNotTaken) {
  editor_->enter(2, std::string(longestParameterText + 1, 'a'));
  EXPECT_EQ(editor_->texts.get()[2], "");
  EXPECT_FALSE(state.isDirty.get());
  editor_->enter(2, std::string(longestParameterText, 'a'));
  EXPECT_EQ(unit_->core.texts[firstTextParameter].size(), longestParameterText);
}

TEST_F(FileOfAPlugIn, MayBeChosenWhileTheWindowCloses) {
  desktop_.openPanelAnswers = {"/samples/new.sfz"};
  desktop_.whileAsking = [this] { editor_ = nullptr; };
  auto& editor = *editor_;
  editor.chooseFile(1);
  EXPECT_EQ(unit_->core.texts[firstPathParameter], "/samples/new.sfz");
  EXPECT_EQ(unit_->core.watchers, 0);
}

TEST_F(GenericEditor, AMeterAndWhatIsNotThereCannotBeSet) {
  auto& editor = open();
  editor.set(2, 1);
  editor.set(99, 1);
  editor.trigger(2);
  editor.reset(99);
  EXPECT_TRUE(core().parameterSets.empty());
}

TEST_F(GenericEditor, ATriggerGoesBackByItself) {
  auto& editor = open();
  editor.trigger(1);
  EXPECT_EQ(core().parameterSets, (Sets{{9, 4}}));
  mainQueue.advance(0.1);
  EXPECT_EQ(core().parameterSets, (Sets{{9, 4}, {9, 0}}));
}

TEST_F(GenericEditor, WhatThePlugInChangesAppearsWithinATenthOfASecond) {
  auto& editor = open();
  core().parameterValues[7] = 3;
  core().parameterValues[11] = 2;
  mainQueue.advance(0.1);
  EXPECT_EQ(editor.values.get(), (std::vector<float>{3, 0, 2}));
}

TEST_F(GenericEditor, AClosedOneReadsNothingAndTheNextOneIsNew) {
  const auto first = panels_.shown.get();
  open();
  const auto id = panels_.shown.get().front()->id;
  press();
  EXPECT_TRUE(panels_.shown.get().empty());
  EXPECT_EQ(panels_.find(id.text()), nullptr);
  press();
  ASSERT_EQ(panels_.shown.get().size(), 1U);
  EXPECT_NE(panels_.shown.get().front()->id, id);
}

TEST_F(GenericEditor, AWindowThatAPersonClosesIsGone) {
  open();
  panels_.shown.get().front()->close();
  EXPECT_TRUE(panels_.shown.get().empty());
  mainQueue.advance(1);
  press();
  EXPECT_EQ(panels_.shown.get().size(), 1U) << "the press opens it, and does not close it a second time";
}

TEST_F(GenericEditor, APlugInThatDiesTakesItsWindowAlong) {
  open();
  engine->instruments().loseInstrument(*strip_.channel);
  EXPECT_TRUE(panels_.shown.get().empty());
}

TEST_F(GenericEditor, APlugInWithoutParametersShowsAnEmptyList) {
  core().parameters = nullptr;
  auto& editor = open();
  mainQueue.advance(1);
  EXPECT_TRUE(editor.rows.get().empty());
  editor.set(0, 1);
  EXPECT_TRUE(core().parameterSets.empty());
}

TEST_F(GenericEditor, AMainWindowThatComesToTheFrontIsCoveredByTheEditorsOnce) {
  open();
  mainQueue.advance(10);
  const auto& panel = *panels_.shown.get().front();
  const int raises = panel.raises.get();
  panels_.mainWindowCameToFront();
  mainQueue.advance(10);
  EXPECT_EQ(panel.raises.get(), raises + 1) << "by the timer that keeps it above";
}

TEST_F(GenericEditor, TheWindowHasRoomOnTheMainScreen) {
  EXPECT_EQ(panels_.visibleFrame(), std::nullopt);
  desktop_.screenList = {{"", {0, 0, 700, 500}}};
  open();
  EXPECT_EQ(panels_.shown.get().front()->contentSize.get(), (NSSize{620, 420}));
}

TEST_F(GenericEditor, TheWindowHasRoomOnTheScreenThatTheMainWindowIsOn) {
  desktop_.screenList = {{"laptop", {0, 0, 1280, 800}}, {"stage", {1280, 0, 700, 500}}};
  panels_.mainWindowIsOn(NSScreen{"stage", {1280, 0, 640, 480}});
  EXPECT_EQ(panels_.visibleFrame(), (NSSize{700, 500})) << "as it is now";
  panels_.mainWindowIsOn(NSScreen{"unplugged", {0, 0, 10, 10}});
  EXPECT_EQ(panels_.visibleFrame(), (NSSize{1280, 800}));
  panels_.mainWindowIsOn(std::nullopt);
  EXPECT_EQ(panels_.visibleFrame(), (NSSize{1280, 800}));
}

}  // namespace
}  // namespace vrel
