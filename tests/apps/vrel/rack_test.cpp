// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "apps/vrel/console_fixture.h"

namespace vrel::app::test {
namespace {

using Names = std::vector<std::string>;

/// The racks of the console, with the zoo's plug-ins installed.
class RackPanel : public ConsoleFixture {
 protected:
  RackPanel() { ::setenv("LV2_PATH", VREL_ZOO_PATH, 1); }
  ~RackPanel() override {
    driver.close();
    ::setenv("LV2_PATH", VREL_KNOWN_BUNDLES, 1);
  }

  void open(const std::string& button) {
    driver.click(button);
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("rackPanel"); }));
  }

  /// Live mode has closed the one that was open.
  void openInLiveMode() {
    driver.click("liveButton");
    ASSERT_TRUE(driver.eventually([this] { return driver.session().isLive() && !driver.isShown("rackPanel"); }));
    driver.click("setup0");
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("rack0"); }));
    open("rack0");
  }

  void add(const std::string& effect) {
    driver.click("effectSearch");
    driver.key("ctrl+a");
    driver.type(effect);
    ASSERT_TRUE(driver.eventually([&] { return driver.value("effect0", "name").toString().toStdString() == effect; }))
        << effect;
    driver.key("Return");
  }

  Names effectsOf(bool isMaster) {
    return driver.fromLogic<Names>([isMaster](Session& session) {
      Names names;
      const auto& channel = isMaster ? session.engine().masterChannel() : session.engine().channels()[0];
      for (const auto& slot : channel->effectSlots.get()) {
        names.push_back(slot.pluginName);
      }
      return names;
    });
  }

  bool has(const Names& names, bool isMaster = false) {
    return driver.eventually([&] { return effectsOf(isMaster) == names; });
  }
};

TEST_F(RackPanel, EffectsAreAddedMovedReplacedAndRemovedOnAStrip) {
  open("rack0");
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("pluginHeading"); })) << "whose effects these are";
  EXPECT_EQ(driver.value("effectList", "spokenName").toString(), driver.texts().effectsTitle());
  add("Zoo Gain");
  ASSERT_TRUE(has({"Zoo Gain"}));
  add("Zoo Mono Effect");
  ASSERT_TRUE(has({"Zoo Gain", "Zoo Mono Effect"}));
  EXPECT_TRUE(driver.eventually([this] { return driver.strip(0).effectCount() == 2; }));
  driver.click("effectUp1");
  EXPECT_TRUE(has({"Zoo Mono Effect", "Zoo Gain"}));
  EXPECT_FALSE(driver.value("effectUp0", "enabled").toBool()) << "the first cannot go further";
  EXPECT_FALSE(driver.value("effectDown1", "enabled").toBool()) << "the last cannot go further";
  driver.click("replaceEffect0");
  add("Zoo Gain");
  EXPECT_TRUE(has({"Zoo Gain", "Zoo Gain"}));
  driver.click("removeEffect1");
  EXPECT_TRUE(has({"Zoo Gain"}));
  driver.key("Escape");
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("rackPanel"); }));
}

TEST_F(RackPanel, AnEffectThatHasDiedIsShownAndLoadedAgainByAPressAlsoInLiveMode) {
  open("rack0");
  add("Zoo Gain");
  ASSERT_TRUE(has({"Zoo Gain"}));
  openInLiveMode();
  driver.onLogic([](Session& session) {
    auto& channel = *session.engine().channels()[0];
    session.engine().effects().loseEffectNode(channel, channel.effectNodes.get().begin()->second);
  });
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("reviveEffect0"); }));
  EXPECT_EQ(driver.value("effectFailure0", "text").toString(), QStringLiteral("Failed, bypassed"));
  EXPECT_TRUE(driver.isShown("failure0")) << "the header says so while the rack is folded away";
  driver.click("reviveEffect0");
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("reviveEffect0"); }));
  EXPECT_FALSE(driver.isShown("failure0"));
  EXPECT_EQ(driver.fromLogic<std::size_t>(
                [](Session& session) { return session.engine().channels()[0]->effectNodes.get().size(); }),
            1U);
}

TEST_F(RackPanel, EscapeClosesItAndTheLearnedControlsAlsoWhileAFaderHasTheFocus) {
  open("rack0");
  driver.click("fader0");
  ASSERT_TRUE(driver.value("fader0", "activeFocus").toBool());
  driver.key("Escape");
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("rackPanel"); }));
  driver.onLogic([](Session& session) { session.content().learnedControls().isShown.set(true); });
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("learnedPanel"); }));
  driver.click("fader0");
  driver.key("Escape");
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("learnedPanel"); }));
}

TEST_F(RackPanel, ABadgeThatIsEditedTakesEscapeFirst) {
  open("rack0");
  driver.doubleClick("transpose0");
  ASSERT_TRUE(driver.isShown("transpose0Field"));
  driver.key("Escape");
  EXPECT_FALSE(driver.isShown("transpose0Field"));
  EXPECT_TRUE(driver.isShown("rackPanel"));
}

TEST_F(RackPanel, TheMasterHasOneToo) {
  open("masterRack");
  add("Zoo Gain");
  EXPECT_TRUE(has({"Zoo Gain"}, true));
  driver.click("masterRack");
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("rackPanel"); }));
}

TEST_F(RackPanel, EscapeClosesItAlsoWhileTheFocusIsOnAStrip) {
  open("rack0");
  driver.click("mute0");
  driver.key("Escape");
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("rackPanel"); }));
}

TEST_F(RackPanel, InLiveModeItListsAndNothingCanBePressed) {
  open("rack0");
  add("Zoo Gain");
  ASSERT_TRUE(has({"Zoo Gain"}));
  openInLiveMode();
  EXPECT_TRUE(driver.value("openEffect0", "enabled").toBool()) << "its window changes nothing of the rack";
  for (const auto* control : {"replaceEffect0", "effectUp0", "effectDown0", "removeEffect0", "effect0"}) {
    EXPECT_TRUE(driver.isShown(control)) << control;
    EXPECT_FALSE(driver.value(control, "enabled").toBool()) << control;
    EXPECT_LT(driver.value(control, "opacity").toDouble(), 1) << control << " is drawn dim";
  }
}

}  // namespace
}  // namespace vrel::app::test
