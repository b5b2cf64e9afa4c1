// SPDX-License-Identifier: GPL-3.0-or-later
// Editors that open windows of their own: external ones, by either name, and those with an interface for being shown.

#include <memory>
#include <string>

#include "system/plugins/editor/editor_stage.h"

namespace vrel::editor {
namespace {

class OutsideEditor : public EditorStage, public testing::WithParamInterface<const char*> {
 protected:
  OutsideEditor() { unit_ = make(std::string("urn:vrel:zoo:") + GetParam()).unit; }

  [[nodiscard]] float value(AUParameterAddress port) { return unit_->auAudioUnit().parameterValue(port); }
};

INSTANTIATE_TEST_SUITE_P(Kinds, OutsideEditor, testing::Values("outside", "outsideold", "shown"),
                         [](const auto& tested) { return std::string(tested.param); });

TEST_P(OutsideEditor, OpensATitledWindowAndClosesWithItsButton) {
  const auto editor = open(*unit_, "Keys - Zoo Outside Editor");
  const auto window = desktop.find("Keys - Zoo Outside Editor");
  EXPECT_EQ(desktop.sizeOf(window), (EditorSize{300, 200})) << "it has no window of ours around it";
  editor->panel->setContentSize({900, 600});
  editor->panel->center();
  EXPECT_TRUE(editor->panel->isVisible());
  editor->panel->close();
  EXPECT_TRUE(allAreGone());
  EXPECT_FALSE(hasLogged("editor of plug-in")) << testing::PrintToString(lines());
}

TEST_P(OutsideEditor, WhatIsTurnedInItIsHeardAndWhatIsTurnedElsewhereIsShown) {
  const auto editor = open(*unit_);
  const auto window = desktop.find("Editor");
  desktop.press(window, 50, 10);
  EXPECT_TRUE(comes([&] { return value(level) == 0.5F && edits == 1; }));
  unit_->auAudioUnit().setParameterValue(width, 400);
  EXPECT_TRUE(comes([&] { return desktop.sizeOf(window) == EditorSize{400, 200}; }));
  editor->panel->close();
}

TEST_P(OutsideEditor, ClosedByAPersonItIsGoneAndOpensAgain) {
  auto editor = open(*unit_);
  desktop.askToClose(desktop.find("Editor"));
  EXPECT_TRUE(comes([&] { return !editor->panel->isVisible(); }));
  EXPECT_TRUE(allAreGone());
  EXPECT_EQ(editor->failures, 0);
  EXPECT_FALSE(hasLogged("editor of plug-in")) << testing::PrintToString(lines());
  editor = open(*unit_);
  editor->panel->close();
}

TEST_P(OutsideEditor, IsKeptAboveTheMainWindow) {
  const auto main = desktop.cover();
  editors_->setMainWindow(main);
  const auto editor = open(*unit_);
  const auto window = desktop.find("Editor");
  desktop.raise(main);
  ASSERT_EQ(desktop.windows().back(), main);
  editor->panel->orderAboveMainWindow();
  EXPECT_TRUE(comes([&] { return desktop.windows().back() == window; }));
  EXPECT_EQ(desktop.transientFor(window), main);
  editor->panel->close();
}

/// What goes wrong does so in the same way for all of them.
class ShownEditor : public EditorStage {
 protected:
  ShownEditor() { unit_ = make("urn:vrel:zoo:shown").unit; }
};

TEST_F(ShownEditor, ThatRefusesIsReplaced) {
  misbehave("refuse");
  const auto editor = show(*unit_);
  EXPECT_TRUE(comes([&] { return editor->failures == 1; }));
  EXPECT_TRUE(hasLogged("the editor of plug-in Zoo Outside refused to open; the generic one is shown"));
}

TEST_F(ShownEditor, WithoutAnAnsweringDisplayIsReplaced) {
  const std::string display = ::getenv("DISPLAY");
  ::setenv("DISPLAY", ":9999", 1);
  const auto editor = show(*unit_);
  EXPECT_TRUE(comes([&] { return editor->failures == 1; }));
  EXPECT_TRUE(hasLogged("the editor of plug-in Zoo Outside found no X display; the generic one is shown"));
  ::setenv("DISPLAY", display.c_str(), 1);
}

TEST_F(ShownEditor, ThatCrashesWhileItIsOpenIsGone) {
  misbehave("crash-idle");
  const auto editor = show(*unit_);
  EXPECT_TRUE(comes([&] { return !editor->panel->isVisible(); }));
  EXPECT_TRUE(hasLogged("the editor of plug-in Zoo Outside was killed by signal 11"));
  EXPECT_TRUE(deaths().empty());
}

TEST_F(ShownEditor, ThatHangsIsEndedWhenItIsClosed) {
  misbehave("slow-idle");
  const auto editor = open(*unit_);
  editor->panel->close();
  EXPECT_TRUE(allAreGone());
}

TEST_F(ShownEditor, ThatShowsNothingIsReplaced) {
  misbehave("show-nothing");
  const auto editor = show(*unit_);
  EXPECT_TRUE(comes([&] { return editor->failures == 1; }));
  EXPECT_TRUE(hasLogged("the editor of plug-in Zoo Outside has nothing to show; the generic one is shown"));
}

}  // namespace
}  // namespace vrel::editor
