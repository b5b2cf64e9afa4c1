// SPDX-License-Identifier: GPL-3.0-or-later
// Editors that crash, hang, refuse and resize without end: nothing but their own window is affected.

#include <X11/keysym.h>
#include <signal.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include "system/plugins/editor/editor_stage.h"
#include "system/plugins/sandbox/processes.h"

namespace vrel::editor {
namespace {

class EditorFaults : public EditorStage {
 protected:
  /// The plug-in plays, whatever its editor does.
  void expectSound() {
    lv2::Player player(unit_);
    const float level = unit_->auAudioUnit().parameterValue(2);
    EXPECT_EQ(player.block(64, {std::vector<float>(64, 0.5F)}).left, std::vector<float>(64, 0.5F * level));
    EXPECT_TRUE(deaths().empty());
  }

  void expectFailure(const std::string& how, const std::string& line) {
    misbehave(how);
    const auto editor = show(*unit_);
    EXPECT_TRUE(comes([&] { return editor->failures == 1; })) << how;
    EXPECT_EQ(editor->arrivals, 0) << how;
    EXPECT_TRUE(hasLogged(line)) << testing::PrintToString(lines());
    EXPECT_TRUE(allAreGone()) << how;
    expectSound();
  }

  void expectLoss(const std::string& how, const std::string& line) {
    misbehave(how);
    const auto editor = show(*unit_);
    EXPECT_TRUE(comes([&] { return !editor->panel->isVisible(); })) << how;
    EXPECT_EQ(editor->arrivals, 1) << how;
    EXPECT_EQ(editor->failures, 0) << how << ": nothing is shown in its place";
    EXPECT_TRUE(hasLogged(line)) << testing::PrintToString(lines());
    EXPECT_TRUE(allAreGone()) << how;
    expectSound();
  }
};

TEST_F(EditorFaults, OneThatRefusesIsReplaced) {
  expectFailure("refuse", "the editor of plug-in Zoo Window refused to open; the generic one is shown");
}

TEST_F(EditorFaults, OneThatCrashesAtOpeningIsReplaced) {
  expectFailure("crash-opening", "the editor of plug-in Zoo Window was killed by signal 11; the generic one is shown");
}

TEST_F(EditorFaults, OneWithoutAnAnsweringDisplayIsReplaced) {
  const std::string display = ::getenv("DISPLAY");
  ::setenv("DISPLAY", ":9999", 1);
  expectFailure("", "the editor of plug-in Zoo Window found no X display; the generic one is shown");
  ::setenv("DISPLAY", display.c_str(), 1);
}

TEST_F(EditorFaults, OneThatCrashesWhileItIsOpenIsGone) {
  expectLoss("crash-idle", "the editor of plug-in Zoo Window was killed by signal 11");
}

TEST_F(EditorFaults, OneThatIsKilledIsGone) {
  const auto editor = open(*unit_);
  kill(editorProcess(), SIGKILL);
  EXPECT_TRUE(comes([&] { return !editor->panel->isVisible(); }));
  EXPECT_TRUE(hasLogged("was killed by signal 9"));
  expectSound();
}

TEST_F(EditorFaults, OneThatCrashesAtClosingIsOnlyLogged) {
  misbehave("crash-closing");
  open(*unit_)->panel->close();
  EXPECT_TRUE(allAreGone());
  EXPECT_TRUE(hasLogged("the editor of plug-in Zoo Window was killed by signal 11 as it closed"));
  expectSound();
}

TEST_F(EditorFaults, OneThatIsOpenedAndClosedInOrderIsNotLogged) {
  open(*unit_)->panel->close();
  EXPECT_TRUE(allAreGone());
  EXPECT_FALSE(hasLogged("the editor of plug-in")) << testing::PrintToString(lines());
}

TEST_F(EditorFaults, ThoseThatHangAreEndedWhenTheyAreClosed) {
  for (const auto* const how : {"slow-opening", "slow-idle", "slow-closing"}) {
    misbehave(how);
    const auto editor = how == std::string("slow-opening") ? show(*unit_) : open(*unit_);
    unit_->auAudioUnit().setParameterValue(2, 0.5F);
    expectSound();
    editor->panel->close();
    EXPECT_TRUE(allAreGone()) << how;
  }
  EXPECT_FALSE(hasLogged("as it closed")) << "what is killed here is not a crash";
}

TEST_F(EditorFaults, PanicReachesTheConsoleWhileTheEditorThatHasTheKeyboardHangs) {
  misbehave("slow-idle");
  editors_->takeStageKeys(true);
  const auto editor = open(*unit_);
  const auto window = desktop.find("Editor");
  ASSERT_TRUE(comes([&] { return !desktop.isFree(window, XK_space); }));
  desktop.type(desktop.childOf(window), "space");
  ASSERT_TRUE(comes([&] { return keys.size() == 1; }));
  EXPECT_EQ(keys[0].charactersIgnoringModifiers, " ");
  editor->panel->close();
}

TEST_F(EditorFaults, OneThatIsStoppedIsEndedWhenItIsClosed) {
  const auto editor = open(*unit_);
  sandbox::stop(editorProcess());
  for (int step = 0; step < 1000; ++step) {
    editor->panel->orderAboveMainWindow();
    unit_->auAudioUnit().setParameterValue(2, static_cast<float>(step % 4));
  }
  expectSound();
  editor->panel->close();
  EXPECT_TRUE(allAreGone());
}

TEST_F(EditorFaults, OneThatResizesWithoutEndStaysUsable) {
  misbehave("grow");
  const auto editor = open(*unit_);
  EXPECT_TRUE(comes([&] { return editor->resizes >= 5; }));
  EXPECT_GE(editor->view->measuredSize().width, 305);
  editor->panel->close();
  EXPECT_TRUE(allAreGone());
}

TEST_F(EditorFaults, AnErrorOfX11EndsNothing) {
  misbehave("bad-window");
  const auto editor = open(*unit_);
  EXPECT_TRUE(editor->panel->isVisible());
  editor->panel->close();
}

TEST_F(EditorFaults, WhatAnEditorMayNotWriteIsIgnored) {
  misbehave("write-anything");
  const auto editor = open(*unit_);
  misbehave("");
  unit_->auAudioUnit().setParameterValue(3, 400);
  EXPECT_TRUE(comes([&] { return editor->resizes > 0; })) << "it has come round";
  expectSound();
  EXPECT_EQ(edits, 0);
  EXPECT_EQ(unit_->auAudioUnit().parameterValue(2), 1.0F);
  editor->panel->close();
}

TEST_F(EditorFaults, ThePlugInThatDiesLeavesTheEditorToBeClosed) {
  const auto editor = open(*unit_);
  kill(processOf(unit_), SIGKILL);
  EXPECT_TRUE(comes([&] { return !deaths().empty(); }));
  desktop.press(desktop.childOf(desktop.find("Editor")), 50, 10);
  editor->panel->close();
  EXPECT_TRUE(allAreGone());
}

TEST_F(EditorFaults, OpeningsAndClosingsLeaveNothingBehind) {
  // VREL_EDITOR_OPENINGS=200 for the long run.
  const char* const wanted = ::getenv("VREL_EDITOR_OPENINGS");
  const int openings = wanted != nullptr ? std::stoi(wanted) : 10;
  open(*unit_)->panel->close();
  ASSERT_TRUE(allAreGone());
  const auto descriptors = sandbox::descriptorCount();
  for (int opening = 0; opening < openings; ++opening) {
    const auto editor = opening % 2 == 0 ? open(*unit_) : show(*unit_);
    editor->panel->close();
  }
  EXPECT_TRUE(allAreGone());
  EXPECT_EQ(sandbox::descriptorCount(), descriptors);
  expectSound();
}

TEST_F(EditorFaults, FiveEditorsAreClosedAtOnce) {
  std::vector<std::shared_ptr<AVAudioUnit>> units;
  std::vector<std::shared_ptr<OpenEditor>> editors;
  for (int number = 0; number < 5; ++number) {
    units.push_back(make("urn:vrel:zoo:window").unit);
    misbehave(number == 3 ? "slow-closing" : "");
    editors.push_back(open(*units.back(), "Editor " + std::to_string(number)));
  }
  for (int number = 0; number < 5; ++number) {
    editors[static_cast<std::size_t>(number)]->panel->close();
    units[static_cast<std::size_t>(number)].reset();
  }
  EXPECT_TRUE(allAreGone());
  expectSound();
}

}  // namespace
}  // namespace vrel::editor
