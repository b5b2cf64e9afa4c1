// SPDX-License-Identifier: GPL-3.0-or-later
// The on-screen keyboard and the performance display in the real window.
#include <gtest/gtest.h>

#include <QQuickItem>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "apps/vrel/console_fixture.h"

namespace vrel::app::test {
namespace {

using Notes = std::vector<std::set<std::uint8_t>>;

class Keyboard : public ConsoleFixture {
 protected:
  /// The notes held after each change, while something is done.
  template <typename Action>
  Notes heldWhile(Action action) {
    Notes held;
    std::shared_ptr<void> watch;
    driver.onLogic([&](Session& session) {
      watch = session.state().pressedNotes.changed.connect([&held](const auto& notes) { held.push_back(notes); });
    });
    action();
    driver.onLogic([&](Session& /*session*/) { watch.reset(); });
    return held;
  }
};

TEST_F(Keyboard, APressOnAKeyPlaysItUntilItIsReleased) {
  const Notes held = heldWhile([this] { driver.click("pianoKeys", {0.01, 0.9}); });
  EXPECT_EQ(held, (Notes{{21}, {}}));
}

TEST_F(Keyboard, NoNoteIsHeldAfterADragOffTheKeys) {
  const Notes held = heldWhile([this] { driver.drag("pianoKeys", "strip0"); });
  ASSERT_FALSE(held.empty());
  EXPECT_TRUE(held.back().empty());
}

TEST_F(Keyboard, ItsRangeIsSetBesideIt) {
  driver.click("octaveUp");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().keyboardStartNote() == 33; }));
  EXPECT_EQ(driver.value("octaveValue", "text").toString(), QStringLiteral("1"));
  driver.click("keyCountSlider", {0.02, 0.5});
  EXPECT_TRUE(driver.eventually([this] { return driver.session().keyboardKeyCount() == 12; }));
  EXPECT_TRUE(
      driver.eventually([this] { return driver.value("keyCount", "text").toString() == QStringLiteral("12"); }));
  driver.click("pitchPicker");
  driver.click("pitch0");
  EXPECT_TRUE(driver.eventually([this] { return driver.session().keyboardStartNote() == 24; }));
}

TEST_F(Keyboard, AnEndOfTheSelectedStripsSplitIsDraggedInTheBand) {
  driver.onLogic([](Session& session) {
    const auto& channel = *session.engine().channels().front();
    session.content().selection().selectedChannelId.set(channel.id);
    session.engine().channels().front()->minNote.set(64);  // in the middle of the keyboard
    session.engine().channels().front()->maxNote.set(108);
  });
  ASSERT_TRUE(driver.eventually([this] { return driver.strip(0).minNote() == 64 && driver.strip(0).isSelected(); }));
  driver.drag("splitBand", "splitBand", {0.75, 0.5});
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).minNote() > 80; })) << driver.strip(0).minNote();
}

TEST_F(Keyboard, TheBandBringsTheRowOfTheSelectedStripIntoSight) {
  constexpr int strips = 20;
  driver.onLogic([](Session& session) {
    while (session.engine().channels().size() < strips) {
      session.content().channelOperations().addChannelFromButton();
    }
  });
  const auto isInSight = [this] {
    const auto* const band = driver.find("splitBand");
    const auto* const view = band->parentItem()->parentItem();
    const double y = band->mapToItem(view, QPointF(0, band->property("selectedY").toDouble())).y();
    return y >= 4 && y <= view->height() - 4;
  };
  for (const std::size_t row : {std::size_t{0}, std::size_t{strips - 1}, std::size_t{8}}) {
    driver.onLogic([row](Session& session) {
      session.content().selection().selectedChannelId.set(session.engine().channels()[row]->id);
    });
    EXPECT_TRUE(driver.eventually([&] { return driver.strip(static_cast<int>(row)).isSelected() && isInSight(); }))
        << row;
  }
}

TEST_F(Keyboard, APedalIsShownAsItMoves) {
  const auto width = [this](const char* item) { return driver.value(item, "width").toDouble(); };
  driver.onLogic([](Session& session) { session.state().sustainPedalValue.set(0.49F); });
  driver.onLogic([](Session& session) { session.state().expressionValue.set(0.02F); });
  EXPECT_TRUE(driver.eventually([&] { return width("performanceExpressionFill") > 0; }));
  EXPECT_EQ(width("performanceSustainFill"), 0);
  EXPECT_NEAR(width("performanceExpressionFill"), 0.12 * width("performanceExpression"), 0.5);
  driver.onLogic([](Session& session) { session.state().sustainPedalValue.set(0.5F); });
  EXPECT_TRUE(driver.eventually(
      [&] { return std::abs(width("performanceSustainFill") - 0.5 * width("performanceSustain")) < 0.5; }));
}

TEST_F(Keyboard, PitchBendRestsInTheMiddleOfItsBar) {
  EXPECT_EQ(driver.value("performancePitch", "value").toDouble(), 0.5);
  driver.onLogic([](Session& session) { session.state().pitchBendValue.set(-1); });
  EXPECT_TRUE(driver.eventually([this] { return driver.value("performancePitch", "value").toDouble() == 0; }));
}

TEST_F(Keyboard, EachPerformanceControlIsLearnedByAPressAndBoundForTheWholeSetlist) {
  using Kind = window::learn_kind::Kind;
  const std::vector<std::pair<std::string, Kind>> items{{"performancePitch", Kind::PerformancePitchBend},
                                                        {"performanceModulation", Kind::PerformanceModulation},
                                                        {"performanceExpression", Kind::PerformanceExpression},
                                                        {"performanceSustain", Kind::PerformanceSustain}};
  driver.click("performanceSustain");
  EXPECT_FALSE(driver.session().isLearning());
  driver.click("learnButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.session().isLearning(); }));
  for (const auto& [name, kind] : items) {
    driver.click(name);
    EXPECT_TRUE(driver.eventually([&, kind = kind] { return driver.isWaitingFor(kind, -1); })) << name;
  }
  driver.onLogic([](Session& session) { session.content().midiLearn().handleMidiControlMessage(0xB0, 66, 127); });
  EXPECT_TRUE(driver.eventually([this] { return !driver.session().isLearning(); }));
  const auto bound = driver.fromLogic<std::vector<MidiControlAssignment>>(
      [](Session& session) { return session.state().globalMidiControlAssignments.get(); });
  ASSERT_EQ(bound.size(), 1U);
  EXPECT_EQ(bound[0].target.kind, MidiControlKind::performanceSustain);
  EXPECT_EQ(bound[0].target.channelIndex, std::nullopt);
  EXPECT_EQ(bound[0].binding.number, 66);
}

TEST_F(Keyboard, PanicBringsThePerformanceDisplayToRest) {
  driver.onLogic([](Session& session) {
    session.state().sustainPedalValue.set(1);
    session.state().pressedNotes.set({60});
  });
  EXPECT_TRUE(driver.eventually([this] { return driver.value("performanceSustain", "isActive").toBool(); }));
  driver.click("panicButton");
  EXPECT_TRUE(driver.eventually([this] { return !driver.value("performanceSustain", "isActive").toBool(); }));
}

}  // namespace
}  // namespace vrel::app::test
