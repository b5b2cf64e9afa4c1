// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QGuiApplication>
#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QWindow>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <set>
#include <string>
#include <utility>

#include "apps/vrel/console_fixture.h"
#include "text/hints.h"
#include "text/text.h"

namespace vrel::app::test {
namespace {

using Controls = std::set<std::string>;

/// Every control that can be seen and used, with what it says when the pointer rests on it.
class EveryHint : public ConsoleFixture {
 protected:
  EveryHint() { QAccessible::setActive(true); }
  ~EveryHint() override { QAccessible::setActive(false); }

  struct Found {
    Controls withHint;
    Controls without;
  };

  [[nodiscard]] Found walk() {
    Found found;
    for (QWindow* const window : QGuiApplication::topLevelWindows()) {
      auto* const top = window->isVisible() ? QAccessible::queryAccessibleInterface(window) : nullptr;
      if (top != nullptr) {
        visit(*top, found);
      }
    }
    return found;
  }

  /// Whether these words can be read within it.
  static bool showsText(const QQuickItem& item, const QString& words) {
    const auto children = item.childItems();
    return item.isVisible() && ((item.inherits("QQuickText") && item.property("text").toString() == words) ||
                                std::any_of(children.begin(), children.end(),
                                            [&](const QQuickItem* child) { return showsText(*child, words); }));
  }

  [[nodiscard]] bool showsBubble(const char* words) {
    return driver.eventually(
        [&] { return showsText(*driver.program().window.quickWindow()->contentItem(), QString::fromUtf8(words)); });
  }
  [[nodiscard]] bool saysWhenPointedAt(const std::string& control, const char* words) {
    if (!driver.eventually([&] { return driver.isShown(control); })) {
      return false;
    }
    driver.pointAt(control);
    return showsBubble(words);
  }

  /// All that is in sight once this is shown has a hint.
  void expectHints(const std::string& shown) {
    ASSERT_TRUE(driver.eventually([&] { return driver.isShown(shown); })) << shown;
    const Found found = walk();
    EXPECT_EQ(found.without, Controls()) << "with " << shown;
    EXPECT_GT(found.withHint.size(), 3U) << "with " << shown;
  }

 private:
  static bool isActionable(QAccessibleInterface& control) {
    auto* const actions = control.actionInterface();
    return control.state().focusable || (actions != nullptr && !actions->actionNames().isEmpty());
  }

  /// What holds controls, and what says in words of its own that there is nothing to choose.
  static bool needsNoHint(QAccessibleInterface& control, const QQuickItem& item) {
    static constexpr std::array roles{QAccessible::List,    QAccessible::Grouping,   QAccessible::ScrollBar,
                                      QAccessible::MenuBar, QAccessible::Window,     QAccessible::Client,
                                      QAccessible::Dialog,  QAccessible::StaticText, QAccessible::Heading};
    static constexpr std::array nothing{TextKey::noRecentFiles, TextKey::visualNoExternalDisplays,
                                        TextKey::audioNoOutputs};
    const auto text = item.property("text").toString().toStdString();
    const bool isNothing = std::any_of(nothing.begin(), nothing.end(),
                                       [&](TextKey key) { return text == vrel::text(key, Language::english); });
    return std::find(roles.begin(), roles.end(), control.role()) != roles.end() || isNothing ||
           item.property("subMenu").value<QObject*>() != nullptr;
  }

  /// The words of its bubble. A row of a list lies under an area that shows them, and has them beside its name; so has
  /// what no pointer finds.
  static std::string hintOf(QAccessibleInterface& control, const QQuickItem& item) {
    const auto parts = item.findChildren<QQuickItem*>(QString(), Qt::FindDirectChildrenOnly);
    for (const QQuickItem* const part : parts) {
      if (part->property("over").value<QQuickItem*>() == &item) {
        return part->property("text").toString().toStdString();
      }
    }
    const bool isUnseen = QLatin1String(item.metaObject()->className()).startsWith(QLatin1String("SpokenAction"));
    const bool isSpoken = isUnseen || control.role() == QAccessible::ListItem;
    return isSpoken ? control.text(QAccessible::Description).toStdString() : "";
  }

  static void visit(QAccessibleInterface& parent, Found& found) {
    for (int child = 0; child < parent.childCount(); ++child) {
      auto* const control = parent.child(child);
      if (control == nullptr || control->state().invisible) {
        continue;
      }
      const auto* const item = qobject_cast<QQuickItem*>(control->object());
      if (item != nullptr && isActionable(*control) && !needsNoHint(*control, *item)) {
        const auto name = item->objectName().toStdString() + " \"" + control->text(QAccessible::Name).toStdString() +
                          "\" " + item->metaObject()->className();
        (hintOf(*control, *item).empty() ? found.without : found.withHint).insert(name);
      }
      visit(*control, found);
    }
  }
};

TEST_F(EveryHint, IsThereInTheWindowInBothModesAndWhileLearning) {
  driver.click("addChannelButton");
  expectHints("strip1");
  EXPECT_GT(walk().withHint.size(), 60U);
  driver.onLogic([](Session& session) {
    session.content().setlistFiles().loadSetlist("/nowhere/at-all.vrel");
    session.content().setlistFiles().damagedSetlist.set("/nowhere/gig.vrel");
    session.engine().channels()[1]->status.set(ChannelStatus::crashed);
  });
  expectHints("failure1");
  expectHints("openNewestCopy");
  driver.click("learnButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.session().isLearning(); }));
  expectHints("performanceSustain");
  driver.key("Escape");
  driver.click("liveButton");
  expectHints("liveBanner");
  driver.click("setup0");
  expectHints("transpose0");
}

TEST_F(EveryHint, IsShownWhenThePointerRestsOnAControlAlsoOnOneThatIsDisabled) {
  EXPECT_TRUE(saysWhenPointedAt("stripInstrument0", "What this strip plays; press to choose"));
  EXPECT_TRUE(saysWhenPointedAt("revive0", "Nothing has failed here"));
  EXPECT_TRUE(
      saysWhenPointedAt("songName0", "Press to play; double click to rename; drag, or Alt and arrows, to move"));
}

TEST_F(EveryHint, IsShownOnMetersTitlesOfMenusPitchesAndAnswers) {
  EXPECT_TRUE(saysWhenPointedAt("fader0Meter", "What is heard; the line keeps the last peak"));
  EXPECT_TRUE(saysWhenPointedAt("menu2", "Opens the menu; the arrow keys move through it"));
  driver.click("pitchPicker");
  EXPECT_TRUE(saysWhenPointedAt("pitch2", "Lowest key shown"));
  driver.key("Escape");
  driver.program().window.quickWindow()->close();
  expectHints("alertButton0");
  EXPECT_TRUE(saysWhenPointedAt("alertButton0", "Return gives this answer"));
  EXPECT_TRUE(saysWhenPointedAt("alertButton1", "Tab moves to this answer, Return gives it"));
}

TEST_F(EveryHint, ChangesItsLanguageWhileItIsShown) {
  ASSERT_TRUE(saysWhenPointedAt("stripInstrument0", "What this strip plays; press to choose"));
  driver.onLogic([](Session& session) { session.content().setLanguage(Language::spanish); });
  const auto spanish = std::string(hintText(Hint::instrument, Language::spanish));
  EXPECT_TRUE(showsBubble(spanish.c_str()));
}

TEST_F(EveryHint, GoesWithAControlThatIsTakenAwayUnderThePointer) {
  QQuickItem* const button = driver.find("stripInstrument0");
  ASSERT_NE(button, nullptr);
  QPointer<QObject> bubble;
  driver.pointAt("stripInstrument0");
  ASSERT_TRUE(driver.eventually([&] { return (bubble = button->findChild<QObject*>("hintBubble")) != nullptr; }));
  auto* const delay = bubble->findChild<QObject*>("hintDelay");
  ASSERT_NE(delay, nullptr);
  QQuickItem* const place = button->parentItem();
  button->setParentItem(nullptr);
  ASSERT_TRUE(QMetaObject::invokeMethod(delay, "triggered"));
  EXPECT_FALSE(bubble->property("visible").toBool()) << "there is no window for it any more";
  EXPECT_TRUE(driver.eventually([&] { return bubble == nullptr; }));
  button->setParentItem(place);
}

TEST_F(EveryHint, IsThereInThePanels) {
  driver.click("stripInstrument0");
  expectHints("instrumentPanel");
  driver.key("Escape");
  driver.onLogic([](Session& session) {
    auto& strip = *session.engine().channels()[0];
    strip.effectSlots.set({{.pluginPath = "aucd:1:2:3", .pluginName = "Old Hall"}});
    strip.failedEffects.set({strip.effectSlots.get().front().id});
    MidiControlAssignment learned;
    learned.target.kind = MidiControlKind::panic;
    session.state().globalMidiControlAssignments.set({learned});
  });
  driver.click("rack0");
  expectHints("reviveEffect0");
  driver.key("Escape");
  driver.onLogic([](Session& session) { session.content().learnedControls().isShown.set(true); });
  expectHints("forgetLearned0");
  driver.key("Escape");
  driver.onLogic([](Session& session) { session.content().songControlPage().isShown.set(true); });
  expectHints("learnNextSongButton");
  driver.key("Escape");
  driver.click("stripNumber0");
  expectHints("colorPanelClose");
}

TEST_F(EveryHint, IsThereInTheEditorsOfTracksAndClips) {
  driver.onLogic([](Session& session) {
    session.content().instrumentSelector().open(*session.engine().channels()[0]);
    session.content().instrumentSelector().pickPlayback();
  });
  expectHints("trackPanel");
  driver.click("trackCancel");
  driver.onLogic([](Session& session) {
    session.content().instrumentSelector().open(*session.engine().channels()[0]);
    session.content().instrumentSelector().pickVisual();
  });
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("addClip"); }));
  driver.click("addClip");
  expectHints("clipDelete0");
  driver.click("clipCancel");
}

/// With the window of an effect that has a control of each kind, and presets.
class EveryHintOfAPlugIn : public EveryHint {
 protected:
  EveryHintOfAPlugIn() { ::setenv("LV2_PATH", VREL_ZOO_PATH, 1); }
  ~EveryHintOfAPlugIn() override {
    driver.close();
    ::setenv("LV2_PATH", VREL_KNOWN_BUNDLES, 1);
  }
};

TEST_F(EveryHintOfAPlugIn, IsThereInItsWindow) {
  driver.click("rack0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("effectSearch"); }));
  driver.click("effectSearch");
  driver.type("Zoo Panel");
  ASSERT_TRUE(driver.eventually([this] { return driver.value("effect0", "name").toString() == "Zoo Panel"; }));
  driver.key("Return");
  ASSERT_TRUE(driver.eventually([this] { return driver.value("openEffect0", "enabled").toBool(); }));
  driver.click("openEffect0");
  expectHints("presetName");
  driver.click("savePreset");
  expectHints("presetNameField");
  driver.click("presetName");
  expectHints("preset0");
}

TEST_F(EveryHint, IsThereOnTheLinesOfTheMenus) {
  driver.rightClick("stripNumber0");
  expectHints("stripMenuPaste");
  driver.key("Escape");
  driver.rightClick("songName0");
  expectHints("songMenuRename");
  driver.click("songMenuRename");
  expectHints("songNameField");
  driver.key("Return");
  driver.click("languagePicker");
  expectHints("language4");
  driver.key("Escape");
  driver.click("pitchPicker");
  expectHints("pitch0");
  driver.key("Escape");
  for (const auto& [menu, line] : {std::pair("VREL", "Quit VREL"),
                                   {"File", "Save As..."},
                                   {"Edit", "Undo"},
                                   {"Mode", "Clear All MIDI Learn"},
                                   {"Visual", "Close Projection"},
                                   {"Help", "VREL Help"}}) {
    driver.click(menu);
    expectHints(line);
    driver.key("Escape");
    ASSERT_TRUE(driver.eventually([this, line = line] { return !driver.isShown(line); })) << line;
  }
}

}  // namespace
}  // namespace vrel::app::test
