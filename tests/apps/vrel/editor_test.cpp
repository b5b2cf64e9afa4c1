// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QAccessible>
#include <QQuickItem>
#include <QQuickWindow>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "apps/vrel/editor_fixture.h"
#include "apps/vrel/spoken_window.h"
#include "apps/vrel/window_looks.h"
#include "system/plugins/lv2/preset_answers.h"
#include "text/text.h"

namespace vrel::app::test {
namespace {

TEST_F(EditorWindow, AKnobIsTurnedByPointerAndIsSavedWithTheSong) {
  openPanel();
  EXPECT_EQ(editor()->title(), driver.strip(0).name() + QStringLiteral(" - Zoo Panel Editor (Generic)"));
  EXPECT_EQ(editor()->transientParent(), driver.program().window.quickWindow());
  driver.onLogic([](Session& session) { session.state().isDirty.set(false); });
  driver.drag("control0Slider", "control0Slider", {0.9, 0.5}, {0.5, 0.5});
  EXPECT_TRUE(becomes(2, [](float value) { return value > 2; })) << effectValue(2);
  EXPECT_TRUE(driver.eventually([this] { return driver.session().isDirty(); }));
  EXPECT_TRUE(
      driver.eventually([this] { return driver.value("control0Value", "valueText").toString().toFloat() > 2; }));
  EXPECT_EQ(storedLevel(), effectValue(2)) << "captured with the song";
  driver.doubleClick("control0Slider");
  EXPECT_TRUE(becomes(2, 1.0F)) << "the default";
}

TEST_F(EditorWindow, AValueIsTypedAndAWrongOneChangesNothing) {
  openPanel();
  driver.click("control1Value");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("control1ValueField"); }));
  driver.type("440 hz");
  driver.key("Return");
  EXPECT_TRUE(becomes(3, 440.0F));
  EXPECT_TRUE(driver.eventually([this] { return driver.value("control1Value", "valueText").toString() == "440 Hz"; }));
  driver.click("control1Value");
  driver.type("loud");
  driver.key("Return");
  driver.click("control2Toggle");
  EXPECT_TRUE(becomes(4, 0.0F)) << "in order behind the wrong value";
  EXPECT_EQ(effectValue(3), 440.0F);
}

TEST_F(EditorWindow, ArrowsStepAndShiftStepsFinely) {
  openPanel();
  driver.click("control3Slider");
  driver.key("Up");
  EXPECT_TRUE(becomes(5, 5.0F)) << "a whole number";
  driver.click("control0Slider");
  driver.key("Right");
  EXPECT_TRUE(becomes(2, 1.04F)) << effectValue(2);
  driver.key("shift+Left");
  EXPECT_TRUE(becomes(2, [](float value) { return value > 1.03F && value < 1.04F; })) << effectValue(2);
}

TEST_F(EditorWindow, AnExpensiveControlChangesAtTheEndOfItsDrag) {
  openPanel();
  driver.click("controlSearch");
  driver.type("size");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("control8Slider") && !driver.isShown("control0"); }));
  const float before = effectValue(10);
  driver.press("control8Slider", {0.9, 0.5});
  driver.moveTo("control8Slider", {0.2, 0.5});
  EXPECT_TRUE(driver.eventually([this] { return driver.value("control8Slider", "shownPosition").toDouble() < 0.5; }));
  EXPECT_EQ(effectValue(10), before);
  driver.release();
  EXPECT_TRUE(becomes(10, [before](float value) { return value < before; }));
}

TEST_F(EditorWindow, ASearchLeavesWhatItFindsAndHeadingsNameTheGroups) {
  openPanel();
  EXPECT_TRUE(driver.isShown("controlHeading"));
  EXPECT_FALSE(driver.isShown("control7")) << "not for people";
  driver.click("controlSearch");
  driver.type("cut");
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("control0"); }));
  EXPECT_TRUE(driver.isShown("control1"));
  driver.type("zzz");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("nothingFound"); }));
}

TEST_F(EditorWindow, AChoiceIsMadeByItsWord) {
  openPanel();
  driver.click("controlSearch");
  driver.type("shape");
  ASSERT_TRUE(driver.eventually([this] { return !driver.isShown("control0"); }));
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("control4Choice"); }));
  EXPECT_EQ(driver.value("control4Choice", "displayText").toString(), QStringLiteral("Saw"));
  driver.click("control4Choice");
  driver.key("Down");
  driver.key("Return");
  EXPECT_TRUE(becomes(6, 2.0F));
  EXPECT_TRUE(
      driver.eventually([this] { return driver.value("control4Choice", "displayText").toString() == "Square"; }));
}

TEST_F(EditorWindow, AControlIsLearnedByAPressAndMovedByItsHardware) {
  openPanel();
  driver.click("learnButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("control0Learn"); }));
  EXPECT_FALSE(driver.isShown("control10Learn")) << "a meter";
  driver.click("control0Learn");
  ASSERT_TRUE(driver.eventually([this] { return driver.value("control0Learn", "isPending").toBool(); }));
  const auto turn = [this](std::uint8_t to) {
    driver.onLogic([to](Session& session) { session.engine().routeMIDI(0xB0, 20, to); });
  };
  turn(1);
  ASSERT_TRUE(driver.eventually([this] { return !driver.isShown("control0Learn"); }));
  EXPECT_TRUE(driver.eventually([&] {
    turn(127);
    return effectValue(2) == 4.0F;
  }));
}

TEST_F(EditorWindow, AControlIsLearnedByKeys) {
  openPanel();
  driver.onLogic([](Session& session) { session.content().midiLearn().toggleMidiLearnMode(); });
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("control1Learn"); }));
  driver.find("control1Learn")->forceActiveFocus(Qt::TabFocusReason);
  driver.key("space");
  EXPECT_TRUE(driver.eventually([this] { return driver.value("control1Learn", "isPending").toBool(); }));
  EXPECT_EQ(effectValue(3), 1000.0F) << "is not moved meanwhile";
}

TEST_F(EditorWindow, AFileIsChosenAndWhatThePlugInMakesOfItIsShown) {
  isOnMaster_ = true;
  const auto file = driver.home() / "a.wav";
  std::ofstream(file) << "a sample";
  addEffect("Zoo Patched");
  driver.click("openEffect0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("control2File"); }));
  driver.click("control2File");
  driver.answerPanel(file);
  EXPECT_TRUE(driver.eventually([this] { return driver.value("control2File", "text").toString() == "a.wav"; }));
  EXPECT_TRUE(driver.eventually([this] {
    return driver.value("control1Value", "valueText").toString().toFloat() == 2;
  })) << "by the plug-in itself";
  EXPECT_TRUE(driver.session().isDirty());
}

TEST_F(EditorWindow, TextAndANumberWithoutBoundsAreTyped) {
  isOnMaster_ = true;
  addEffect("Zoo Patched");
  driver.click("openEffect0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("controlSearch"); }));
  const auto enter = [this](const std::string& name, const std::string& field, const std::string& text) {
    driver.click("controlSearch");
    driver.key("ctrl+a");
    driver.type(name);
    ASSERT_TRUE(driver.eventually([&] { return driver.isShown(field) && !driver.isShown("control0"); }));
    driver.click(field);
    driver.type(text);
    driver.key("Return");
    EXPECT_TRUE(driver.eventually([&] { return driver.value(field, "valueText").toString().toStdString() == text; }));
  };
  driver.onLogic([](Session& session) { session.state().isDirty.set(false); });
  enter("Words", "control8Value", "Grand Piano");
  EXPECT_TRUE(driver.session().isDirty());
  enter("Seed", "control6Value", "2000");
  EXPECT_FALSE(driver.isShown("control6Slider")) << "it has no travel";
}

TEST_F(EditorWindow, WhatThePlugInShowsMoves) {
  isOnMaster_ = true;
  openPanel();
  EXPECT_TRUE(driver.eventually([this] { return effectValue(12) == 1000.0F; })) << "after its first block";
  driver.onLogic([this](Session& session) {
    owner(session).effectNodes.get().begin()->second->auAudioUnit().setParameterValue(3, 20000);
  });
  EXPECT_TRUE(driver.eventually([this] { return driver.value("control10Slider", "shownPosition").toDouble() == 1; }));
  EXPECT_TRUE(driver.eventually([this] { return driver.value("control1Slider", "shownPosition").toDouble() == 1; }));
}

TEST_F(EditorWindow, PresetsAreChosenByPointerAndArrowKeysAndShowTheirValues) {
  openPanel();
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("presetName"); }));
  driver.onLogic([](Session& session) { session.state().isDirty.set(false); });
  driver.click("presetName");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("preset4"); }));
  driver.click("preset4");
  EXPECT_TRUE(becomes(2, 0.5F));
  EXPECT_TRUE(driver.eventually([this] { return driver.session().isDirty(); }));
  EXPECT_TRUE(driver.eventually([this] { return driver.value("preset4", "isCurrent").toBool(); }));
  EXPECT_EQ(storedLevel(), 0.5F) << "captured with the song";
  driver.click("presetSearch");
  driver.type("bass");
  ASSERT_TRUE(driver.eventually([this] { return !driver.isShown("preset2"); })) << "by the name of the bank";
  driver.key("Down");
  EXPECT_TRUE(becomes(2, 2.0F)) << "from within the search";
  driver.key("Escape");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("control0Slider"); }));
  driver.click("previousPreset");
  EXPECT_TRUE(becomes(2, 0.5F));
  EXPECT_TRUE(driver.eventually(
      [this] { return driver.value("presetName", "spokenName").toString() == QLatin1String("deep"); }));
  driver.doubleClick("control0Slider");
  EXPECT_TRUE(driver.eventually([this] {
    return driver.value("presetName", "text").toString().contains(QStringLiteral("\u25cf"));
  })) << "changed since";
}

TEST_F(EditorWindow, APresetThatCannotBeLoadedSaysSo) {
  openPanel();
  driver.click("presetName");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("preset0"); }));
  driver.click("preset0");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("presetProblem"); }));
  EXPECT_EQ(driver.value("presetName", "spokenName").toString(), driver.texts().noPreset());
}

/// With a home of its own to save presets in.
class PresetWindow : public EditorWindow {
 protected:
  lv2::OwnHome home_;
};

TEST_F(PresetWindow, APresetIsSavedReplacedAndDeleted) {
  openPanel();
  driver.click("savePreset");
  driver.type("Mine");
  driver.key("Return");
  const auto isShownAs = [this](const QString& name) {
    return driver.eventually([&] { return driver.value("presetName", "spokenName").toString() == name; });
  };
  ASSERT_TRUE(isShownAs(QStringLiteral("Mine")));
  driver.doubleClick("control0Slider");
  driver.drag("control0Slider", "control0Slider", {0.9, 0.5}, {0.5, 0.5});
  EXPECT_TRUE(isShownAs(QStringLiteral("Mine, ") + driver.texts().presetChanged()));
  driver.click("savePreset");
  driver.key("Return");
  EXPECT_EQ(driver.value("confirmPreset", "text").toString(), driver.texts().replacePreset()) << "it asks";
  driver.click("confirmPreset");
  EXPECT_TRUE(isShownAs(QStringLiteral("Mine")));
  driver.click("deletePreset");
  EXPECT_FALSE(std::filesystem::is_empty(home_.bundles()));
  driver.click("deletePreset");
  EXPECT_TRUE(isShownAs(driver.texts().noPreset()));
  EXPECT_TRUE(std::filesystem::is_empty(home_.bundles()));
}

TEST_F(EditorWindow, NoWordIsCutOffInAnyLanguageAndEveryControlHasANameARoleAndItsValue) {
  openPanel();
  QAccessible::setActive(true);
  driver.click("savePreset");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("presetNameField"); }));
  const auto words = [] { return WindowLooks(*qobject_cast<QQuickWindow*>(editor())->contentItem()).cutOffWords(); };
  for (const Language language : allLanguages) {
    driver.onLogic([language](Session& session) { session.content().setLanguage(language); });
    ASSERT_TRUE(driver.eventually([&] { return driver.texts().language() == static_cast<int>(language); }));
    EXPECT_TRUE(driver.eventually([&] { return words().empty(); }))
        << code(language) << testing::PrintToString(words());
  }
  EXPECT_TRUE(driver.eventually([this] { return SpokenWindow::has(driver.find("presetNameField")); }));
  EXPECT_EQ(SpokenWindow::faults(), std::vector<std::string>());
  driver.click("presetName");
  EXPECT_TRUE(driver.eventually([this] { return SpokenWindow::has(driver.find("preset0")); }));
  EXPECT_EQ(SpokenWindow::faults(), std::vector<std::string>());
  QAccessible::setActive(false);
}

TEST_F(EditorWindow, ASecondPressAndTheRemovalOfTheEffectCloseIt) {
  openPanel();
  driver.click("openEffect0");
  EXPECT_TRUE(closes());
  driver.click("openEffect0");
  ASSERT_TRUE(driver.eventually([] { return editor() != nullptr; }));
  driver.onLogic([](Session& session) {
    auto& channel = *session.engine().channels()[0];
    session.engine().effects().removeEffectSlot(channel, channel.effectSlots.get()[0].id);
  });
  EXPECT_TRUE(closes());
}

TEST_F(EditorWindow, ItsOwnButtonClosesItAndTheNextPressOpensIt) {
  openPanel();
  editor()->close();
  EXPECT_TRUE(closes());
  driver.click("openEffect0");
  EXPECT_TRUE(driver.eventually([] { return editor() != nullptr; }));
}

TEST_F(EditorWindow, InLiveModeItOpensAndTheStageKeysReachTheConsole) {
  addEffect("Zoo Panel");
  goLive();
  driver.click("openEffect0");
  ASSERT_TRUE(driver.eventually([] { return editor() != nullptr && editor()->isActive(); }));
  driver.key("1");
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).mute(); }));
}

TEST_F(EditorWindow, AnInstrumentsMenuOpensIts) {
  driver.click("stripInstrument0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("instrumentPanel"); }));
  driver.type("Zoo Sine");
  ASSERT_TRUE(
      driver.eventually([this] { return driver.value("plugin0", "name").toString() == QLatin1String("Zoo Sine"); }));
  driver.key("Return");
  ASSERT_TRUE(driver.eventually(
      [this] { return driver.strip(0).instrument() == window::StripViewModel::Instrument::Present; }));
  ASSERT_TRUE(driver.eventually([this] { return !driver.session().isLoading(); }));
  driver.click("stripInstrument0");
  driver.click(driver.texts().openEffect().toStdString());
  ASSERT_TRUE(driver.eventually([] { return editor() != nullptr; }));
  EXPECT_EQ(editor()->title(), driver.strip(0).name() + QStringLiteral(" - Zoo Sine Editor (Generic)"));
}

TEST_F(EditorWindow, AThousandControlsMakeItemsForWhatIsInSight) {
  addEffect("Zoo Many");
  driver.click("openEffect0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("control0"); }));
  EXPECT_EQ(driver.value("controlList", "count").toInt(), 1005);
  EXPECT_FALSE(driver.isShown("control900"));
}

}  // namespace
}  // namespace vrel::app::test
