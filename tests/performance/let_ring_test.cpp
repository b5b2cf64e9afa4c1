// SPDX-License-Identifier: GPL-3.0-or-later
// The strips of the song that goes sound on beside the next one.
#include <gmock/gmock.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/ringing_strips.h"
#include "performance/performance_display.h"
#include "support/raw_peaks.h"
#include "support/simulated_session.h"

namespace vrel {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Channel = std::shared_ptr<AudioChannel>;
using Instrument = std::shared_ptr<simulation::ScriptedInstrument>;

/// Three songs, the first on stage, of which the strips ring for five seconds.
class LetRing : public SimulatedSession {
 protected:
  LetRing() {
    addSong("One", {record("Piano", pianoKey), record("Organ", organKey, {chorusKey})});
    addSong("Two", {record("Piano", pianoKey)});
    addSong("Empty", {});
    setSeconds(5);
    apply(0);
    piano = engine->channels()[0];
    organ = engine->channels()[1];
    pianoNode = instrumentOf(piano);
    organNode = instrumentOf(organ);
  }

  static Instrument instrumentOf(const Channel& channel) {
    return std::dynamic_pointer_cast<simulation::ScriptedInstrument>(channel->instrumentNode.get());
  }

  void setSeconds(std::uint32_t seconds) { state.songControl.set({.letRingSeconds = seconds}); }
  void apply(std::ptrdiff_t index) {
    songSwitch.applySong(index);
    answerAll();
  }
  /// To the song, and what the instruments have got so far is forgotten.
  void goTo(std::ptrdiff_t index) {
    apply(index);
    pianoNode->events.clear();
    organNode->events.clear();
  }
  void play(std::uint8_t status, std::uint8_t data1, std::uint8_t data2) { engine->routeMIDI(status, data1, data2); }

  void passInSilence(double seconds) {
    mainQueue.advance(seconds);
    settle();
  }
  /// While these are heard.
  void passSounding(double seconds, const std::vector<Channel>& sounding) {
    constexpr double step = 0.05;
    for (int done = 0; done < static_cast<int>(seconds / step + 0.5); ++done) {
      for (const auto& channel : sounding) {
        test::setRawPeaks(*channel, {0.0F, 0.01F});
      }
      passInSilence(step);
    }
  }

  [[nodiscard]] const std::vector<Channel>& ringing() const { return engine->ringingChannels(); }
  [[nodiscard]] bool isParked(const std::string& key, const std::shared_ptr<AVAudioNode>& node) {
    bool isFound = false;
    while (const auto parked = engine->pluginPool().take(key)) {
      isFound = isFound || parked == node;
    }
    return isFound;
  }

  Channel piano;
  Channel organ;
  Instrument pianoNode;
  Instrument organNode;
};

TEST_F(LetRing, NothingRingsUntilItIsSet) {
  setSeconds(0);
  apply(1);
  EXPECT_THAT(ringing(), IsEmpty());
  EXPECT_FALSE(graph().isAttached(pianoNode));
  EXPECT_FALSE(piano->isRinging.get());
}

TEST_F(LetRing, TheStripsOfTheSongThatGoesStayInTheGraphBesideTheNext) {
  const auto chainBefore = graph().chainFrom(organNode);
  apply(1);
  EXPECT_THAT(ringing(), ElementsAre(piano, organ));
  EXPECT_EQ(graph().chainFrom(organNode), chainBefore) << "with effect, reverb and meter";
  ASSERT_EQ(engine->channels().size(), 1U);
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  EXPECT_THAT(graph().chainFrom(strip(0).instrumentNode.get()), HasSubstr("> main mixer > output"));
  EXPECT_EQ(graph().connectsWhileRunning, 0);
}

TEST_F(LetRing, TheSongThatComesHasInstrumentsOfItsOwn) {
  apply(1);
  EXPECT_NE(strip(0).instrumentNode.get(), pianoNode);
  EXPECT_FALSE(isParked(pianoKey, pianoNode)) << "a song after that gets none that rings";
}

TEST_F(LetRing, WithoutASpareInstrumentOneIsMadeAndTheRingGoesOn) {
  ASSERT_NE(engine->pluginPool().take(pianoKey), nullptr);
  songSwitch.applySong(1);
  settle();
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::loading);
  answerAll();
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  EXPECT_THAT(ringing(), ElementsAre(piano, organ));
}

TEST_F(LetRing, ReleasesReachWhatRingsAndNotesAndControllersDoNot) {
  piano->transpose.set(12);
  piano->minNote.set(48);
  goTo(1);
  const std::vector<MidiMessage> passedOver = {{0x90, 60, 100}, {0xA0, 60, 9},  {0xB0, 1, 90},   {0xB0, 11, 90},
                                               {0xB0, 64, 127}, {0xB0, 64, 64}, {0xB0, 66, 127}, {0xB0, 67, 0},
                                               {0xB0, 121, 0},  {0xD0, 90, 0},  {0xE0, 0, 90},   {0xC0, 3, 0}};
  for (const auto message : passedOver) {
    play(message.status, message.data1, message.data2);
  }
  EXPECT_THAT(pianoNode->events, IsEmpty());
  EXPECT_THAT(instrumentOf(engine->channels()[0])->events, Contains(simulation::RecordedEvent{0x90, 60, 100}));
  play(0x81, 60, 40);
  play(0x90, 62, 0);
  play(0x80, 47, 0);
  play(0xB0, 64, 63);
  play(0xB3, 66, 0);
  play(0xB0, 120, 0);
  play(0xB0, 123, 0);
  EXPECT_THAT(pianoNode->events,
              ElementsAre(simulation::RecordedEvent{0x81, 72, 40}, simulation::RecordedEvent{0x90, 74, 0},
                          simulation::RecordedEvent{0xB0, 64, 63}, simulation::RecordedEvent{0xB3, 66, 0},
                          simulation::RecordedEvent{0xB0, 120, 0}, simulation::RecordedEvent{0xB0, 123, 0}))
      << "split and transposed as in its song";
}

TEST_F(LetRing, APedalThatSwitchesARotorOrIsNotSentReleasesNothing) {
  piano->sustainControlsRotor.set(true);
  organ->sendSustain.set(false);
  goTo(1);
  play(0xB0, 64, 0);
  EXPECT_THAT(pianoNode->events, IsEmpty());
  EXPECT_THAT(organNode->events, IsEmpty());
}

TEST_F(LetRing, APedalThatALearnedControlReleasesIsReleasedThereToo) {
  goTo(1);
  engine->sendPerformanceMIDI(0xB0, 64, 127);
  engine->sendPerformanceMIDI(0xB0, 11, 127);
  engine->sendPerformanceMIDI(0xE0, 0, 127);
  engine->sendPerformanceMIDI(0xB0, 64, 0);
  EXPECT_THAT(pianoNode->events, ElementsAre(simulation::RecordedEvent{0xB0, 64, 0}));
}

TEST_F(LetRing, WhatTheAudioThreadHasGivenIsNotGivenAgain) {
  goTo(1);
  engine->midiRouter().routeMIDI(0x80, 60, 0, MidiRouter::Instruments::served);
  EXPECT_THAT(pianoNode->events, IsEmpty());
}

TEST_F(LetRing, TheOutgoingInstrumentsGetMidiStopAndNoStart) {
  apply(1);
  EXPECT_EQ(pianoNode->events.back(), (simulation::RecordedEvent{0xFC, 0, 0}));
}

TEST_F(LetRing, StripsThatSoundEndWhenTheTimeIsOverAndFadeBefore) {
  apply(1);
  const float level = meterOf(*piano).outputVolume();
  passSounding(4.4, {piano, organ});
  EXPECT_EQ(meterOf(*piano).outputVolume(), level);
  passSounding(0.35, {piano, organ});
  EXPECT_NEAR(meterOf(*piano).outputVolume(), 0.5F * level, 0.03F * level);
  EXPECT_EQ(ringing().size(), 2U);
  passInSilence(0.251);
  EXPECT_THAT(ringing(), IsEmpty());
  EXPECT_FALSE(graph().isAttached(pianoNode));
  EXPECT_FALSE(graph().isAttached(organNode));
  EXPECT_TRUE(organ->effectNodes.get().empty());
  EXPECT_TRUE(graph().isRunning());
  EXPECT_TRUE(isParked(pianoKey, pianoNode)) << "and their instruments are there for the next songs";
}

TEST_F(LetRing, ThoseThatEndTogetherChangeTheGraphOnce) {
  apply(1);
  passSounding(4.9, {piano, organ});
  const int starts = graph().count("start");
  passInSilence(0.2);
  EXPECT_THAT(ringing(), IsEmpty());
  EXPECT_EQ(graph().count("start"), starts + 1);
}

TEST_F(LetRing, AStripThatIsSilentEndsBeforeAndTheOthersGoOn) {
  apply(1);
  passSounding(1.9, {piano});
  EXPECT_EQ(ringing().size(), 2U);
  passSounding(0.3, {piano});
  EXPECT_THAT(ringing(), ElementsAre(piano));
  passSounding(1.8, {});
  EXPECT_EQ(ringing().size(), 1U) << "an echo may pause";
  passSounding(0.5, {});
  EXPECT_THAT(ringing(), IsEmpty());
}

TEST_F(LetRing, AStripThatIsNotHeardDoesNotRing) {
  organ->mute.set(true);
  apply(1);
  EXPECT_THAT(ringing(), ElementsAre(piano));
  EXPECT_FALSE(graph().isAttached(organNode));
}

TEST_F(LetRing, OfASoloTheOthersDoNotRing) {
  organ->solo.set(true);
  apply(1);
  EXPECT_THAT(ringing(), ElementsAre(organ));
}

TEST_F(LetRing, ASoloOfTheNextSongLeavesItsLevel) {
  apply(1);
  const float level = meterOf(*piano).outputVolume();
  strip(0).solo.set(true);
  engine->applyMixerLevels();
  EXPECT_GT(level, 0.0F);
  EXPECT_EQ(meterOf(*piano).outputVolume(), level);
}

TEST_F(LetRing, FilesAndClipsEndWithTheirSong) {
  const auto player = nodes.makePlayerNode();
  const auto file = engine->addChannel("Track");
  graph().attach(player);
  file->instrumentNode.set(player);
  file->pluginPath.set("internal:playback");
  file->playbackIsPlaying.set(true);
  engine->chains().rebuildChannelEffectChain(*file);
  const auto clips = engine->addChannel("Clips");
  engine->instruments().loadVisualInstrument(*clips, {}, nullptr);
  engine->applyMixerLevels();
  apply(1);
  EXPECT_THAT(ringing(), ElementsAre(piano, organ));
  EXPECT_FALSE(graph().isAttached(player));
}

TEST_F(LetRing, TheNextSwitchEndsWhatRingsSoThatOneSongRingsAtATime) {
  apply(1);
  const auto second = engine->channels()[0];
  apply(2);
  EXPECT_THAT(ringing(), ElementsAre(second));
  EXPECT_FALSE(graph().isAttached(pianoNode));
  passSounding(4, {second});
  EXPECT_THAT(ringing(), ElementsAre(second)) << "for a time of its own";
  passSounding(1.1, {second});
  EXPECT_THAT(ringing(), IsEmpty());
}

TEST_F(LetRing, ManySwitchesHoldNoMoreThanTwoSongs) {
  for (int turn = 0; turn < 20; ++turn) {
    apply(turn % 2 == 0 ? 1 : 0);
    EXPECT_LE(ringing().size() + engine->channels().size(), 3U);
    passSounding(0.3, ringing());
  }
  passInSilence(5.1);
  EXPECT_THAT(ringing(), IsEmpty());
  EXPECT_LE(engine->pluginPool().idleCount(pianoKey), PluginPool::largestCountPerKey);
}

TEST_F(LetRing, BackInTheSongThatRingsItsStripsAreNewAndTheOldOnesEnd) {
  apply(1);
  apply(0);
  EXPECT_EQ(engine->channels().size(), 2U);
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  ASSERT_EQ(ringing().size(), 1U);
  EXPECT_NE(ringing()[0], piano);
  EXPECT_FALSE(piano->instrumentNode.get());
}

TEST_F(LetRing, ASongThatIsBuiltAgainDoesNotRing) {
  apply(0);
  EXPECT_THAT(ringing(), IsEmpty());
}

TEST_F(LetRing, ASongThatIsDeletedDoesNotRing) {
  state.songs.modify([](auto& songs) { songs.erase(songs.begin()); });
  state.selectedSongIndex.set(std::nullopt);
  apply(0);
  EXPECT_THAT(ringing(), IsEmpty());
}

TEST_F(LetRing, ItWorksInLiveMode) {
  state.isLiveModeEnabled.set(true);
  apply(1);
  EXPECT_EQ(ringing().size(), 2U);
}

TEST_F(LetRing, APanicEndsItAtOnceAndParksNoSoundingInstrument) {
  goTo(1);
  performPanic(state, *engine);
  EXPECT_THAT(ringing(), IsEmpty());
  EXPECT_FALSE(graph().isAttached(pianoNode));
  EXPECT_EQ(pianoNode->events.size(), 192U);
  EXPECT_EQ(engine->channels().size(), 1U);
  settle();
  EXPECT_TRUE(isParked(pianoKey, pianoNode));
}

TEST_F(LetRing, APanicSilencesTheStageBeforeTheGraphChangesForWhatRings) {
  goTo(1);
  const auto onStage = instrumentOf(engine->channels()[0]);
  onStage->events.clear();
  graph().startFailure = Error{"gone"};
  performPanic(state, *engine);
  EXPECT_THAT(ringing(), IsEmpty());
  EXPECT_FALSE(graph().isRunning());
  EXPECT_EQ(onStage->events.size(), 192U);
}

TEST_F(LetRing, OnAnEngineThatIsStoppedAPanicEndsItAndSendsNothing) {
  goTo(1);
  graph().stop();
  performPanic(state, *engine);
  EXPECT_THAT(ringing(), IsEmpty());
  EXPECT_THAT(pianoNode->events, IsEmpty());
}

TEST_F(LetRing, WhatRingsIsStoredAsItWasAtTheSwitchAndInNoOtherSong) {
  pianoNode->core.documentState = PropertyListDictionary{{"tone", {0.5}}};
  apply(1);
  const auto stored = song(0);
  const int reads = pianoNode->core.documentStateReads;
  pianoNode->core.documentState = PropertyListDictionary{{"tone", {0.75}}};
  piano->volume.set(0.1F);
  songSwitch.captureCurrentSong();
  EXPECT_EQ(song(0), stored);
  EXPECT_TRUE(stored.channels[0].pluginStateBase64.has_value());
  EXPECT_EQ(song(1).channels.size(), 1U);
  EXPECT_EQ(pianoNode->core.documentStateReads, reads);
}

TEST_F(LetRing, AnInstrumentThatDiesEndsItsStripAlone) {
  apply(1);
  engine->pluginDied(pianoNode, "Piano was killed by signal 9");
  settle();
  EXPECT_THAT(ringing(), ElementsAre(organ));
  EXPECT_FALSE(isParked(pianoKey, pianoNode)) << "the dead are not handed out again";
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  EXPECT_THAT(console.lines, Contains("Plug-in crashed on strip Piano, which rang on: Piano was killed by signal 9"));
  passSounding(5.1, {organ});
  EXPECT_THAT(ringing(), IsEmpty());
}

TEST_F(LetRing, AnEffectThatDiesLeavesItsStripDryAndRinging) {
  const auto effect = organ->effectNodes.get().begin()->second;
  apply(1);
  engine->pluginDied(effect, "Chorus was killed by signal 9");
  settle();
  EXPECT_EQ(ringing().size(), 2U);
  EXPECT_FALSE(graph().isAttached(effect));
  EXPECT_THAT(graph().chainFrom(organNode), HasSubstr("> main mixer > output"));
  EXPECT_THAT(console.lines, Contains("Effect crashed on strip Organ, which rings on: Chorus was killed by signal 9"));
}

TEST_F(LetRing, AnEffectThatComesTooLateIsNotPutIn) {
  songSwitch.applySong(0);
  settle();
  const auto late = engine->channels()[1];
  const auto requested = [this] {
    for (std::size_t index = 0; index < units.requests.size(); ++index) {
      if (units.requests[index].isForMIDIInstrument) {
        return index;
      }
    }
    return units.requests.size();
  };
  for (auto index = requested(); index < units.requests.size(); index = requested()) {
    units.answerWithInstrument(index);
    settle();
  }
  ASSERT_EQ(units.requests.size(), 1U) << "the effect is on its way";
  apply(1);
  EXPECT_THAT(ringing(), Contains(late));
  EXPECT_TRUE(late->effectNodes.get().empty());
}

TEST_F(LetRing, OnAnEngineThatIsStoppedItEndsAsWell) {
  apply(1);
  graph().stop();
  passInSilence(2.2);
  EXPECT_THAT(ringing(), IsEmpty());
  EXPECT_FALSE(graph().isAttached(pianoNode));
  EXPECT_FALSE(graph().isRunning());
}

TEST_F(LetRing, ARateThatChangesMeanwhileLeavesItRinging) {
  apply(1);
  engine->performGraphMutation("a change", [this] {
    dynamic_cast<simulation::SimulatedNode&>(*graph().outputNode()).format = {96000.0, 2};
  });
  answerAll();
  EXPECT_EQ(ringing().size(), 2U);
  EXPECT_TRUE(graph().isAttached(pianoNode));
}

}  // namespace
}  // namespace vrel
