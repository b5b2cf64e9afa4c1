// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/help_window.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "performance/live_mode.h"
#include "text/text.h"

namespace vrel {
namespace {

constexpr Color orange = AppState::accentColor;

class HelpWindow : public testing::Test {
 protected:
  [[nodiscard]] std::string title() const { return std::string(help.view.get().value().title()); }

  VrelHelpWindowController help{HelpSubject::manual};
};

TEST_F(HelpWindow, ASecondShowBringsTheSameWindowForward) {
  help.show(Language::english, orange);
  int changes = 0;
  const auto opened = help.isOpen.changed.connect([&](bool) { ++changes; });
  const auto shown = help.view.changed.connect([&](const auto&) { ++changes; });
  help.show(Language::english, orange);
  EXPECT_EQ(changes, 0) << "no other window, and nothing else in it";
  EXPECT_TRUE(help.isOpen.get());
  EXPECT_EQ(help.raises.get(), 2);
}

TEST_F(HelpWindow, ShownAgainAfterALanguageChangeItIsInTheNewLanguage) {
  help.show(Language::english, orange);
  EXPECT_EQ(title(), "VREL Help");
  EXPECT_EQ(help.view.get()->sections()[0].title, "Setlists and songs");
  help.show(Language::italian, orange);
  EXPECT_EQ(title(), "Aiuto VREL");
  EXPECT_EQ(help.view.get()->sections()[0].title, "Scalette e brani");
}

TEST_F(HelpWindow, ClosedItIsTheSameWindowWhenItOpensAgain) {
  help.show(Language::german, orange);
  const auto before = help.view.get();
  help.close();
  EXPECT_FALSE(help.isOpen.get());
  EXPECT_EQ(help.view.get(), before) << "not released";
  help.show(Language::german, orange);
  EXPECT_TRUE(help.isOpen.get());
  EXPECT_EQ(help.view.get(), before);
}

TEST_F(HelpWindow, TheKeysOfLiveModeArePresentedInTheSameWay) {
  VrelHelpWindowController keys{HelpSubject::liveKeys};
  keys.show(Language::french, orange);
  EXPECT_EQ(keys.view.get()->title(), "Touches du Mode Live");
  EXPECT_EQ(keys.view.get()->sections()[4].title, "Haut / Bas");
}

/// What each heading of the page of keys means.
TEST_F(HelpWindow, EachKeyOnThePageIsACommandOfLiveModeAndNoneIsMissing) {
  using Kind = LiveMode::Command::Kind;
  const auto pressed = [](const char* text, ModifierFlags modifiers = ModifierFlags::none) {
    const auto command = LiveMode::commandFor({text, modifiers, 0});
    return command ? std::optional(command->kind) : std::nullopt;
  };
  const auto arrow = [](std::uint16_t code) { return LiveMode::commandFor({"", ModifierFlags::none, code})->kind; };
  const std::map<std::string, std::set<std::optional<Kind>>> meant{
      {"P / Space", {pressed("p"), pressed(" ")}},
      {"1 - 9", {pressed("1"), pressed("9")}},
      {"0", {pressed("0")}},
      {"Ctrl + 1 - 9", {pressed("1", ModifierFlags::command), pressed("9", ModifierFlags::command)}},
      {"Up / Down", {arrow(KeyEvent::upArrow), arrow(KeyEvent::downArrow)}},
  };
  std::set<std::optional<Kind>> all;
  for (const auto& section : liveKeySections(Language::english)) {
    if (const auto found = meant.find(std::string(section.title)); found != meant.end()) {
      all.insert(found->second.begin(), found->second.end());
    } else {
      EXPECT_EQ(section.title, "Ctrl + Shift + E") << "a command of the menus";
    }
  }
  EXPECT_EQ(all, (std::set<std::optional<Kind>>{Kind::panic, Kind::channelMute, Kind::masterMute, Kind::exclusiveSolo,
                                                Kind::previousSong, Kind::nextSong}));
}

}  // namespace
}  // namespace vrel
