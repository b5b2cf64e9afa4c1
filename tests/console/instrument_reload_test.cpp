// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/instrument_reload.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "document/plugin_path.h"
#include "support/simulated_session.h"
#include "text/text.h"

namespace vrel {
namespace {

class Reload : public SimulatedSession {
 protected:
  Reload() : channel(engine->addChannel("Keys")) { settle(); }

  void load(const AVAudioUnitComponent& component) {
    engine->instruments().loadInstrument(channel, component, std::nullopt, nullptr);
    answerAll();
  }

  /// The instrument sounds as `tone` says, and dies.
  void loseInstrument() {
    instrument().core.documentState = tone;
    engine->pluginDied(channel->instrumentNode.get(), "It was killed by signal 9");
    settle();
    ASSERT_EQ(channel->status.get(), ChannelStatus::crashed);
  }

  [[nodiscard]] simulation::ScriptedInstrument& instrument() const {
    return dynamic_cast<simulation::ScriptedInstrument&>(*channel->instrumentNode.get());
  }

  [[nodiscard]] bool hasLogged(const std::string& part) const {
    return std::any_of(console.lines.begin(), console.lines.end(),
                       [&](const std::string& line) { return line.find(part) != std::string::npos; });
  }

  static inline const PropertyListDictionary tone{{"cutoff", PropertyListValue{std::int64_t{7}}}};
  InstrumentReload reload{state, *engine, console};
  std::shared_ptr<AudioChannel> channel;
};

TEST_F(Reload, OfAnEmptyPathLoadsNothingAndAppliesTheLevels) {
  channel->meterLevel = 0.123F;
  reload.reload(channel);
  settle();
  EXPECT_TRUE(units.requests.empty());
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_NE(channel->meterLevel.load(), 0.123F) << "the levels were applied";
  EXPECT_EQ(channel->status.get(), ChannelStatus::noPlugin);
}

TEST_F(Reload, OfClipsShowsThoseThatTheStripHas) {
  channel->pluginPath.set(std::string(pathVisual));
  channel->visualClipMappings.set({VisualClipMapping()});
  channel->status.set(ChannelStatus::crashed);
  reload.reload(channel);
  EXPECT_EQ(channel->status.get(), ChannelStatus::running);
  EXPECT_EQ(channel->visualClipMappings.get().size(), 1U);
}

TEST_F(Reload, OfAFileThatCannotBeOpenedFailsAndKeepsItsPath) {
  channel->pluginPath.set(std::string(pathPlayback));
  channel->playbackFilePath.set("/nowhere/at-all.wav");
  reload.reload(channel);
  settle();
  EXPECT_EQ(channel->status.get(), ChannelStatus::loadFailed);
  EXPECT_EQ(channel->playbackFilePath.get(), "/nowhere/at-all.wav");
}

TEST_F(Reload, OfAPluginShowsTheModalUntilItAnswers) {
  load(piano);
  reload.simulateCrash(*channel);
  ASSERT_EQ(channel->status.get(), ChannelStatus::crashed);
  reload.reload(channel);
  EXPECT_EQ(channel->status.get(), ChannelStatus::loading);
  EXPECT_TRUE(state.showLoadingModal.get());
  EXPECT_EQ(state.loadingMessage.get(), text(TextKey::loadingAudioUnits, Language::english));
  answerAll();
  EXPECT_EQ(channel->status.get(), ChannelStatus::running);
  EXPECT_EQ(state.remainingLoadsCount.get(), 0);
}

TEST_F(Reload, OfAnInstrumentThatDiedBringsItsLastStateBack) {
  load(piano);
  loseInstrument();
  reload.reload(channel);
  answerAll();
  ASSERT_EQ(channel->status.get(), ChannelStatus::running);
  EXPECT_EQ(instrument().core.documentState, tone);
}

TEST_F(Reload, ThatFailsKeepsTheLastStateOfAnInstrumentThatDied) {
  load(piano);
  loseInstrument();
  reload.reload(channel);
  settle();
  units.answer(0, nullptr, Error{"no room"});
  settle();
  ASSERT_EQ(channel->status.get(), ChannelStatus::loadFailed);
  const auto saved = engine->pluginState().capturePluginState(*channel);
  EXPECT_EQ(engine->pluginState().decodePluginState(saved), tone);
  reload.reload(channel);
  answerAll();
  EXPECT_EQ(instrument().core.documentState, tone);
}

TEST_F(Reload, OfAnInstrumentThatStillPlaysKeepsItsSound) {
  load(piano);
  instrument().core.documentState = tone;
  engine->instruments().loadInstrument(channel, organ, std::nullopt, nullptr);
  settle();
  units.answer(0, nullptr, Error{"no room"});
  settle();
  ASSERT_TRUE(InstrumentReload::canRevive(*channel));
  reload.reload(channel);
  answerAll();
  EXPECT_EQ(channel->pluginPath.get(), pianoKey);
  EXPECT_EQ(instrument().core.documentState, tone);
}

TEST_F(Reload, AfterASimulatedCrashIsWithoutAState) {
  load(piano);
  instrument().core.documentState = tone;
  reload.simulateCrash(*channel);
  reload.reload(channel);
  answerAll();
  EXPECT_EQ(instrument().core.calls, (std::vector<std::string>{"host callbacks"}));
}

TEST_F(Reload, OfAPluginThatIsNotInstalledFailsAtOnce) {
  channel->pluginPath.set("aucd:1:2:3");
  reload.reload(channel);
  EXPECT_EQ(channel->status.get(), ChannelStatus::loadFailed);
  EXPECT_FALSE(state.showLoadingModal.get());
  EXPECT_TRUE(hasLogged("aucd:1:2:3 is not installed (Keys)"));
}

TEST_F(Reload, ItsEndDoesNotCountInAnotherLoadingSession) {
  load(piano);
  reload.simulateCrash(*channel);
  reload.reload(channel);
  state.beginLoadingSession(2, "Other");
  answerAll();
  EXPECT_EQ(state.remainingLoadsCount.get(), 2);
  state.finishLoadingSession();
}

TEST_F(Reload, ACrashNeedsAnInstrumentThatRunsAndARevivalOneThatFailed) {
  EXPECT_FALSE(InstrumentReload::canCrash(*channel));
  EXPECT_FALSE(InstrumentReload::canRevive(*channel));
  reload.simulateCrash(*channel);
  EXPECT_EQ(channel->status.get(), ChannelStatus::noPlugin);

  load(piano);
  EXPECT_TRUE(InstrumentReload::canCrash(*channel));
  EXPECT_FALSE(InstrumentReload::canRevive(*channel));

  reload.simulateCrash(*channel);
  EXPECT_FALSE(InstrumentReload::canCrash(*channel));
  EXPECT_TRUE(InstrumentReload::canRevive(*channel));

  channel->status.set(ChannelStatus::loadFailed);
  EXPECT_TRUE(InstrumentReload::canRevive(*channel));
}

}  // namespace
}  // namespace vrel
