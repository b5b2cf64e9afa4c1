// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/song_stage.h"

#include "support/simulated_stage.h"

namespace vrel {
namespace {

class Stage : public SimulatedStage {
 protected:
  static ChannelConfig record(const std::string& name, const std::string& path) {
    ChannelConfig config;
    config.name = name;
    config.pluginPath = path;
    return config;
  }

  SongConfig& addSong(const std::string& name) {
    auto& song = stage.songs.emplace_back();
    song.name = name;
    return song;
  }

  /// Answers everything that is asked for until nothing is.
  void answerAll() {
    settle();
    while (!units.requests.empty()) {
      if (units.requests[0].isForMIDIInstrument) {
        units.answerWithInstrument();
      } else {
        units.answerWithUnit();
      }
      settle();
    }
  }

  SongStage stage{*engine, console, {{piano, organ}, {chorus}}};
};

TEST_F(Stage, AnIndexOutOfRangeChangesAndCapturesNothing) {
  addSong("One").channels.push_back(record("Piano", pianoKey));
  stage.applySong(0);
  answerAll();
  engine->channels()[0]->volume.set(0.1F);
  const auto before = stage.songs;
  stage.applySong(1);
  stage.applySong(-1);
  EXPECT_EQ(stage.selectedSongIndex.get(), 0U);
  EXPECT_EQ(stage.songs, before);
  EXPECT_EQ(engine->channels().size(), 1U);
}

TEST_F(Stage, TheFirstSongCapturesNothing) {
  addSong("One").channels.push_back(record("Piano", pianoKey));
  const auto before = stage.songs;
  stage.applySong(0);
  EXPECT_EQ(stage.songs, before);
}

TEST_F(Stage, BuildsTheStripsOfTheRecordWithAllTheirValues) {
  auto config = record("Low", pianoKey);
  config.volume = 0.3F;
  config.reverb = 0.4F;
  config.mute = true;
  config.color = {0.1F, 0.2F, 0.3F};
  config.minNote = 10;
  config.maxNote = 59;
  config.transpose = -12;
  config.sendSustain = false;
  config.sendExpression = false;
  config.sustainControlsRotor = true;
  addSong("One").channels = {config, record("High", organKey)};
  stage.applySong(0);
  EXPECT_GT(stage.pendingLoads(), 0U);
  answerAll();
  EXPECT_EQ(stage.pendingLoads(), 0U);
  ASSERT_EQ(engine->channels().size(), 2U);
  const auto& low = *engine->channels()[0];
  EXPECT_EQ(low.name.get(), "Low");
  EXPECT_EQ(low.volume.get(), 0.3F);
  EXPECT_EQ(low.reverb.get(), 0.4F);
  EXPECT_TRUE(low.mute.get());
  EXPECT_EQ(low.color.get(), config.color);
  EXPECT_EQ(low.minNote.get(), 10);
  EXPECT_EQ(low.maxNote.get(), 59);
  EXPECT_EQ(low.transpose.get(), -12);
  EXPECT_FALSE(low.sendSustain.get());
  EXPECT_FALSE(low.sendExpression.get());
  EXPECT_TRUE(low.sustainControlsRotor.get());
  EXPECT_EQ(low.status.get(), "RUNNING");
  EXPECT_EQ(engine->channels()[1]->pluginPath.get(), organKey);
}

TEST_F(Stage, ASongOfNothingStandsAtOnce) {
  addSong("Empty").channels.push_back(record("Free", ""));
  stage.applySong(0);
  EXPECT_EQ(stage.pendingLoads(), 0U);
  EXPECT_EQ(engine->channels()[0]->status.get(), "No plugin");
}

TEST_F(Stage, AnUnknownPluginKeepsItsSilentStripAndTheRestSounds) {
  addSong("One").channels = {record("Gone", "aucd:1635085685:77:78"), record("Piano", pianoKey)};
  stage.applySong(0);
  answerAll();
  EXPECT_EQ(engine->channels()[0]->status.get(), "Load failed");
  EXPECT_EQ(engine->channels()[1]->status.get(), "RUNNING");
  EXPECT_EQ(stage.pendingLoads(), 0U);
  EXPECT_EQ(console.lines, Lines{"Failed to load plugin: aucd:1635085685:77:78 is not installed (Gone)"});
}

TEST_F(Stage, EffectsOfStripsAndMasterAreRestoredBehindTheInstrument) {
  auto config = record("Piano", pianoKey);
  AudioPluginSlot slot;
  slot.pluginPath = chorusKey;
  config.effectSlots = {slot};
  auto& song = addSong("One");
  song.channels = {config};
  song.masterEffectSlots = {slot};
  stage.applySong(0);
  answerAll();
  EXPECT_EQ(stage.pendingLoads(), 0U);
  const auto& instrument = engine->channels()[0]->instrumentNode.get();
  EXPECT_EQ(graph().chainFrom(instrument), dynamic_cast<simulation::ScriptedInstrument&>(*instrument).name +
                                               " > effect 2 > reverb 1 > meter 1 > main mixer > effect 1 > output");
}

TEST_F(Stage, TheOutgoingSongIsCapturedWithTheStateOfItsPlugins) {
  addSong("One").channels = {record("Piano", pianoKey)};
  addSong("Two").channels = {record("Organ", organKey)};
  stage.applySong(0);
  answerAll();
  auto& channel = *engine->channels()[0];
  channel.transpose.set(5);
  dynamic_cast<simulation::ScriptedInstrument&>(*channel.instrumentNode.get()).core.documentState =
      PropertyListDictionary{{"tone", {0.5}}};
  stage.applySong(1);
  answerAll();
  EXPECT_EQ(stage.songs[0].channels[0].transpose, 5);
  EXPECT_TRUE(stage.songs[0].channels[0].pluginStateBase64.has_value());
  EXPECT_EQ(engine->channels()[0]->pluginName.get(), "Organ");
}

TEST_F(Stage, ASongChangeTakesTheSecondTimeRoundItsInstrumentFromThePool) {
  addSong("One").channels = {record("Piano", pianoKey)};
  addSong("Two").channels = {record("Organ", organKey)};
  stage.applySong(0);
  answerAll();
  stage.applySong(1);
  settle();
  EXPECT_EQ(engine->channels()[0]->status.get(), "RUNNING");
  EXPECT_EQ(stage.pendingLoads(), 0U);
}

TEST_F(Stage, LateAnswersOfAnEarlierSongTouchNothingOfTheNext) {
  addSong("One").channels = {record("Piano", pianoKey)};
  addSong("Two").channels = {record("Organ", organKey)};
  stage.applySong(0);
  stage.applySong(1);
  const auto pending = stage.pendingLoads();
  settle();
  ASSERT_FALSE(units.requests.empty());
  ASSERT_EQ(units.requests[0].description, piano.audioComponentDescription);
  const auto late = units.answerWithInstrument(0);
  settle();
  EXPECT_EQ(stage.pendingLoads(), pending) << "the other song still waits for its own";
  EXPECT_EQ(engine->channels()[0]->status.get(), "Loading...");
  EXPECT_FALSE(graph().isAttached(late));
}

TEST_F(Stage, AVisualAndAPlaybackChannelLoseNothingInACapture) {
  auto clips = record("Clips", "internal:visual");
  clips.visualClipMappings = {VisualClipMapping{}};
  auto file = record("Track", "internal:playback");
  file.playbackFilePath = "/music/track.wav";
  file.playbackLoop = true;
  file.playbackStartTime = 1.5;
  file.playbackEndTime = 9.5;
  file.playbackStopMode = "other";
  addSong("One").channels = {clips, file};
  stage.applySong(0);
  stage.captureCurrentSong();
  auto captured = stage.songs[0].channels;
  captured[0].id = clips.id;
  captured[1].id = file.id;
  EXPECT_EQ(captured[0], clips);
  EXPECT_EQ(captured[1], file);
}

TEST_F(Stage, TheMastersVolumeStaysAcrossSongs) {
  addSong("One");
  addSong("Two");
  engine->masterChannel()->volume.set(0.33F);
  stage.applySong(0);
  stage.applySong(1);
  EXPECT_EQ(engine->masterChannel()->volume.get(), 0.33F);
}

}  // namespace
}  // namespace vrel
