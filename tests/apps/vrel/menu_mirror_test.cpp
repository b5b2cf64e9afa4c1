// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/menu_mirror.h"

#include <gtest/gtest.h>

#include <QKeySequence>
#include <QString>
#include <string>
#include <utility>
#include <vector>

namespace vrel::app {
namespace {

MenuItem command(const std::string& title, const std::string& action, const std::string& object = {}) {
  MenuItem item;
  item.title = title;
  item.hint = "about " + title;
  item.action = action;
  item.representedObject = object;
  return item;
}

/// The only item of the only menu.
window::MenuEntry mirrored(MenuItem item) {
  MenuItem menu;
  menu.title = "File";
  menu.children = {std::move(item)};
  const auto menus = menusForQml({menu});
  EXPECT_EQ(menus.size(), 1);
  EXPECT_EQ(menus.value(0).title, "File");
  EXPECT_EQ(menus.value(0).items.size(), 1);
  return menus.value(0).items.value(0);
}

QString shortcutOf(const std::string& key, ModifierFlags modifiers) {
  MenuItem item = command("Item", "noop");
  item.key = key;
  item.modifiers = modifiers;
  return mirrored(item).shortcut;
}

TEST(MenuMirror, ACommandHasItsActionAndItsObject) {
  const auto item = mirrored(command("Año.vrel", "openRecentSetlist:", "/home/me/Año.vrel"));
  EXPECT_EQ(item.title, QString::fromUtf8("Año.vrel"));
  EXPECT_EQ(item.hint, QString::fromUtf8("about Año.vrel"));
  EXPECT_EQ(item.action, "openRecentSetlist:");
  EXPECT_EQ(item.object, QString::fromUtf8("/home/me/Año.vrel"));
  EXPECT_EQ(item.shortcut, "");
  EXPECT_TRUE(item.isEnabled);
  EXPECT_FALSE(item.isChecked);
  EXPECT_FALSE(item.isSeparator);
  EXPECT_TRUE(item.items.isEmpty());
}

TEST(MenuMirror, CommandIsWhatQtCallsControlAndTheOthersKeepTheirPlaceOnTheKeyboard) {
  const auto command = ModifierFlags::command;
  EXPECT_EQ(shortcutOf("n", command), "Ctrl+N");
  EXPECT_EQ(shortcutOf("S", command | ModifierFlags::shift), "Ctrl+Shift+S");
  EXPECT_EQ(shortcutOf("f", command | ModifierFlags::option), "Ctrl+Alt+F");
  EXPECT_EQ(shortcutOf("k", command | ModifierFlags::control), "Meta+Ctrl+K");
  EXPECT_EQ(shortcutOf("/", command), "Ctrl+/");
  EXPECT_EQ(shortcutOf("", command), "");
}

TEST(MenuMirror, EveryShortcutIsOneThatQtKnows) {
  for (const auto* const key : {"q", "n", "S", "/"}) {
    const auto text = shortcutOf(key, ModifierFlags::command | ModifierFlags::shift);
    const auto sequence = QKeySequence::fromString(text, QKeySequence::PortableText);
    ASSERT_EQ(sequence.count(), 1) << key;
    EXPECT_NE(sequence[0].key(), Qt::Key_unknown) << key;
    EXPECT_EQ(sequence[0].keyboardModifiers(), Qt::ControlModifier | Qt::ShiftModifier) << key;
  }
}

TEST(MenuMirror, MarksStatesAndSeparatorsAreKept) {
  MenuItem checked = command("Live Mode", "modeLive");
  checked.isChecked = true;
  EXPECT_TRUE(mirrored(checked).isChecked);
  MenuItem disabled = command("Save As...", "saveSetlistAs");
  disabled.isEnabled = false;
  EXPECT_FALSE(mirrored(disabled).isEnabled);
  MenuItem line;
  line.isSeparator = true;
  EXPECT_TRUE(mirrored(line).isSeparator);
}

TEST(MenuMirror, AMenuWithinAMenuKeepsItsLinesInTheirOrder) {
  MenuItem recent;
  recent.title = "Open Recent";
  recent.children = {command("a.vrel", "openRecentSetlist:", "/a.vrel"), command("Clear", "clearRecentSetlists")};
  const auto items = mirrored(recent).items;
  ASSERT_EQ(items.size(), 2);
  EXPECT_EQ(items[0].title, "a.vrel");
  EXPECT_EQ(items[1].action, "clearRecentSetlists");
  EXPECT_EQ(items[1].object, "");
}

}  // namespace
}  // namespace vrel::app
