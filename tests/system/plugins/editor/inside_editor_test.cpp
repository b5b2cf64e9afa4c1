// SPDX-License-Identifier: GPL-3.0-or-later
// The editor that requires the plug-in's own memory, and so runs in the plug-in's process.

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "system/plugins/editor/editor_stage.h"
#include "system/plugins/sandbox/processes.h"

namespace vrel::editor {
namespace {

class InsideEditor : public EditorStage {
 protected:
  InsideEditor() { remake(""); }

  /// The plug-in's process has the fault from its start.
  void remake(const std::string& fault) {
    misbehave(fault);
    unit_ = make("urn:vrel:zoo:inside").unit;
  }

  [[nodiscard]] float value(AUParameterAddress port) { return unit_->auAudioUnit().parameterValue(port); }

  void prepare(double sampleRate) { dynamic_cast<audio::GraphNode&>(*unit_).processor()->prepare(sampleRate); }

  void expectSound() {
    lv2::Player player(unit_);
    EXPECT_EQ(player.block(64, {std::vector<float>(64, 0.5F)}).left, std::vector<float>(64, 0.5F * value(level)));
  }

  [[nodiscard]] static std::ptrdiff_t descriptorsOf(pid_t process) {
    const std::filesystem::directory_iterator all("/proc/" + std::to_string(process) + "/fd");
    return std::distance(begin(all), end(all));
  }
};

TEST_F(InsideEditor, OpensInThePlugInsProcessOnTheThreadThatHasMadeThePlugIn) {
  const auto main = desktop.cover();
  editors_->setMainWindow(main);
  const auto editor = open(*unit_, "Keys - Zoo Inside Editor");
  const auto window = desktop.find("Keys - Zoo Inside Editor");
  EXPECT_EQ(desktop.sizeOf(window), (EditorSize{760, 520}));
  EXPECT_EQ(desktop.sizeOf(desktop.childOf(window)), (EditorSize{300, 200}));
  EXPECT_EQ(desktop.transientFor(window), main);
  EXPECT_EQ(editorProcess(), 0) << "it has no process of its own";
  expectSound();
  editor->panel->close();
  EXPECT_TRUE(comes([&] { return desktop.find("Keys - Zoo Inside Editor") == 0; }));
}

TEST_F(InsideEditor, WhatIsTurnedInItIsHeardAndWhatIsTurnedElsewhereIsShown) {
  const auto editor = open(*unit_);
  const auto view = desktop.childOf(desktop.find("Editor"));
  desktop.press(view, 50, 10);
  ASSERT_TRUE(comes([&] { return value(level) == 0.5F && edits == 1; }));
  expectSound();
  unit_->auAudioUnit().setParameterValue(width, 400);
  EXPECT_TRUE(comes([&] { return desktop.sizeOf(view) == EditorSize{400, 200}; }));
  editor->panel->close();
}

TEST_F(InsideEditor, ClosedByTheWindowManagerItOpensAgain) {
  auto editor = open(*unit_);
  desktop.askToClose(desktop.find("Editor"));
  EXPECT_TRUE(comes([&] { return !editor->panel->isVisible(); }));
  EXPECT_TRUE(allAreGone());
  editor = open(*unit_);
  editor->panel->close();
  EXPECT_TRUE(allAreGone());
  EXPECT_FALSE(hasLogged("editor of plug-in")) << testing::PrintToString(lines());
}

TEST_F(InsideEditor, OpeningsAndClosingsLeaveNothingBehind) {
  open(*unit_)->panel->close();
  ASSERT_TRUE(allAreGone());
  const auto here = sandbox::descriptorCount();
  const auto there = descriptorsOf(processOf(unit_));
  for (int opening = 0; opening < 6; ++opening) {
    const auto editor = opening % 2 == 0 ? open(*unit_) : show(*unit_);
    editor->panel->close();
  }
  EXPECT_TRUE(allAreGone());
  EXPECT_TRUE(comes([&] { return sandbox::descriptorCount() == here; }))
      << sandbox::descriptorCount() << ", not " << here;
  EXPECT_TRUE(comes([&] { return descriptorsOf(processOf(unit_)) == there; }));
  expectSound();
}

TEST_F(InsideEditor, ThatRefusesIsReplacedAndItsPlugInPlays) {
  remake("refuse");
  const auto editor = show(*unit_);
  EXPECT_TRUE(comes([&] { return editor->failures == 1; }));
  EXPECT_TRUE(hasLogged("the editor of plug-in Zoo Inside refused to open; the generic one is shown"));
  EXPECT_TRUE(allAreGone());
  expectSound();
}

TEST_F(InsideEditor, WithoutAnAnsweringDisplayIsReplacedAndItsPlugInPlays) {
  const std::string display = ::getenv("DISPLAY");
  ::setenv("DISPLAY", ":9999", 1);
  remake("");
  const auto editor = show(*unit_);
  ::setenv("DISPLAY", display.c_str(), 1);
  EXPECT_TRUE(comes([&] { return editor->failures == 1; }));
  expectSound();
}

TEST_F(InsideEditor, ThatLosesItsDisplayIsGoneAndItsPlugInPlays) {
  const std::string display = ::getenv("DISPLAY");
  auto lost = std::make_unique<app::test::VirtualDisplay>(640, 480);
  remake("");
  auto editor = open(*unit_);
  ::setenv("DISPLAY", display.c_str(), 1);
  lost.reset();
  EXPECT_TRUE(comes([&] { return !editor->panel->isVisible(); }));
  EXPECT_TRUE(hasLogged("the editor of plug-in Zoo Inside lost its X display")) << testing::PrintToString(lines());
  EXPECT_TRUE(deaths().empty());
  expectSound();
  EXPECT_TRUE(stateOf(unit_));
  EXPECT_TRUE(comes([&] { return editors_->editorCount() == 0; }));
  unit_.reset();
  EXPECT_TRUE(comes([&] { return guestCount() == 1; })) << "the first one of the test";
}

TEST_F(InsideEditor, ThatHasLostItsDisplayDoesNotKeepItsPlugInAtItsOldRate) {
  auto editor = open(*unit_);
  desktop.killOwner(desktop.find("Editor"));
  EXPECT_TRUE(comes([&] { return !editor->panel->isVisible(); }));
  unit_->auAudioUnit().setParameterValue(level, 0.5F);
  prepare(44100);
  editor = open(*unit_);  // which checks that its plug-in was made on its own thread
  EXPECT_FALSE(hasLogged("stays at its old sample rate")) << testing::PrintToString(lines());
  EXPECT_EQ(value(level), 0.5F);
  expectSound();
  editor->panel->close();
  EXPECT_TRUE(allAreGone());
  EXPECT_TRUE(deaths().empty());
  unit_.reset();
  EXPECT_TRUE(comes([&] { return guestCount() == 0; }));
}

TEST_F(InsideEditor, ThatCrashesIsACrashOfItsPlugInAndSaysSo) {
  remake("crash-idle");
  const pid_t process = processOf(unit_);
  const auto editor = show(*unit_);
  EXPECT_TRUE(comes([&] { return !deaths().empty(); }));
  EXPECT_EQ(deaths(), std::vector{process});
  EXPECT_TRUE(comes([&] { return !editor->panel->isVisible(); }));
  EXPECT_TRUE(hasLogged("the editor of plug-in Zoo Inside ended with its plug-in, in whose process it ran"))
      << testing::PrintToString(lines());
}

TEST_F(InsideEditor, ThatHangsHoldsUpNeitherBlocksNorMessagesAndItsWindowGoesWhenItIsClosed) {
  remake("slow-idle");
  auto editor = open(*unit_);
  unit_->auAudioUnit().setParameterValue(level, 0.5F);
  expectSound();
  EXPECT_TRUE(stateOf(unit_));
  prepare(44100);
  EXPECT_TRUE(comes([&] { return hasLogged("Zoo Inside stays at its old sample rate: its editor hangs"); }));
  expectSound();
  editor->panel->close();
  EXPECT_TRUE(allAreGone());
  EXPECT_TRUE(hasLogged("the editor of plug-in Zoo Inside hangs; what is left of it ends with its plug-in"));
  editor = show(*unit_);
  EXPECT_TRUE(comes([&] { return editor->failures == 1; }));
  EXPECT_TRUE(hasLogged("cannot open: the one before it hangs; the generic one is shown"));
  expectSound();
  unit_.reset();
  EXPECT_TRUE(comes([&] { return guestCount() == 1; })) << "the first one of the test";
}

TEST_F(InsideEditor, AnotherSampleRateClosesItSinceItHasTheMemoryOfTheEarlierCopy) {
  auto editor = open(*unit_);
  prepare(44100);
  EXPECT_TRUE(comes([&] { return !editor->panel->isVisible(); }));
  EXPECT_TRUE(allAreGone());
  EXPECT_FALSE(hasLogged("editor of plug-in")) << testing::PrintToString(lines());
  editor = open(*unit_);
  expectSound();
  editor->panel->close();
  EXPECT_TRUE(deaths().empty());
}

TEST_F(InsideEditor, ThePlugInThatGoesTakesItAlong) {
  const auto editor = open(*unit_);
  unit_.reset();
  EXPECT_TRUE(comes([&] { return desktop.find("Editor") == 0 && guestCount() == 0; }));
  editor->panel->close();
  EXPECT_TRUE(allAreGone());
  EXPECT_FALSE(hasLogged("as it closed")) << testing::PrintToString(lines());
}

}  // namespace
}  // namespace vrel::editor
