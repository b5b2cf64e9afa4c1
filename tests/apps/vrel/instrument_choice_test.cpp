// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "apps/vrel/console_fixture.h"

namespace vrel::app::test {
namespace {

/// The console with the zoo's plug-ins installed, and one empty strip.
class InstrumentChoice : public ConsoleFixture {
 protected:
  InstrumentChoice() { ::setenv("LV2_PATH", VREL_ZOO_PATH, 1); }
  ~InstrumentChoice() override {
    driver.close();
    ::setenv("LV2_PATH", VREL_KNOWN_BUNDLES, 1);
  }

  bool isOpen(bool expected) {
    return driver.eventually([&] { return driver.isShown("instrumentPanel") == expected; });
  }

  bool plays(const std::string& instrument) {
    return driver.eventually([&] {
      return driver.strip(0).status() == window::StripViewModel::Status::Running &&
             driver.strip(0).instrumentText().toStdString() == instrument;
    });
  }

  bool finds(const std::string& first) {
    return driver.eventually(
        [&] { return driver.isShown("plugin0") && driver.value("plugin0", "name").toString().toStdString() == first; });
  }

  /// Opens the selector of the first strip and types a search; it stops the test when this row is not its first.
  void find(const std::string& search, const std::string& first) {
    driver.click("stripInstrument0");
    ASSERT_TRUE(isOpen(true));
    driver.type(search);
    ASSERT_TRUE(finds(first));
  }
};

TEST_F(InstrumentChoice, AnInstrumentIsPutOnAStripWithThePointer) {
  ASSERT_NO_FATAL_FAILURE(find("ZOO SINE", "Zoo Sine"));
  driver.click("plugin0");
  EXPECT_TRUE(plays("Zoo Sine"));
  EXPECT_TRUE(isOpen(false));
  EXPECT_TRUE(driver.session().isDirty());
}

TEST_F(InstrumentChoice, AnInstrumentIsPutOnAStripWithTheKeysAlone) {
  driver.eventually([this] {
    driver.key("shift+Tab");
    return driver.value("stripInstrument0", "activeFocus").toBool();
  });
  ASSERT_TRUE(driver.value("stripInstrument0", "activeFocus").toBool());
  driver.key("space");
  ASSERT_TRUE(isOpen(true));
  driver.type("zoo");
  ASSERT_TRUE(driver.eventually([this] { return driver.value("instrumentList", "count").toInt() > 2; }));
  int row = 0;
  driver.eventually([&] {
    const auto current = "plugin" + std::to_string(row);
    if (driver.value(current, "name").toString() == QLatin1String("Zoo Sine")) {
      return true;
    }
    driver.key("Down");
    ++row;
    return false;
  });
  driver.key("Return");
  EXPECT_TRUE(plays("Zoo Sine"));
  EXPECT_TRUE(isOpen(false));
  EXPECT_TRUE(driver.eventually([this] { return driver.value("stripInstrument0", "activeFocus").toBool(); }))
      << "the focus goes back to where it came from";
}

TEST_F(InstrumentChoice, EscapeClosesWithoutALoadAndTheSearchIsThereAgain) {
  driver.click("stripInstrument0");
  ASSERT_TRUE(isOpen(true));
  driver.type("harpsichord of the moon");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("nothingFound"); }));
  EXPECT_EQ(driver.value("nothingFound", "text").toString(), QStringLiteral("No results"));
  driver.key("Escape");
  EXPECT_TRUE(isOpen(false));
  EXPECT_FALSE(driver.session().isDirty());
  driver.click("stripInstrument0");
  ASSERT_TRUE(isOpen(true));
  EXPECT_EQ(driver.value("instrumentSearch", "text").toString(), QStringLiteral("harpsichord of the moon"));
  driver.click("instrumentPanelClose");
  EXPECT_TRUE(isOpen(false));
}

TEST_F(InstrumentChoice, WhatIsTypedWhenItIsOpenAgainReplacesTheSearchThatIsThere) {
  for (const auto* search : {"Zoo Sine", "Zoo Mono"}) {
    driver.click("stripInstrument0");
    ASSERT_TRUE(isOpen(true));
    driver.type(search);
    EXPECT_TRUE(finds(search)) << driver.value("instrumentSearch", "text").toString().toStdString();
    driver.key("Escape");
    ASSERT_TRUE(isOpen(false));
  }
}

TEST_F(InstrumentChoice, ALoadedStripAsksWhetherToChangeOrRemove) {
  ASSERT_NO_FATAL_FAILURE(find("zoo sine", "Zoo Sine"));
  driver.key("Return");
  ASSERT_TRUE(plays("Zoo Sine"));
  driver.click("stripInstrument0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("changeInstrument"); }));
  driver.click("changeInstrument");
  ASSERT_TRUE(isOpen(true));
  driver.key("Escape");
  ASSERT_TRUE(isOpen(false));
  driver.click("stripInstrument0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("removeInstrument"); }));
  driver.click("removeInstrument");
  EXPECT_TRUE(driver.eventually([this] { return !driver.strip(0).hasInstrument(); }));
}

TEST_F(InstrumentChoice, PanicActsAtTheFirstPressWhileItIsOpen) {
  driver.click("stripInstrument0");
  ASSERT_TRUE(isOpen(true));
  driver.onLogic([](Session& session) { session.state().pressedNotes.set({60}); });
  driver.click("panicButton");
  EXPECT_TRUE(driver.eventually([this] {
    return driver.fromLogic<bool>([](Session& session) { return session.state().pressedNotes.get().empty(); });
  }));
  EXPECT_TRUE(driver.isShown("instrumentPanel"));
}

TEST_F(InstrumentChoice, InLiveModeItClosesAndItsButtonSaysWhyItIsDisabled) {
  driver.click("stripInstrument0");
  ASSERT_TRUE(isOpen(true));
  EXPECT_TRUE(driver.value("stripInstrument0", "enabled").toBool());
  driver.click("liveButton");
  EXPECT_TRUE(isOpen(false));
  driver.click("setup0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("stripInstrument0"); }));
  EXPECT_FALSE(driver.value("stripInstrument0", "enabled").toBool());
  EXPECT_EQ(driver.value("stripInstrument0", "hint").toString(), QStringLiteral("Not in Live mode"));
  driver.click("stripInstrument0");
  driver.onLogic([](Session& /*session*/) {});  // behind all that the window has asked for
  EXPECT_FALSE(driver.isShown("instrumentPanel"));
}

TEST_F(InstrumentChoice, EscapeEndsATrialAlsoAfterAKeyWasPlayedOnTheScreen) {
  ASSERT_NO_FATAL_FAILURE(find("zoo sine", "Zoo Sine"));
  driver.click("plugin0Ear");
  ASSERT_TRUE(plays("Zoo Sine"));
  driver.click("pianoKeys", {0.5, 0.9});
  ASSERT_TRUE(driver.value("pianoKeys", "activeFocus").toBool());
  driver.key("Escape");
  EXPECT_TRUE(isOpen(false));
  EXPECT_TRUE(driver.eventually([this] { return !driver.strip(0).hasInstrument(); }));
  EXPECT_TRUE(driver.value("pianoKeys", "activeFocus").toBool()) << "the focus was not the panel's";
}

TEST_F(InstrumentChoice, TheEarOfARowPlaysItOnTheStripUntilEscape) {
  ASSERT_NO_FATAL_FAILURE(find("zoo sine", "Zoo Sine"));
  driver.click("plugin0Ear");
  ASSERT_TRUE(plays("Zoo Sine"));
  EXPECT_TRUE(driver.isShown("instrumentPanel"));
  EXPECT_FALSE(driver.session().isDirty());
  driver.key("Escape");
  EXPECT_TRUE(isOpen(false));
  EXPECT_TRUE(driver.eventually([this] { return !driver.strip(0).hasInstrument(); }));
}

TEST_F(InstrumentChoice, TheStarOfARowPutsItFirstAndAKeyTakesItAway) {
  ASSERT_NO_FATAL_FAILURE(find("zoo sine", "Zoo Sine"));
  driver.click("plugin0Star");
  ASSERT_TRUE(driver.eventually([this] { return driver.value("instrumentList", "count").toInt() == 2; }));
  EXPECT_TRUE(driver.value("plugin0", "isFavourite").toBool());
  driver.key("ctrl+f");
  EXPECT_TRUE(driver.eventually([this] { return driver.value("instrumentList", "count").toInt() == 1; }));
}

}  // namespace
}  // namespace vrel::app::test
