// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QAccessibleValueInterface>
#include <QQuickItem>
#include <QQuickWindow>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "apps/vrel/console_fixture.h"
#include "apps/vrel/opened_pages.h"
#include "apps/vrel/spoken_window.h"

namespace vrel::app::test {
namespace {

/// What a screen reader finds in the window.
class Accessibility : public ConsoleFixture {
 protected:
  Accessibility() { QAccessible::setActive(true); }
  ~Accessibility() override { QAccessible::setActive(false); }

  struct Found {
    std::set<std::string> names;
    std::vector<std::string> nameless;
  };

  [[nodiscard]] Found walk() {
    Found found;
    auto* const top = QAccessible::queryAccessibleInterface(driver.program().window.quickWindow());
    if (top != nullptr) {
      visit(*top, found);
    }
    return found;
  }

 private:
  static bool isInteractive(QAccessibleInterface& item) {
    if (item.state().focusable) {
      return true;
    }
    auto* const actions = item.actionInterface();
    return actions != nullptr && !actions->actionNames().isEmpty();
  }

  static void visit(QAccessibleInterface& item, Found& found) {
    for (int child = 0; child < item.childCount(); ++child) {
      auto* const next = item.child(child);
      if (next == nullptr || next->state().invisible) {
        continue;
      }
      if (isInteractive(*next)) {
        const auto name = next->text(QAccessible::Name).trimmed().toStdString();
        found.names.insert(name);
        if (name.empty()) {
          const auto* const object = next->object();
          found.nameless.push_back(object == nullptr ? "?"
                                                     : std::string(object->metaObject()->className()) + " " +
                                                           object->objectName().toStdString());
        }
      }
      visit(*next, found);
    }
  }
};

TEST_F(Accessibility, EverythingThatCanBeUsedHasAName) {
  const Found found = walk();
  EXPECT_EQ(found.nameless, std::vector<std::string>());
  EXPECT_GT(found.names.size(), 15U) << testing::PrintToString(found.names);
  EXPECT_TRUE(found.names.contains("PANIC")) << testing::PrintToString(found.names);
}

TEST_F(Accessibility, TheAnswersOfAQuestionHaveNames) {
  driver.program().window.quickWindow()->close();
  // It comes up softly, and what cannot be seen is not in the tree.
  EXPECT_TRUE(driver.eventually([this] { return walk().names.contains("Guardar"); }));
  const Found found = walk();
  EXPECT_EQ(found.nameless, std::vector<std::string>());
  for (const auto* answer : {"Guardar", "No guardar", "Cancelar"}) {
    EXPECT_TRUE(found.names.contains(answer)) << answer << " in " << testing::PrintToString(found.names);
  }
}

TEST_F(Accessibility, EveryControlIsAmongThem) {
  driver.click("addChannelButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("strip1"); }));
  const Found found = walk();
  EXPECT_THAT(found.names,
              testing::IsSupersetOf({"PANIC",
                                     "Learn",
                                     "Edit Mode",
                                     "Language",
                                     "01. Untitled Song",
                                     "Add Song",
                                     "TEMPO / METRONOME",
                                     "TEMPO / METRONOME +",
                                     "TEMPO / METRONOME \u2212",
                                     "TAP",
                                     "PERFORMANCE NOTES",
                                     "+ Add Channel",
                                     "1 Piano Lead",
                                     "2 Instrument 2",
                                     "Volume 1 Piano Lead",
                                     "Volume 2 Instrument 2",
                                     "MUTE 1 Piano Lead",
                                     "SOLO 2 Instrument 2",
                                     "Gain 1 Piano Lead",
                                     "Reverb 2 Instrument 2",
                                     "CRASH PLUGIN 1 Piano Lead",
                                     "REVIVE 1 Piano Lead",
                                     "Transpose 1 Piano Lead",
                                     "Split lowest key 1 Piano Lead",
                                     "Split highest key 1 Piano Lead",
                                     "Sustain 1 Piano Lead",
                                     "Expression 1 Piano Lead",
                                     "Rotor 1 Piano Lead",
                                     "Colour of the strip; drag, or Alt and arrows, to move it 1 Piano Lead",
                                     "Colour of the master",
                                     "Volume MASTER",
                                     "MUTE MASTER",
                                     "File",
                                     "Edit",
                                     "Mode"}));
  EXPECT_EQ(found.nameless, std::vector<std::string>());
}

TEST_F(Accessibility, ControlsSayWhatTheyAreAndTheirValue) {
  const auto valueOf = [this](const char* name) {
    auto* const item = QAccessible::queryAccessibleInterface(driver.find(name));
    auto* const value = item == nullptr ? nullptr : item->valueInterface();
    return value == nullptr ? -1000.0 : value->currentValue().toDouble();
  };
  const auto roleOf = [this](const char* name) {
    auto* const item = QAccessible::queryAccessibleInterface(driver.find(name));
    return item == nullptr ? QAccessible::NoRole : item->role();
  };
  EXPECT_EQ(roleOf("gain0"), QAccessible::Dial);
  EXPECT_EQ(valueOf("gain0"), 0.5);
  EXPECT_EQ(roleOf("fader0"), QAccessible::Slider);
  EXPECT_EQ(roleOf("transpose0"), QAccessible::SpinBox);
  EXPECT_EQ(valueOf("transpose0"), 0);
  auto* const send = QAccessible::queryAccessibleInterface(driver.find("sendSustain0"));
  ASSERT_NE(send, nullptr);
  EXPECT_TRUE(send->state().checked);
  ASSERT_NE(send->actionInterface(), nullptr);
  send->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_TRUE(driver.eventually([this] { return !driver.strip(0).sendSustain(); }));
  EXPECT_FALSE(send->state().checked);
  auto* const gain = QAccessible::queryAccessibleInterface(driver.find("gain0"));
  ASSERT_NE(gain->actionInterface(), nullptr);
  gain->actionInterface()->doAction(QAccessibleActionInterface::increaseAction());
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).gain() > 0.51; }));
}

TEST_F(Accessibility, WhatIsShownForAWhileHasNames) {
  const auto expectNamed = [this](const std::string& shown, const std::string& name) {
    EXPECT_TRUE(driver.eventually([&] { return driver.isShown(shown) && walk().names.contains(name); })) << name;
    EXPECT_EQ(walk().nameless, std::vector<std::string>()) << shown;
  };
  driver.click("stripInstrument0");
  expectNamed("instrumentPanel", "Vrel Player");
  expectNamed("instrumentSearch", "Search plugin or manufacturer...");
  driver.key("Escape");
  driver.click("masterRack");
  expectNamed("rackPanel", "Search effect or manufacturer...");
  expectNamed("rackPanel", "Close");
  driver.key("Escape");
  driver.rightClick("stripNumber0");
  expectNamed("stripMenuCut", "Cut Channel");
  driver.key("Escape");
  driver.rightClick("songName0");
  expectNamed("songMenuRename", "Rename Song");
  driver.click("songMenuRename");
  expectNamed("songNameField", "Rename Song");
  driver.key("Return");
  driver.click("languagePicker");
  expectNamed("language1", "ES");
  driver.key("Escape");
  driver.onLogic([](Session& session) { session.content().setlistFiles().loadSetlist("/nowhere/at-all.vrel"); });
  expectNamed("problems", driver.session().problem().toStdString());
  driver.onLogic([](Session& session) { session.content().setlistFiles().damagedSetlist.set("/nowhere/gig.vrel"); });
  expectNamed("openNewestCopy", "Open newest copy");
  driver.click("learnButton");
  expectNamed("learnButton", driver.session().learnLabel().toStdString());
  driver.click("liveButton");
  expectNamed("liveBanner", "Live Mode");
}

TEST_F(Accessibility, EveryControlHasANameARoleAndItsValueOrStateInBothModesAndInEveryPanel) {
  const auto expectWhole = [this](const std::string& shown) {
    ASSERT_TRUE(driver.eventually([&] { return driver.isShown(shown) && SpokenWindow::has(driver.find(shown)); }))
        << shown;
    EXPECT_EQ(SpokenWindow::faults(), std::vector<std::string>()) << shown;
  };
  const auto lookAround = [&] {
    driver.click("rack0");
    expectWhole("rackPanel");
    if (!driver.session().isLive()) {
      driver.click("stripInstrument0");
      expectWhole("instrumentPanel");
      driver.key("Escape");
    }
    driver.key("Escape");
    driver.rightClick("stripNumber0");
    expectWhole("stripMenuCut");
    driver.key("Escape");
    driver.rightClick("songName0");
    expectWhole("songMenuRename");
    driver.key("Escape");
    for (const auto& [menu, line] : {std::pair("File", "Save As..."),
                                     {"Edit", "Copy Channel"},
                                     {"Mode", "Live Mode"},
                                     {"Visual", "Blend Mode"},
                                     {"Settings", "Audio Output"},
                                     {"Help", "VREL Help"}}) {
      driver.click(menu);
      expectWhole(line);
      driver.key("Escape");
      ASSERT_TRUE(driver.eventually([&, gone = line] { return !driver.isShown(gone); })) << line;
    }
    driver.click("learnButton");
    expectWhole("learnButton");
    driver.click("learnButton");
    ASSERT_TRUE(driver.eventually([this] { return !driver.session().isLearning(); }));
  };
  driver.onLogic([](Session& session) {
    fillPages(session);
    session.collector().progress.set(0.4);
  });
  expectWhole("strip0");
  expectWhole("stopCollecting");
  driver.click("stripNumber0");
  expectWhole("swatch0");
  driver.key("Escape");
  for (const auto& page : openedPages()) {
    driver.onLogic(page.open);
    expectWhole(page.first);
    expectWhole(page.name);
    driver.onLogic(page.close);
    ASSERT_TRUE(driver.eventually([&] { return !driver.isShown(page.name); })) << page.name;
  }
  driver.onLogic([](Session& session) { session.state().beginLoadingSession(12, "Loading"); });
  expectWhole("loadingBar");
  driver.onLogic([](Session& session) { session.state().finishLoadingSession(); });
  ASSERT_TRUE(driver.eventually([this] { return !driver.isShown("loadingModal"); }));
  lookAround();
  driver.click("liveButton");
  expectWhole("setup0");
  driver.click("setup0");
  expectWhole("transpose0");
  lookAround();
}

TEST_F(Accessibility, AValueThatIsSetReachesTheStripAndIsNotLostToTheNextOne) {
  const auto set = [this](const char* name, double value) {
    auto* const item = QAccessible::queryAccessibleInterface(driver.find(name));
    ASSERT_NE(item, nullptr) << name;
    ASSERT_NE(item->valueInterface(), nullptr) << name;
    item->valueInterface()->setCurrentValue(value);
  };
  for (const double value : {0.25, 0.75}) {
    set("gain0", value);
    set("reverb0", value);
    set("fader0", value);
    set("masterFader", value);
    EXPECT_TRUE(driver.eventually([&] {
      const auto& strip = driver.strip(0);
      return strip.gain() == value && strip.reverb() == value && strip.volume() == value &&
             driver.value("masterFader", "value").toDouble() == value;
    })) << value;
  }
  set("transpose0", -12);
  set("splitLow0", 40);
  set("splitHigh0", 500);
  set("keyCountSlider", 61);
  EXPECT_TRUE(driver.eventually([this] {
    const auto& strip = driver.strip(0);
    return strip.transpose() == -12 && strip.minNote() == 40 && strip.maxNote() == 127 &&
           driver.session().keyboardKeyCount() == 61;
  })) << driver.session().keyboardKeyCount();
  driver.onLogic([](Session& session) { session.engine().channels()[0]->gain.set(0.5F); });
  EXPECT_TRUE(driver.eventually([this] { return driver.value("gain0", "value").toDouble() == 0.5; }))
      << "it still follows the strip";
}

TEST_F(Accessibility, SongsAndStripsMoveByTheirActions) {
  driver.click("addChannelButton");
  driver.onLogic([](Session& session) {
    session.state().newSongName.set("Two");
    session.content().songList().addSong();
  });
  const auto act = [this](const std::string& name) {
    ASSERT_TRUE(driver.eventually([&] { return SpokenWindow::find(name, QAccessible::Button) != nullptr; })) << name;
    auto* const action = SpokenWindow::find(name, QAccessible::Button)->actionInterface();
    ASSERT_NE(action, nullptr) << name;
    action->doAction(QAccessibleActionInterface::pressAction());
  };
  act("Move Channel Right 1 Piano Lead");
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(1).name() == QLatin1String("Piano Lead"); }));
  act("Move Channel Left 2 Piano Lead");
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).name() == QLatin1String("Piano Lead"); }));
  act("Move Song Up 02. Two");
  EXPECT_TRUE(driver.eventually([this] { return songNames().front() == "02. Two"; }));
  act("Move Song Down 02. Two");
  EXPECT_TRUE(driver.eventually([this] { return songNames().back() == "02. Two"; }));
}

TEST_F(Accessibility, ATextThatIsSetIsTakenWithoutTheCaret) {
  const auto write = [this](const char* name, const char* text) {
    auto* const item = QAccessible::queryAccessibleInterface(driver.find(name));
    ASSERT_NE(item, nullptr) << name;
    item->setText(QAccessible::Value, QLatin1String(text));
  };
  write("tempoField", "93");
  write("notesArea", "capo 2");
  write("stripName0", "Left Hand");
  EXPECT_TRUE(driver.eventually([this] {
    return driver.session().tempoBpm() == 93 && driver.session().songNotes() == QLatin1String("capo 2") &&
           driver.strip(0).name() == QLatin1String("Left Hand");
  }));
  write("tempoField", "allegro");
  EXPECT_TRUE(
      driver.eventually([this] { return driver.value("tempoField", "text").toString() == QLatin1String("93"); }));
}

}  // namespace
}  // namespace vrel::app::test
