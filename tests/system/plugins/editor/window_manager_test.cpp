// SPDX-License-Identifier: GPL-3.0-or-later
// Editors under a window manager as it is.

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "support/devices/child_process.h"
#include "system/plugins/editor/editor_stage.h"

namespace vrel::editor {
namespace {

class UnderAWindowManager : public EditorStage {
 protected:
  ~UnderAWindowManager() override {
    manager_.end(SIGTERM);
    std::filesystem::remove_all(folder_);
  }

  void SetUp() override {
    std::ofstream(folder_ / "settings") << "<?xml version=\"1.0\"?><JWM></JWM>";
    manager_.start({"jwm", "-f", folder_ / "settings"}, folder_ / "log");
    ASSERT_TRUE(comes([&] { return desktop.hasWindowManager(); }));
  }

  [[nodiscard]] bool areGone() {
    return comes([&] { return editors_->editorCount() == 0 && desktop.clients().empty(); });
  }

 private:
  const std::filesystem::path folder_ = app::test::makeTemporaryFolder();
  system::test::ChildProcess manager_;
};

TEST_F(UnderAWindowManager, EditorsOfAllKindsAreClosedByIt) {
  for (const auto* const name : {"window", "inside", "outside", "shown"}) {
    unit_ = make(std::string("urn:vrel:zoo:") + name).unit;
    const auto editor = open(*unit_);
    ASSERT_TRUE(comes([&] { return desktop.findClient("Editor") != 0; })) << name;
    desktop.closeClient(desktop.findClient("Editor"));
    EXPECT_TRUE(comes([&] { return !editor->panel->isVisible(); })) << name;
    EXPECT_EQ(editor->failures, 0) << name;
    EXPECT_TRUE(areGone()) << name;
  }
}

TEST_F(UnderAWindowManager, EditorsStayAboveTheConsoleThatIsActivated) {
  const auto main = desktop.cover();
  editors_->setMainWindow(main);
  for (const auto* const name : {"window", "shown"}) {
    unit_ = make(std::string("urn:vrel:zoo:") + name).unit;
    const auto editor = open(*unit_);
    ASSERT_TRUE(comes([&] { return desktop.findClient("Editor") != 0; })) << name;
    desktop.activate(main);
    EXPECT_TRUE(comes([&] {
      editor->panel->orderAboveMainWindow();
      return desktop.isAbove(desktop.findClient("Editor"), main);
    })) << name;
    editor->panel->close();
    EXPECT_TRUE(comes([&] { return desktop.findClient("Editor") == 0; })) << name;
  }
}

TEST_F(UnderAWindowManager, AtASongSwitchFiveEditorsGoWithTheirPlugIns) {
  std::vector<std::shared_ptr<AVAudioUnit>> units;
  std::vector<std::shared_ptr<OpenEditor>> editors;
  for (const auto* const name : {"window", "inside", "outside", "outsideold", "shown"}) {
    units.push_back(make(std::string("urn:vrel:zoo:") + name).unit);
    editors.push_back(open(*units.back(), std::string("Editor of ") + name));
  }
  ASSERT_TRUE(comes([&] { return desktop.clients().size() == 5; }));
  for (std::size_t number = 0; number < units.size(); ++number) {
    editors[number]->panel->close();
    units[number].reset();
  }
  EXPECT_TRUE(areGone());
  EXPECT_TRUE(comes([&] { return guestCount() == 1; })) << "the stage's own";
  EXPECT_TRUE(deaths().empty());
  EXPECT_FALSE(hasLogged("as it closed")) << testing::PrintToString(lines());
}

}  // namespace
}  // namespace vrel::editor
