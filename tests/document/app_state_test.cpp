// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/app_state.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "performance/performance_display.h"
#include "simulation/simulated_components.h"
#include "simulation/simulated_file_manager.h"
#include "simulation/simulated_midi_service.h"
#include "simulation/simulated_user_defaults.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

class Session : public SimulatedStage {
 protected:
  AppState& make() { return state.emplace(collaborators, recentPath); }

  simulation::SimulatedUserDefaults defaults;
  simulation::SimulatedComponentManager components;
  simulation::SimulatedFileManager files;
  const std::filesystem::path recentPath = "/home/me/recent_setlists.json";
  AppState::Collaborators collaborators{defaults, components, mainQueue, console, files};
  std::optional<AppState> state;
};

TEST_F(Session, BeginsWithNothingOpenAndNothingUnsaved) {
  const auto& session = make();
  EXPECT_EQ(session.language.get(), Language::english);
  EXPECT_TRUE(session.songs.get().empty());
  EXPECT_FALSE(session.selectedSongIndex.get().has_value());
  EXPECT_EQ(session.newSongName.get(), "");
  EXPECT_FALSE(session.currentFilePath.get().has_value());
  EXPECT_FALSE(session.isDirty.get());
  EXPECT_FALSE(session.showCloseDialog.get());
  EXPECT_FALSE(session.allowedToClose.get());
  EXPECT_EQ(session.songNotes.get(), "");
  EXPECT_EQ(session.tempoBpm.get(), 120U);
  EXPECT_TRUE(session.globalMidiControlAssignments.get().empty());
  EXPECT_EQ(defaults.writeCount, 0) << "reading the settings writes none";
}

TEST_F(Session, BeginsBeforeItsPluginsAreFoundAndGetsThemThen) {
  components.list = {{"Piano", "Maker", {componentTypeMusicDevice, 1, 1}},
                     {"Echo", "Maker", {componentTypeEffect, 2, 2}}};
  components.isLooking = true;
  const auto& session = make();
  EXPECT_TRUE(session.isLookingForPlugins.get());
  EXPECT_TRUE(session.scannedPlugins.get().empty());
  components.complete();
  EXPECT_TRUE(session.isLookingForPlugins.get()) << "the lists are filled on the main queue";
  settle();
  EXPECT_FALSE(session.isLookingForPlugins.get());
  EXPECT_EQ(session.scannedPlugins.get().size(), 1U);
  EXPECT_EQ(session.scannedAudioEffectPlugins.get().size(), 1U);
}

TEST_F(Session, ThatHasEndedGetsNoPlugins) {
  components.isLooking = true;
  make();
  state.reset();
  components.complete();
  settle();
}

TEST_F(Session, BeginsWithNothingPressedAndDisconnected) {
  const auto& session = make();
  EXPECT_TRUE(session.pressedNotes.get().empty());
  EXPECT_FALSE(session.lastMouseNote.get().has_value());
  EXPECT_EQ(session.sustainPedalValue.get(), 0.0F);
  EXPECT_EQ(session.expressionValue.get(), 0.0F);
  EXPECT_EQ(session.modulationValue.get(), 0.0F);
  EXPECT_EQ(session.pitchBendValue.get(), 0.0F);
  EXPECT_EQ(session.activeMidiPortName.get(), "Disconnected");
  EXPECT_EQ(session.keyboardStartNote.get(), 21);
  EXPECT_EQ(session.keyboardKeyCount.get(), 88);
  EXPECT_FALSE(session.isLiveModeEnabled.get());
  EXPECT_FALSE(session.isMidiLearnMode.get());
}

TEST_F(Session, BeginsWithNoSelectorOpenNothingLoadingAndNoSwitchUnderWay) {
  const auto& session = make();
  EXPECT_FALSE(session.pluginSelectorChannelId.get().has_value());
  EXPECT_EQ(session.pluginSelectorFilter.get(), "");
  EXPECT_EQ(session.audioEffectSelectorFilter.get(), "");
  EXPECT_FALSE(session.pluginMenuChannelId.get().has_value());
  EXPECT_FALSE(session.showLoadingModal.get());
  EXPECT_EQ(session.loadingMessage.get(), "");
  EXPECT_EQ(session.remainingLoadsCount.get(), 0);
  EXPECT_EQ(session.totalLoadsCount.get(), 0);
  EXPECT_FALSE(session.songSwitchInProgress.get());
  EXPECT_FALSE(session.songSwitchElapsedMs.get().has_value());
  EXPECT_FALSE(session.songSwitchStartedAtUptime.get().has_value());
  EXPECT_EQ(session.songSwitchPendingLoads.get(), 0);
  EXPECT_NE(session.songSwitchLoadToken.get(), session.loadingSessionToken.get());
}

TEST_F(Session, ItsColoursAreOrangeAndTeal) {
  EXPECT_EQ(AppState::accentColor, (Color{1.0, 1.0 / 3.0, 0.0}));
  EXPECT_EQ(AppState::secondaryColor, (Color{0.0, 194.0 / 255.0, 194.0 / 255.0}));
}

TEST_F(Session, ABufferSizeThatCannotBeChosenGives128) {
  EXPECT_EQ(make().audioIOBufferFrameSize.get(), 128U);
  for (const std::int64_t stored : {100, -64, 0, 2048}) {
    defaults.values["vrel.audio.ioBufferFrameSize"] = stored;
    EXPECT_EQ(make().audioIOBufferFrameSize.get(), 128U) << stored;
  }
  for (const std::int64_t stored : {32, 64, 128, 256, 512, 1024}) {
    defaults.values["vrel.audio.ioBufferFrameSize"] = stored;
    EXPECT_EQ(make().audioIOBufferFrameSize.get(), stored);
  }
}

TEST_F(Session, AnUnknownBlendModeGivesPlusLighter) {
  EXPECT_EQ(make().visualBlendMode.get(), VisualBlendMode::plusLighter);
  defaults.values["vrel.visual.blendMode"] = "dissolve";
  EXPECT_EQ(make().visualBlendMode.get(), VisualBlendMode::plusLighter);
}

TEST_F(Session, EachBlendModeIsStoredAsTheTextOfItsCase) {
  const std::vector<std::pair<VisualBlendMode, std::string>> texts{{VisualBlendMode::multiply, "multiply"},
                                                                   {VisualBlendMode::screen, "screen"},
                                                                   {VisualBlendMode::plusLighter, "plusLighter"},
                                                                   {VisualBlendMode::normal, "normal"}};
  for (const auto& [mode, text] : texts) {
    make().visualBlendMode.set(mode);
    EXPECT_EQ(defaults.stringForKey("vrel.visual.blendMode"), text);
    EXPECT_EQ(make().visualBlendMode.get(), mode);
  }
}

TEST_F(Session, SettingsAreWrittenThroughAndReadByTheNextStart) {
  auto& session = make();
  session.visualBlendMode.set(VisualBlendMode::screen);
  session.audioIOBufferFrameSize.set(64);
  session.audioOutputDeviceUID.set("uid");
  session.visualBackgroundVideoPath.set("/video.mov");
  const auto& next = make();
  EXPECT_EQ(next.visualBlendMode.get(), VisualBlendMode::screen);
  EXPECT_EQ(next.audioIOBufferFrameSize.get(), 64U);
  EXPECT_EQ(next.audioOutputDeviceUID.get(), "uid");
  EXPECT_EQ(next.visualBackgroundVideoPath.get(), "/video.mov");
}

TEST_F(Session, EveryAssignmentWritesAlsoAnEqualOneAndAnyFrameSize) {
  auto& session = make();
  session.audioIOBufferFrameSize.set(session.audioIOBufferFrameSize.get());
  EXPECT_EQ(defaults.writeCount, 1);
  session.audioIOBufferFrameSize.set(77);
  EXPECT_EQ(defaults.integerForKey("vrel.audio.ioBufferFrameSize"), 77);
  session.visualBlendMode.set(session.visualBlendMode.get());
  EXPECT_EQ(defaults.writeCount, 3);
}

TEST_F(Session, AnEmptyTextRemovesItsKeySoThatTheNextStartReadsAbsent) {
  auto& session = make();
  session.visualBackgroundVideoPath.set("/video.mov");
  session.visualBackgroundVideoPath.set("");
  session.audioOutputDeviceUID.set("uid");
  session.audioOutputDeviceUID.set(std::nullopt);
  EXPECT_TRUE(defaults.values.empty());
  EXPECT_FALSE(make().visualBackgroundVideoPath.get().has_value());
  EXPECT_FALSE(make().audioOutputDeviceUID.get().has_value());
}

TEST_F(Session, TheScanFillsBothListsSortedAndOnce) {
  components.list = {piano, organ, organ, chorus, {"Noise", "Able", {componentTypeGenerator, 1, 2}}};
  const auto& session = make();
  ASSERT_EQ(session.scannedPlugins.get().size(), 3U);
  EXPECT_EQ(session.scannedPlugins.get()[0].name, "Noise");
  EXPECT_EQ(session.scannedPlugins.get()[1].name, "Organ");
  EXPECT_EQ(session.scannedPlugins.get()[2].name, "Piano");
  EXPECT_EQ(session.scannedAudioEffectPlugins.get(), std::vector{chorus});
}

TEST_F(Session, ALoadingSessionOfNothingShowsNoModalAndChangesNoCounter) {
  auto& session = make();
  const auto token = session.loadingSessionToken.get();
  session.beginLoadingSession(0, "Loading");
  session.beginLoadingSession(-3, "Loading");
  EXPECT_FALSE(session.showLoadingModal.get());
  EXPECT_EQ(session.totalLoadsCount.get(), 0);
  EXPECT_EQ(session.loadingMessage.get(), "");
  EXPECT_EQ(session.loadingSessionToken.get(), token);
}

TEST_F(Session, ALoadingSessionCountsDownAndEnds) {
  auto& session = make();
  session.beginLoadingSession(2, "Loading");
  EXPECT_TRUE(session.showLoadingModal.get());
  EXPECT_EQ(session.loadingMessage.get(), "Loading");
  session.completeOneLoad();
  EXPECT_EQ(session.remainingLoadsCount.get(), 1);
  EXPECT_EQ(session.totalLoadsCount.get(), 2);
  session.completeOneLoad();
  EXPECT_FALSE(session.showLoadingModal.get());
  EXPECT_EQ(session.totalLoadsCount.get(), 0);
  EXPECT_EQ(session.loadingMessage.get(), "");
}

TEST_F(Session, AFinishedLoadingSessionLeavesNothingOfIt) {
  auto& session = make();
  session.beginLoadingSession(3, "Loading");
  const auto token = session.loadingSessionToken.get();
  session.finishLoadingSession();
  EXPECT_NE(session.loadingSessionToken.get(), token) << "its job is disarmed";
  EXPECT_FALSE(session.showLoadingModal.get());
  EXPECT_EQ(session.loadingMessage.get(), "");
  EXPECT_EQ(session.remainingLoadsCount.get(), 0);
  EXPECT_EQ(session.totalLoadsCount.get(), 0);
}

TEST_F(Session, TheJobOfASessionWhoseModalWasClosedDoesNothing) {
  auto& session = make();
  session.beginLoadingSession(1, "Loading");
  session.showLoadingModal.set(false);
  mainQueue.advance(31);
  EXPECT_TRUE(console.lines.empty());
  EXPECT_EQ(session.remainingLoadsCount.get(), 1);
}

TEST_F(Session, ACompletionWithNothingLeftEndsTheSessionWithoutGoingNegative) {
  auto& session = make();
  session.beginLoadingSession(1, "Loading");
  session.remainingLoadsCount.set(0);
  session.completeOneLoad();
  EXPECT_EQ(session.remainingLoadsCount.get(), 0);
  EXPECT_FALSE(session.showLoadingModal.get());
}

TEST_F(Session, AfterThirtySecondsALoadingSessionEndsWithALine) {
  auto& session = make();
  session.beginLoadingSession(1, "Loading");
  mainQueue.advance(29.9);
  EXPECT_TRUE(session.showLoadingModal.get());
  EXPECT_TRUE(console.lines.empty());
  mainQueue.advance(0.2);
  EXPECT_FALSE(session.showLoadingModal.get());
  EXPECT_EQ(console.lines, Lines{"Audio unit loading timed out after 30 seconds"});
}

TEST_F(Session, TheJobOfAFinishedSessionDoesNothingWhileALaterOneIsOpen) {
  auto& session = make();
  session.beginLoadingSession(1, "First");
  mainQueue.advance(10);
  session.completeOneLoad();
  session.beginLoadingSession(5, "Second");
  mainQueue.advance(25);
  EXPECT_TRUE(session.showLoadingModal.get());
  EXPECT_EQ(session.remainingLoadsCount.get(), 5);
  EXPECT_TRUE(console.lines.empty());
}

TEST_F(Session, ASecondSessionReplacesTheFirstOutright) {
  auto& session = make();
  session.beginLoadingSession(3, "First");
  mainQueue.advance(10);
  session.beginLoadingSession(1, "Second");
  mainQueue.advance(25);
  EXPECT_TRUE(session.showLoadingModal.get()) << "the first session's job is disarmed";
  EXPECT_EQ(session.totalLoadsCount.get(), 1);
}

TEST_F(Session, TheJobOfASessionThatHasGoneDoesNothing) {
  make().beginLoadingSession(1, "Loading");
  state.reset();
  mainQueue.advance(31);
  EXPECT_TRUE(console.lines.empty());
}

TEST_F(Session, HeldNotesAreASetSoTheFirstNoteOffOfTwoSourcesClears) {
  auto& session = make();
  session.noteActivity(60, true);
  session.noteActivity(60, true);
  session.noteActivity(64, true);
  session.noteActivity(60, false);
  EXPECT_EQ(session.pressedNotes.get(), (std::set<std::uint8_t>{64}));
}

TEST_F(Session, BendsAndControllersBecomeProportions) {
  auto& session = make();
  session.performanceControl(0xE3, 0, 0);
  EXPECT_EQ(session.pitchBendValue.get(), -1.0F);
  session.performanceControl(0xE0, 0, 64);
  EXPECT_EQ(session.pitchBendValue.get(), 0.0F);
  session.performanceControl(0xE0, 127, 127);
  EXPECT_EQ(session.pitchBendValue.get(), 8191.0F / 8192.0F);
  session.performanceControl(0xE0, 255, 255);
  EXPECT_EQ(session.pitchBendValue.get(), 1.0F);
  session.performanceControl(0xB0, 64, 127);
  session.performanceControl(0xB1, 11, 0);
  session.performanceControl(0xB2, 1, 64);
  session.performanceControl(0xB0, 7, 99);
  session.performanceControl(0x90, 11, 99);
  EXPECT_EQ(session.sustainPedalValue.get(), 1.0F);
  EXPECT_EQ(session.expressionValue.get(), 0.0F);
  EXPECT_EQ(session.modulationValue.get(), 64.0F / 127.0F);
}

TEST_F(Session, AnEqualPerformanceValueRaisesNoNotification) {
  auto& session = make();
  int notifications = 0;
  const auto connection = session.sustainPedalValue.changed.connect([&](float) { ++notifications; });
  session.performanceControl(0xB0, 64, 127);
  session.performanceControl(0xB0, 64, 127);
  EXPECT_EQ(notifications, 1);
}

TEST_F(Session, TheEnginesTrafficIsShown) {
  auto& session = make();
  showPerformance(session, *engine);
  engine->routeMIDI(0x90, 60, 100);
  engine->routeMIDI(0xE3, 0, 0);
  EXPECT_EQ(session.pressedNotes.get(), (std::set<std::uint8_t>{60}));
  EXPECT_EQ(session.pitchBendValue.get(), -1.0F);
  engine->routeMIDI(0xE3, 0, 64);
  EXPECT_EQ(session.pitchBendValue.get(), 0.0F);
  engine->routeMIDI(0x90, 60, 0);
  EXPECT_TRUE(session.pressedNotes.get().empty());
  graph().stop();
  engine->routeMIDI(0x90, 60, 100);
  EXPECT_TRUE(session.pressedNotes.get().empty()) << "a stopped engine hears nothing";
}

TEST_F(Session, TheNameOfTheMidiInputIsShownAlsoOfAConnectionThatCameBefore) {
  auto& session = make();
  showMidiPortName(session, *engine);
  EXPECT_EQ(session.activeMidiPortName.get(), "Disconnected") << "a machine without MIDI";

  simulation::SimulatedNodeFactory otherNodes;
  simulation::SimulatedMIDIService service;
  service.sources = {"Keys"};
  const auto other =
      AudioEngine::make({otherNodes, units, mainQueue, queues, clock, propertyLists, console, nullptr, &service});
  EXPECT_EQ(session.activeMidiPortName.get(), "Disconnected");
  showMidiPortName(session, *other);
  EXPECT_EQ(session.activeMidiPortName.get(), "Keys");
  service.sources = {"Pads"};
  service.notify({kMIDIMsgSetupChanged});
  mainQueue.runAll();
  EXPECT_EQ(session.activeMidiPortName.get(), "Pads");
}

TEST_F(Session, PanicClearsTheDisplayAndSilencesTheInstruments) {
  auto& session = make();
  const auto strip = addStrip("Piano");
  session.noteActivity(60, true);
  session.performanceControl(0xB0, 64, 127);
  performPanic(session, *engine);
  EXPECT_TRUE(session.pressedNotes.get().empty());
  EXPECT_EQ(session.sustainPedalValue.get(), 0.0F);
  EXPECT_EQ(strip.instrument->events.size(), 192U);
}

TEST_F(Session, APanicClearsTheNotesFirstThenTheValuesAndThenSilencesTheInstruments) {
  auto& session = make();
  const auto strip = addStrip("Piano");
  session.noteActivity(60, true);
  session.performanceControl(0xB0, 64, 127);
  Lines order;
  const auto notes = session.pressedNotes.changed.connect(
      [&](const auto&) { order.push_back("notes, pedal at " + std::to_string(session.sustainPedalValue.get() > 0)); });
  const auto values = session.sustainPedalValue.changed.connect(
      [&](float) { order.push_back("values, events " + std::to_string(strip.instrument->events.size())); });
  performPanic(session, *engine);
  EXPECT_EQ(order, (Lines{"notes, pedal at 1", "values, events 0"}));
}

TEST_F(Session, PanicOnAStoppedEngineClearsTheDisplayAndSendsNothing) {
  auto& session = make();
  const auto strip = addStrip("Piano");
  session.noteActivity(60, true);
  graph().stop();
  performPanic(session, *engine);
  EXPECT_TRUE(session.pressedNotes.get().empty());
  EXPECT_TRUE(strip.instrument->events.empty());
}

}  // namespace
}  // namespace vrel
