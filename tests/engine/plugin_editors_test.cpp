// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/plugin_editors.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "simulation/simulated_editors.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

using simulation::ScriptedPanel;
using simulation::ScriptedRemoteView;
using simulation::ScriptedUnitCore;
using simulation::ScriptedView;

class Editors : public SimulatedStage {
 protected:
  /// Opens the instrument's editor; the plug-in has been asked for its view.
  void ask(const Strip& strip) {
    editors.openInstrumentEditor(strip.channel);
    mainQueue.runAll();
  }

  /// Opens it with the plug-in's own view.
  std::shared_ptr<ScriptedPanel> open(const Strip& strip) {
    ask(strip);
    answer(strip.instrument->core, std::make_shared<ScriptedView>());
    return factory.panels.back();
  }

  void answer(ScriptedUnitCore& core, std::shared_ptr<NSViewController> view) {
    const auto handler = core.viewRequests.front();
    core.viewRequests.erase(core.viewRequests.begin());
    handler(std::move(view));
    mainQueue.runAll();
  }

  simulation::ScriptedEditorFactory factory;
  NSNotificationCenter notifications;
  PluginEditors editors{factory, mainQueue, notifications};
};

TEST_F(Editors, AnInstrumentAndAnEffectHaveTheirKeysAndTitles) {
  const auto strip = addStrip("Keys");
  strip.channel->pluginName.set("Piano");
  const auto effect = addEffect(*strip.channel, "chorus");
  auto slots = strip.channel->effectSlots.get();
  slots[0].pluginName = "Chorus";
  strip.channel->effectSlots.set(slots);
  EXPECT_EQ(PluginEditors::instrumentKey(*strip.channel), "instrument:" + strip.channel->id.text());
  EXPECT_EQ(PluginEditors::effectKey(*strip.channel, slots[0].id),
            "effect:" + strip.channel->id.text() + ":" + slots[0].id.text());
  EXPECT_EQ(open(strip)->title, "Keys - Piano Editor");
  editors.openEffectEditor(strip.channel, slots[0].id);
  mainQueue.runAll();
  answer(effect->core, std::make_shared<ScriptedView>());
  EXPECT_EQ(factory.panels.back()->title, "Keys - Chorus Editor");
  EXPECT_TRUE(factory.panels[0]->isShown) << "one editor does not close another";
}

TEST_F(Editors, AnEffectOfTheMasterHasAnEditorToo) {
  const auto& master = engine->masterChannel();
  const auto effect = addEffect(*master, "limiter");
  editors.openEffectEditor(master, master->effectSlots.get()[0].id);
  mainQueue.runAll();
  answer(effect->core, std::make_shared<ScriptedView>());
  ASSERT_EQ(factory.panels.size(), 1U);
  EXPECT_EQ(factory.panels[0]->title, "MASTER -  Editor");
}

TEST_F(Editors, ThePressOnTheButtonEndsBeforeThePlugInIsAsked) {
  const auto strip = addStrip("Keys");
  editors.openInstrumentEditor(strip.channel);
  EXPECT_TRUE(strip.instrument->core.viewRequests.empty());
  mainQueue.runAll();
  EXPECT_EQ(strip.instrument->core.viewRequests.size(), 1U);
}

TEST_F(Editors, ASecondPressClosesTheEditor) {
  const auto strip = addStrip("Keys");
  const auto panel = open(strip);
  ASSERT_TRUE(panel->isShown);
  ask(strip);
  EXPECT_FALSE(panel->isShown);
  EXPECT_EQ(factory.panels.size(), 1U);
  EXPECT_TRUE(strip.instrument->core.viewRequests.empty());
  EXPECT_TRUE(open(strip)->isShown) << "a third opens another";
  EXPECT_EQ(factory.panels.size(), 2U);
}

TEST_F(Editors, APressWhileTheViewIsOnItsWayOpensNoSecondOne) {
  const auto strip = addStrip("Keys");
  ask(strip);
  ask(strip);
  EXPECT_EQ(strip.instrument->core.viewRequests.size(), 1U);
  answer(strip.instrument->core, std::make_shared<ScriptedView>());
  mainQueue.advance(2);
  EXPECT_EQ(factory.panels.size(), 1U);
}

TEST_F(Editors, AWindowThatAPersonHasClosedIsOpenedAgainByTheNextPress) {
  const auto strip = addStrip("Keys");
  open(strip)->isShown = false;
  const auto panel = open(strip);
  EXPECT_TRUE(panel->isShown);
  EXPECT_EQ(factory.panels.size(), 2U);
}

TEST_F(Editors, AChannelWithoutAPlugInAndASlotWithoutAnEffectOpenNothing) {
  const auto channel = engine->addChannel("Empty");
  const auto slot = addEmptySlot(*channel, chorusKey);
  editors.openInstrumentEditor(channel);
  editors.openEffectEditor(channel, slot.id);
  editors.openEffectEditor(channel, Uuid::fresh());
  mainQueue.advance(2);
  EXPECT_TRUE(factory.panels.empty());
}

TEST_F(Editors, APlugInThatAnswersAfterOneAndAHalfSecondsShowsTheGenericView) {
  const auto strip = addStrip("Keys");
  strip.channel->pluginName.set("Piano");
  ask(strip);
  mainQueue.advance(0.99);
  EXPECT_TRUE(factory.panels.empty());
  mainQueue.advance(0.51);
  ASSERT_EQ(factory.panels.size(), 1U);
  EXPECT_EQ(factory.panels[0]->title, "Keys - Piano Editor (Generic)");
  EXPECT_EQ(factory.panels[0]->view, factory.genericViews[0]);
  EXPECT_EQ(factory.genericViews[0]->sizes[0], (NSSize{520, 420}));
  answer(strip.instrument->core, std::make_shared<ScriptedView>());
  EXPECT_EQ(factory.panels.size(), 1U) << "the late view is dropped";
}

TEST_F(Editors, APlugInWithoutAViewShowsTheGenericOneAtOnce) {
  const auto strip = addStrip("Keys");
  strip.channel->pluginName.set("Piano");
  ask(strip);
  answer(strip.instrument->core, nullptr);
  ASSERT_EQ(factory.panels.size(), 1U);
  EXPECT_EQ(factory.panels[0]->title, "Keys - Piano Editor (Generic)");
  mainQueue.advance(2);
  EXPECT_EQ(factory.panels.size(), 1U) << "the fallback comes too late";
}

TEST_F(Editors, TheGenericViewTakesThePlaceOfThePlugInsOwnAndASecondPressClosesIt) {
  const auto strip = addStrip("Keys");
  const auto own = open(strip);
  const auto press = [&] {
    editors.openInstrumentEditor(strip.channel, PluginView::generic);
    mainQueue.runAll();
  };
  press();
  EXPECT_FALSE(own->isShown);
  ASSERT_EQ(factory.panels.size(), 2U);
  EXPECT_EQ(factory.panels[1]->title, "Keys - Keys Editor (Generic)");
  EXPECT_TRUE(strip.instrument->core.viewRequests.empty()) << "its own is not asked for";
  press();
  EXPECT_FALSE(factory.panels[1]->isShown);
  EXPECT_EQ(factory.panels.size(), 2U);
  press();
  EXPECT_TRUE(factory.panels[2]->isShown);
  ask(strip);
  EXPECT_FALSE(factory.panels[2]->isShown) << "one editor for each plug-in";
}

TEST_F(Editors, WhatIsTurnedAndAskedForInAViewNamesItsPlugIn) {
  const auto strip = addStrip("Keys");
  std::vector<std::string> heard;
  const auto turned = editors.controlTurned.connect([&](const auto& unit, AUParameterAddress address) {
    heard.push_back((unit == strip.instrument ? "own " : "other ") + std::to_string(address));
  });
  const auto asked = editors.fileRequested.connect([&](const auto& unit, const std::string& identifier) {
    heard.push_back((unit == strip.instrument ? "own " : "other ") + identifier);
  });
  ask(strip);
  const auto view = std::make_shared<ScriptedRemoteView>();
  answer(strip.instrument->core, view);
  const auto events = view->events;
  events.controlTurned(7);
  events.fileRequested("urn:file");
  EXPECT_EQ(heard, (std::vector<std::string>{"own 7", "own urn:file"}));
  editors.closeEditor(PluginEditors::instrumentKey(*strip.channel));
  events.controlTurned(8);
  EXPECT_EQ(heard.size(), 2U) << "the window is closed";
}

TEST_F(Editors, AViewIsAtLeastAsLargeAsTheDefaultAndAsItPrefers) {
  EXPECT_EQ(editorViewSize({100, 100}, {}), (NSSize{760, 520}));
  EXPECT_EQ(editorViewSize({900, 100}, {800, 700}), (NSSize{900, 700}));
  const auto strip = addStrip("Keys");
  ask(strip);
  const auto view = std::make_shared<ScriptedView>(NSSize{1000, 300}, NSSize{0, 640});
  answer(strip.instrument->core, view);
  EXPECT_EQ(view->sizes, (std::vector<NSSize>{{1000, 640}}));
  EXPECT_EQ(factory.panels[0]->contentSizes, (std::vector<NSSize>{{1000, 640}}))
      << "the frame that it was given counts";
}

TEST_F(Editors, ALargePlugInIsLimitedByTheScreen) {
  EXPECT_EQ(editorContentSize({2000, 1500}, NSSize{1280, 800}), (NSSize{1200, 720}));
  EXPECT_EQ(editorContentSize({2000, 1500}, std::nullopt), (NSSize{1360, 820}));
  EXPECT_EQ(editorContentSize({2000, 1500}, NSSize{300, 300}), (NSSize{520, 420}));
  EXPECT_EQ(editorContentSize({100, 100}, NSSize{1280, 800}), (NSSize{760, 520}));
  factory.screen = NSSize{1280, 800};
  const auto strip = addStrip("Keys");
  ask(strip);
  answer(strip.instrument->core, std::make_shared<ScriptedView>(NSSize{2000, 1500}));
  EXPECT_EQ(factory.panels[0]->contentSizes, (std::vector<NSSize>{{1200, 720}}));
}

TEST_F(Editors, AViewThatIsSizedLateIsFittedThreeTimes) {
  const auto strip = addStrip("Keys");
  ask(strip);
  const auto view = std::make_shared<ScriptedView>();
  answer(strip.instrument->core, view);
  const auto& panel = *factory.panels[0];
  EXPECT_EQ(panel.centerings, 1);
  view->measured = {800, 600};
  mainQueue.advance(0.05);
  EXPECT_EQ(panel.contentSizes.back(), (NSSize{800, 600}));
  mainQueue.advance(0.15);
  view->measured = {900, 600};
  mainQueue.advance(0.4);
  EXPECT_EQ(panel.contentSizes.back(), (NSSize{900, 600}));
  EXPECT_EQ(panel.contentSizes.size(), 4U);
  EXPECT_EQ(panel.centerings, 4);
  mainQueue.advance(10);
  EXPECT_EQ(panel.contentSizes.size(), 4U);
}

TEST_F(Editors, AClosedPanelIsNotFitted) {
  const auto strip = addStrip("Keys");
  const auto panel = open(strip);
  const auto again = [&] {
    ask(strip);
    return open(strip);
  }();
  mainQueue.advance(1);
  EXPECT_EQ(panel->contentSizes.size(), 1U);
  EXPECT_EQ(again->contentSizes.size(), 4U) << "the fits of the first opening are not for the second";
}

TEST_F(Editors, EditorsAreKeptAboveTheMainWindowUntilTheTickAfterTheLastHasClosed) {
  const auto one = addStrip("One");
  const auto other = addStrip("Other");
  const auto first = open(one);
  const auto second = open(other);
  mainQueue.advance(0.15);
  EXPECT_EQ(first->reassertions, 1);
  EXPECT_EQ(second->reassertions, 1);
  editors.closeEditor(PluginEditors::instrumentKey(*one.channel));
  mainQueue.advance(0.15);
  EXPECT_EQ(first->reassertions, 1);
  EXPECT_EQ(second->reassertions, 2);
  second->isShown = false;  // by its own button
  mainQueue.advance(0.15);
  mainQueue.advance(0.1);  // off the beat of the timer before
  const auto third = open(one);
  mainQueue.advance(0.149);
  EXPECT_EQ(third->reassertions, 0) << "the timer had stopped, and began again with this editor";
  mainQueue.advance(0.001);
  EXPECT_EQ(third->reassertions, 1);
}

TEST_F(Editors, AFrontThatChangesReassertsTheOrderAfterTheDesktopsOwn) {
  const auto panel = open(addStrip("Keys"));
  for (const auto* const name :
       {applicationDidBecomeActiveNotification, windowDidBecomeKeyNotification, windowDidBecomeMainNotification}) {
    const int before = panel->reassertions;
    notifications.post(name);
    mainQueue.advance(0.019);
    EXPECT_EQ(panel->reassertions, before) << name;
    mainQueue.advance(0.001);
    EXPECT_EQ(panel->reassertions, before + 1) << name;
  }
}

TEST_F(Editors, AViewThatBringsItsPanelIsShownInThat) {
  const auto strip = addStrip("Keys");
  ask(strip);
  const auto view = std::make_shared<ScriptedRemoteView>();
  answer(strip.instrument->core, view);
  EXPECT_TRUE(factory.panels.empty());
  EXPECT_TRUE(view->panel->isShown);
  EXPECT_EQ(view->panel->title, "Keys - Keys Editor");
  EXPECT_EQ(view->panel->contentSizes, (std::vector<NSSize>{{760, 520}}));
  view->measured = {900, 600};
  mainQueue.advance(10);
  view->events.arrived();
  EXPECT_EQ(view->panel->contentSizes.back(), (NSSize{900, 600})) << "ten seconds later it has a size";
  const int centerings = view->panel->centerings;
  mainQueue.advance(1);
  EXPECT_EQ(view->panel->centerings, centerings + 3) << "and is fitted as any other";
  view->measured = {1000, 700};
  view->events.resized();
  EXPECT_EQ(view->panel->contentSizes.back(), (NSSize{1000, 700}));
  EXPECT_EQ(view->panel->centerings, centerings + 3) << "what a person resizes stays where it is";
}

TEST_F(Editors, AViewThatFailsBeforeItArrivesIsReplacedByTheGenericOne) {
  const auto strip = addStrip("Keys");
  ask(strip);
  const auto view = std::make_shared<ScriptedRemoteView>();
  answer(strip.instrument->core, view);
  view->events.failed();
  EXPECT_FALSE(view->panel->isShown);
  ASSERT_EQ(factory.panels.size(), 1U);
  EXPECT_EQ(factory.panels[0]->title, "Keys - Keys Editor (Generic)");
  view->events.failed();
  EXPECT_EQ(factory.panels.size(), 1U) << "the panel is another one by now";
}

TEST_F(Editors, AViewThatFailsAfterItsWindowWasClosedOpensNothing) {
  const auto strip = addStrip("Keys");
  ask(strip);
  const auto view = std::make_shared<ScriptedRemoteView>();
  answer(strip.instrument->core, view);
  view->panel->isShown = false;
  view->events.failed();
  EXPECT_TRUE(factory.panels.empty());
}

TEST_F(Editors, ReplacingAnEffectClosesItsEditor) {
  const auto strip = addStrip("Keys");
  const auto effect = addEffect(*strip.channel, "chorus");
  const auto slotId = strip.channel->effectSlots.get()[0].id;
  editors.openEffectEditor(strip.channel, slotId);
  mainQueue.runAll();
  answer(effect->core, std::make_shared<ScriptedView>());
  ASSERT_TRUE(factory.panels[0]->isShown);
  engine->effects().replaceEffectSlot(*strip.channel, slotId, chorus, std::make_shared<simulation::ScriptedUnit>("new"),
                                      nullptr);
  EXPECT_FALSE(factory.panels[0]->isShown);
}

TEST_F(Editors, RemovingASlotClosesItsEditorAndNoOther) {
  const auto strip = addStrip("Keys");
  const auto first = addEffect(*strip.channel, "one");
  const auto second = addEffect(*strip.channel, "two");
  const auto slots = strip.channel->effectSlots.get();
  for (const auto& [slot, effect] : {std::pair(slots[0], first), std::pair(slots[1], second)}) {
    editors.openEffectEditor(strip.channel, slot.id);
    mainQueue.runAll();
    answer(effect->core, std::make_shared<ScriptedView>());
  }
  engine->effects().removeEffectSlot(*strip.channel, slots[0].id);
  EXPECT_FALSE(factory.panels[0]->isShown);
  EXPECT_TRUE(factory.panels[1]->isShown);
}

TEST_F(Editors, AStripThatIsReloadedUnloadedOrRemovedClosesItsEditor) {
  const auto reloadedStrip = addStrip("Reloaded");
  const auto unloaded = addStrip("Unloaded");
  const auto removed = addStrip("Removed");
  open(reloadedStrip);
  open(unloaded);
  open(removed);
  engine->instruments().installInstrumentNode(*reloadedStrip.channel,
                                              std::make_shared<simulation::ScriptedInstrument>("next"), pianoKey,
                                              "Piano", std::nullopt);
  EXPECT_FALSE(factory.panels[0]->isShown);
  EXPECT_TRUE(factory.panels[1]->isShown);
  engine->instruments().unloadInstrument(*unloaded.channel);
  EXPECT_FALSE(factory.panels[1]->isShown);
  engine->removeChannel(*removed.channel);
  EXPECT_FALSE(factory.panels[2]->isShown);
}

TEST_F(Editors, AStripThatRingsClosesItsEditorAndOpensNone) {
  const auto strip = addStrip("Keys");
  open(strip);
  engine->removeAllChannels(5);
  ASSERT_EQ(engine->ringingChannels().size(), 1U);
  EXPECT_FALSE(factory.panels[0]->isShown) << "what is turned there would be stored nowhere";
  ask(strip);
  EXPECT_TRUE(strip.instrument->core.viewRequests.empty());
}

TEST_F(Editors, AnInstrumentOrEffectThatDiesClosesItsEditor) {
  const auto strip = addStrip("Keys");
  const auto panel = open(strip);
  engine->instruments().loseInstrument(*strip.channel);
  EXPECT_FALSE(panel->isShown);
}

TEST_F(Editors, APlugInThatIsReplacedWhileItsViewIsOnTheWayOpensNothing) {
  const auto strip = addStrip("Keys");
  ask(strip);
  engine->instruments().unloadInstrument(*strip.channel);
  answer(strip.instrument->core, std::make_shared<ScriptedView>());
  mainQueue.advance(2);
  EXPECT_TRUE(factory.panels.empty());
}

TEST_F(Editors, AnAnswerAfterTheEndOfTheEditorsDoesNothing) {
  const auto strip = addStrip("Keys");
  {
    PluginEditors shortLived(factory, mainQueue, notifications);
    shortLived.openInstrumentEditor(strip.channel);
    mainQueue.runAll();
  }
  answer(strip.instrument->core, std::make_shared<ScriptedView>());
  mainQueue.advance(2);
  EXPECT_TRUE(factory.panels.empty());
}

}  // namespace
}  // namespace vrel
