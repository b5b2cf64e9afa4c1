// SPDX-License-Identifier: GPL-3.0-or-later
// The editor of a plug-in in a window of its own: what it shows and turns, and how the window behaves.

#include <X11/keysym.h>
#include <dlfcn.h>

#include <chrono>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "system/plugins/editor/editor_stage.h"

namespace vrel::editor {
namespace {

class NativeEditor : public EditorStage {
 protected:
  [[nodiscard]] float value(AUParameterAddress port) { return unit_->auAudioUnit().parameterValue(port); }

  [[nodiscard]] double storedLevel() {
    const auto state = *unit_->auAudioUnit().fullStateForDocument();
    return std::get<double>(std::get<PropertyListDictionary>(state.at("ports").content).at("level").content);
  }
};

TEST_F(NativeEditor, IsFoundBehindThoseThatCannotBeOpenedAndLiesWithinATitledWindow) {
  const auto main = desktop.cover();
  editors_->setMainWindow(main);
  const auto editor = open(*unit_, "Keys - Zoo Window Editor");
  const auto window = desktop.find("Keys - Zoo Window Editor");
  ASSERT_NE(window, 0U);
  EXPECT_EQ(desktop.sizeOf(window), (EditorSize{760, 520}));
  EXPECT_EQ(desktop.sizeOf(desktop.childOf(window)), (EditorSize{300, 200}));
  EXPECT_EQ(desktop.transientFor(window), main);
  EXPECT_EQ(editor->view->measuredSize(), (NSSize{300, 200}));
  EXPECT_TRUE(editor->panel->isVisible());
  editor->panel->close();
  EXPECT_FALSE(editor->panel->isVisible());
  EXPECT_TRUE(comes([&] { return desktop.find("Keys - Zoo Window Editor") == 0; }));
}

TEST_F(NativeEditor, APlugInWithoutOneHasNone) {
  EXPECT_EQ(request(*make("urn:vrel:zoo:panel").unit), nullptr);
}

TEST_F(NativeEditor, OneOfGtk2IsShownWhereThatIsInstalled) {
  void* const gtk = ::dlopen("libgtk-x11-2.0.so.0", RTLD_LAZY | RTLD_LOCAL);
  const bool isInstalled = gtk != nullptr;
  unit_ = make("urn:vrel:zoo:oldwindow").unit;
  const auto editor = show(*unit_);
  if (!isInstalled) {
    EXPECT_TRUE(comes([&] { return editor->failures == 1; }));
    EXPECT_TRUE(hasLogged("needs Gtk 2, which is not installed"));
    return;
  }
  ::dlclose(gtk);
  ASSERT_TRUE(comes([&] { return editor->arrivals == 1; })) << testing::PrintToString(lines());
  const auto window = desktop.find("Editor");
  EXPECT_TRUE(comes([&] { return desktop.sizeOf(desktop.childOf(window)) == EditorSize{320, 240}; }));
  EXPECT_TRUE(comes([&] { return desktop.colors(window) > 4; })) << "it is drawn";
  desktop.click(desktop.childOf(window), 100, 100);
  EXPECT_TRUE(comes([&] { return value(level) == 0.25F; }));
  editor->panel->close();
  EXPECT_TRUE(allAreGone());
  EXPECT_FALSE(hasLogged("editor of plug-in")) << testing::PrintToString(lines());
}

TEST_F(NativeEditor, WithoutADisplayThereIsNone) {
  const std::string display = ::getenv("DISPLAY");
  ::unsetenv("DISPLAY");
  EXPECT_EQ(request(*unit_), nullptr);
  ::setenv("DISPLAY", display.c_str(), 1);
}

TEST_F(NativeEditor, WhatIsTurnedInItIsHeardStoredAndAnEdit) {
  const auto editor = open(*unit_);
  desktop.press(desktop.childOf(desktop.find("Editor")), 50, 10);
  ASSERT_TRUE(comes([&] { return value(level) == 0.5F; }));
  EXPECT_TRUE(comes([&] { return edits == 1; }));
  EXPECT_EQ(storedLevel(), 0.5) << "although no block has come";
  lv2::Player player(unit_);
  EXPECT_EQ(player.block(64, {std::vector<float>(64, 0.5F)}).left, std::vector<float>(64, 0.25F));
  desktop.press(desktop.childOf(desktop.find("Editor")), 200, 10);
  EXPECT_TRUE(comes([&] { return value(level) == 2.0F && edits == 2; }));
  desktop.press(desktop.childOf(desktop.find("Editor")), 299, 10);
  EXPECT_TRUE(comes([&] { return edits == 3; }));
  editor->panel->close();
}

TEST_F(NativeEditor, AValueThatTheControlHasAlreadyIsNoEdit) {
  const auto editor = open(*unit_);
  desktop.press(desktop.childOf(desktop.find("Editor")), 100, 10);
  desktop.press(desktop.childOf(desktop.find("Editor")), 50, 10);
  EXPECT_TRUE(comes([&] { return value(level) == 0.5F && edits > 0; }));
  EXPECT_EQ(edits, 1);
  editor->panel->close();
}

TEST_F(NativeEditor, WhichControlIsTurnedInItIsReportedAndNotWhatIsTurnedElsewhere) {
  const auto editor = open(*unit_);
  unit_->auAudioUnit().setParameterValue(width, 400);
  EXPECT_TRUE(comes([&] { return editor->resizes > 0; }));
  EXPECT_TRUE(editor->turned.empty());
  desktop.press(desktop.childOf(desktop.find("Editor")), 50, 10);
  EXPECT_TRUE(comes([&] { return editor->turned == std::vector{level}; }));
  editor->panel->close();
}

TEST_F(NativeEditor, ItAsksForAFileOfAParameterThatIsOneAndForNothingElse) {
  const auto editor = open(*unit_);
  desktop.press(desktop.childOf(desktop.find("Editor")), 50, 180);
  EXPECT_TRUE(comes([&] { return value(level) != 1.0F; }));
  EXPECT_EQ(value(level), 0.25F) << "the others are refused";
  EXPECT_TRUE(comes([&] { return !editor->requestedFiles.empty(); }));
  EXPECT_EQ(editor->requestedFiles, std::vector<std::string>{"urn:vrel:zoo:window#file"});
  editor->panel->close();
}

TEST_F(NativeEditor, WhatIsTurnedElsewhereIsShownInIt) {
  unit_->auAudioUnit().setParameterValue(width, 400);
  const auto editor = open(*unit_);
  EXPECT_EQ(desktop.sizeOf(desktop.childOf(desktop.find("Editor"))), (EditorSize{400, 200})) << "from the beginning";
  unit_->auAudioUnit().setParameterValue(width, 500);
  EXPECT_TRUE(comes([&] { return desktop.sizeOf(desktop.childOf(desktop.find("Editor"))).width == 500; }));
  EXPECT_TRUE(comes([&] { return editor->resizes > 0 && editor->view->measuredSize() == NSSize{500, 200}; }));
  EXPECT_EQ(edits, 0);
  editor->panel->close();
}

TEST_F(NativeEditor, AMessageReachesThePlugInAndItsAnswerTheEditor) {
  misbehave("message");
  const auto editor = open(*unit_);
  lv2::Player player(unit_);
  EXPECT_TRUE(comes([&] {
    (void)player.block(64, {std::vector<float>(64)});
    return value(level) != 1.0F;
  }));
  EXPECT_EQ(value(level), 0.125F) << "with the same URIs, whose numbers differ in both processes";
  editor->panel->close();
}

TEST_F(NativeEditor, AWindowThatIsFittedHasItsViewInTheMiddleOrAtItsCorner) {
  const auto editor = open(*unit_);
  editor->panel->setContentSize({900, 600});
  EXPECT_TRUE(comes([&] { return desktop.sizeOf(desktop.find("Editor")) == EditorSize{900, 600}; }));
  editor->panel->close();
}

TEST_F(NativeEditor, ClosedByTheWindowManagerItIsGoneAndTheNextOneIsNew) {
  auto editor = open(*unit_);
  const int process = editorProcess();
  ASSERT_NE(process, 0);
  desktop.askToClose(desktop.find("Editor"));
  EXPECT_TRUE(comes([&] { return !editor->panel->isVisible(); }));
  EXPECT_TRUE(allAreGone());
  EXPECT_EQ(editor->failures, 0);
  EXPECT_FALSE(hasLogged("editor of plug-in")) << testing::PrintToString(lines());
  editor = open(*unit_);
  EXPECT_NE(editorProcess(), process);
  editor->panel->close();
}

TEST_F(NativeEditor, ThatEndsByItselfIsClosed) {
  misbehave("end");
  const auto editor = show(*unit_);
  EXPECT_TRUE(comes([&] { return !editor->panel->isVisible(); }));
  EXPECT_TRUE(allAreGone());
}

TEST_F(NativeEditor, IsKeptAboveTheMainWindow) {
  const auto main = desktop.cover();
  editors_->setMainWindow(main);
  const auto editor = open(*unit_);
  const auto window = desktop.find("Editor");
  EXPECT_EQ(desktop.windows().back(), window);
  desktop.raise(main);
  ASSERT_EQ(desktop.windows().back(), main);
  editor->panel->orderAboveMainWindow();
  EXPECT_TRUE(comes([&] { return desktop.windows().back() == window; }));
  editor->panel->close();
}

TEST_F(NativeEditor, KeysThatItDoesNotUseAreTheConsoles) {
  const auto editor = open(*unit_);
  const auto view = desktop.childOf(desktop.find("Editor"));
  desktop.pressKey(view, XK_3);
  desktop.pressKey(view, XK_Down);
  ASSERT_TRUE(comes([&] { return keys.size() == 2; }));
  EXPECT_EQ(keys[0].charactersIgnoringModifiers, "3");
  EXPECT_EQ(keys[1].keyCode, KeyEvent::downArrow);
  editor->panel->close();
}

TEST_F(NativeEditor, OnALayoutWithoutAKeyOfPanicOnlyTheOtherIsTaken) {
  desktop.removeKey(XK_p);
  editors_->takeStageKeys(true);
  const auto editor = open(*unit_);
  const auto window = desktop.find("Editor");
  EXPECT_TRUE(comes([&] { return !desktop.isFree(window, XK_space); }));
  EXPECT_TRUE(desktop.isFree(window, XK_q));
  editor->panel->close();
}

TEST_F(NativeEditor, ThePlugInThatGoesTakesItsControlsAlong) {
  const auto editor = open(*unit_);
  const auto view = desktop.childOf(desktop.find("Editor"));
  unit_.reset();
  desktop.press(view, 50, 10);
  editor->panel->close();
  EXPECT_TRUE(allAreGone());
  EXPECT_EQ(edits, 0);
}

}  // namespace
}  // namespace vrel::editor
