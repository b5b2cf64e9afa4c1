// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/preset_chooser.h"

#include <memory>
#include <string>
#include <vector>

#include "console/editor_panels.h"
#include "engine/plugin_editors.h"
#include "platform/notification_center.h"
#include "simulation/scripted_desktop.h"
#include "support/scripted_presets.h"
#include "support/simulated_session.h"

namespace vrel {
namespace {

using Names = std::vector<std::string>;

class PresetsInTheEditor : public SimulatedSession {
 protected:
  PresetsInTheEditor() {
    AUParameter level;
    level.address = 7;
    level.maxValue = 4;
    AUParameter meter = level;
    meter.address = 8;
    meter.isOutput = true;
    AUParameterTree tree;
    tree.allParameters = {level, meter};
    core().parameters = std::make_shared<const AUParameterTree>(tree);
    core().presets = {{"mine", "Mine", "", true},
                      {"a", "Alto", "", false},
                      {"b", "Bass", "Low", false},
                      {"c", "Contra", "Low", false}};
    channel_ = engine->addChannel("Keys");
    engine->instruments().installInstrumentNode(*channel_, instrument_, pianoKey, "Keys", std::nullopt);
    toggle();
    state.isDirty.set(false);
  }

  void toggle() {
    editors_.openInstrumentEditor(channel_);
    mainQueue.runAll();
    for (const auto& request : core().viewRequests) {
      request(nullptr);
    }
    core().viewRequests.clear();
    mainQueue.runAll();
  }

  [[nodiscard]] InstrumentWithPresets::Core& core() { return instrument_->presetCore; }
  [[nodiscard]] ControlsEditor& editor() { return *panels_.shown.get().front()->controls; }
  [[nodiscard]] PresetChooser& presets() { return *editor().presets; }

  [[nodiscard]] Names shownRows() {
    Names names;
    for (const auto& row : presets().rows.get()) {
      names.push_back(row.section + "/" + row.name);
    }
    return names;
  }

  /// The plug-in comes to the end of the oldest request.
  void loaded(const Outcome& failure = std::nullopt) {
    const auto handler = core().useHandlers.front();
    core().useHandlers.erase(core().useHandlers.begin());
    handler(failure);
    mainQueue.runAll();
  }

  simulation::ScriptedDesktop desktop_;
  std::shared_ptr<InstrumentWithPresets> instrument_ = std::make_shared<InstrumentWithPresets>("Keys");
  std::shared_ptr<AudioChannel> channel_;
  EditorPanels panels_{{state, mainQueue, desktop_}};
  NSNotificationCenter notifications_;
  PluginEditors editors_{panels_, mainQueue, notifications_};
};

TEST_F(PresetsInTheEditor, AreListedUnderTheirBanksAndFoundByNameAndBank) {
  EXPECT_TRUE(presets().isOffered.get());
  EXPECT_EQ(shownRows(), (Names{"My presets/Mine", "/Alto", "Low/Bass", "Low/Contra"}));
  presets().searchText.set("AL");
  EXPECT_EQ(shownRows(), (Names{"/Alto"}));
  presets().searchText.set("low");
  EXPECT_EQ(shownRows(), (Names{"Low/Bass", "Low/Contra"}));
  presets().searchText.set("");
  state.language.set(Language::german);
  EXPECT_EQ(shownRows().front(), "Meine Presets/Mine");
}

TEST_F(PresetsInTheEditor, AChosenOneIsLoadedIsAnEditAndShowsItsValuesAtOnce) {
  presets().choose("b");
  EXPECT_EQ(presets().shownName.get(), "Bass") << "while it is on its way";
  EXPECT_FALSE(state.isDirty.get());
  core().parameterValues[7] = 3;
  loaded();
  EXPECT_EQ(core().used, (Names{"b"}));
  EXPECT_TRUE(state.isDirty.get());
  EXPECT_EQ(editor().values.get()[0], 3.0F);
  EXPECT_FALSE(presets().isChanged.get());
  EXPECT_FALSE(presets().isOwn.get());
}

TEST_F(PresetsInTheEditor, OfThoseChosenMeanwhileTheLastOneFollows) {
  presets().step(1);
  presets().step(1);
  presets().step(1);
  EXPECT_EQ(presets().shownName.get(), "Bass");
  EXPECT_EQ(core().used, (Names{"mine"}));
  loaded();
  EXPECT_EQ(presets().shownName.get(), "Bass");
  EXPECT_EQ(core().used, (Names{"mine", "b"}));
  loaded();
  EXPECT_EQ(presets().shownName.get(), "Bass");
  EXPECT_TRUE(core().useHandlers.empty());
}

TEST_F(PresetsInTheEditor, ArrowsStayWithinWhatIsFoundAndStopAtItsEnds) {
  presets().searchText.set("low");
  presets().step(-1);
  loaded();
  presets().step(1);
  presets().step(-9);
  loaded();
  presets().step(-1);
  EXPECT_EQ(core().used, (Names{"c", "b"}));
  presets().searchText.set("nothing");
  presets().step(1);
  EXPECT_EQ(core().used.size(), 2U);
}

TEST_F(PresetsInTheEditor, AMovedControlMarksItChangedUntilItIsMovedBackAndAMeterDoesNot) {
  presets().choose("b");
  loaded();
  core().parameterValues[8] = 1;
  mainQueue.advance(0.1);
  EXPECT_FALSE(presets().isChanged.get());
  editor().set(0, 2);
  EXPECT_TRUE(presets().isChanged.get());
  editor().set(0, 0);
  EXPECT_FALSE(presets().isChanged.get());
  core().parameterValues[7] = 1;
  mainQueue.advance(0.1);
  EXPECT_TRUE(presets().isChanged.get()) << "by the plug-in or by MIDI";
}

TEST_F(PresetsInTheEditor, OneThatCannotBeLoadedSaysSoAndTheEarlierOneIsShownAgain) {
  presets().choose("b");
  loaded();
  state.isDirty.set(false);
  presets().choose("c");
  loaded(Error{"its file is gone"});
  EXPECT_EQ(presets().problem.get(), "Preset not loaded: Contra: its file is gone");
  EXPECT_EQ(presets().shownName.get(), "Bass");
  EXPECT_FALSE(state.isDirty.get());
  presets().choose("a");
  loaded();
  EXPECT_EQ(presets().problem.get(), "");
}

TEST_F(PresetsInTheEditor, TheLoadedOneIsRememberedWhenTheWindowIsOpenedAgain) {
  presets().choose("b");
  loaded();
  toggle();
  core().parameterValues[7] = 2;
  toggle();
  EXPECT_EQ(presets().shownName.get(), "Bass");
  EXPECT_TRUE(presets().isChanged.get());
}

TEST_F(PresetsInTheEditor, AnAnswerAfterTheWindowHasClosedDoesNothing) {
  presets().choose("b");
  toggle();
  loaded();
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(PresetsInTheEditor, ASavedOneIsListedAndShownAndIsNoEditOfTheSetlist) {
  presets().save("  New one ", false);
  ASSERT_EQ(core().saved, (Names{"New one"}));
  core().presets.insert(core().presets.begin(), {"new", "New one", "", true});
  core().saveHandlers.front()(core().presets.front());
  mainQueue.runAll();
  EXPECT_EQ(presets().shownName.get(), "New one");
  EXPECT_TRUE(presets().isOwn.get());
  EXPECT_EQ(shownRows().front(), "My presets/New one");
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(PresetsInTheEditor, AnOwnOneIsReplacedOnlyWhenThatIsMeantAndANamelessOneIsNotSaved) {
  presets().save("Mine", false);
  presets().save(" ", true);
  EXPECT_TRUE(core().saved.empty());
  presets().save("Mine", true);
  presets().save("Alto", false);
  EXPECT_EQ(core().saved, (Names{"Mine", "Alto"})) << "one of the plug-in's own is not in the way";
}

TEST_F(PresetsInTheEditor, OneThatAnotherEditorHasSavedSinceIsListedBeforeItIsReplaced) {
  core().presets.insert(core().presets.begin(), {"new", "New", "", true});
  presets().save("New", false);
  ASSERT_EQ(core().mayReplaceSaved, (std::vector<bool>{false}));
  core().saveHandlers.front()(Error{"there is one of this name"});
  mainQueue.runAll();
  EXPECT_EQ(presets().problem.get(), "Preset not saved: there is one of this name");
  EXPECT_EQ(shownRows().front(), "My presets/New");
  presets().save("New", true);
  EXPECT_EQ(core().mayReplaceSaved, (std::vector<bool>{false, true}));
}

TEST_F(PresetsInTheEditor, AFailedSaveSaysSo) {
  presets().save("New", false);
  core().saveHandlers.front()(Error{"the disk is full"});
  mainQueue.runAll();
  EXPECT_EQ(presets().problem.get(), "Preset not saved: the disk is full");
  EXPECT_EQ(presets().shownName.get(), "");
}

TEST_F(PresetsInTheEditor, OnlyAnOwnOneIsDeleted) {
  presets().removeLoaded();
  presets().choose("b");
  loaded();
  presets().removeLoaded();
  EXPECT_TRUE(core().deleted.empty());
  presets().choose("mine");
  loaded();
  presets().removeLoaded();
  ASSERT_EQ(core().deleted, (Names{"mine"}));
  core().presets.erase(core().presets.begin());
  core().deleteHandlers.front()(std::nullopt);
  mainQueue.runAll();
  EXPECT_EQ(presets().shownName.get(), "");
  EXPECT_EQ(shownRows().front(), "/Alto");
}

TEST_F(PresetsInTheEditor, InLiveModeTheyAreChosenButNeitherSavedNorDeleted) {
  presets().choose("mine");
  loaded();
  state.isLiveModeEnabled.set(true);
  presets().save("New", false);
  presets().removeLoaded();
  EXPECT_TRUE(core().saved.empty());
  EXPECT_TRUE(core().deleted.empty());
  presets().step(1);
  EXPECT_EQ(core().used, (Names{"mine", "a"}));
}

}  // namespace
}  // namespace vrel
