// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/console_mirror.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QList>
#include <QString>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/window/console_model.h"
#include "console/window/console_stage.h"
#include "performance/live_mode_policy.h"

namespace vrel::window {
namespace {

class Copy : public ConsoleStage {
 protected:
  /// The first song on stage, and all of it shown.
  void open() {
    appear();
    settle();
  }

  /// A row of a list.
  template <typename Model>
  [[nodiscard]] const Model& row(MirrorList& list, int row) {
    auto* const entry = list.data(list.index(row), MirrorList::entryRole).value<MirrorItem*>();
    return *qobject_cast<Model*>(entry);
  }
  [[nodiscard]] const StripViewModel& shownStrip(int index) { return row<StripViewModel>(*model.strips(), index); }

  [[nodiscard]] std::vector<std::string> stripIds() {
    std::vector<std::string> ids;
    for (int at = 0; at < model.strips()->count(); ++at) {
      ids.push_back(shownStrip(at).channelId().toStdString());
    }
    return ids;
  }
  [[nodiscard]] std::vector<std::string> songNames() {
    std::vector<std::string> names;
    for (int at = 0; at < model.songs()->count(); ++at) {
      names.push_back(row<SongViewModel>(*model.songs(), at).name().toStdString());
    }
    return names;
  }

  ConsoleModel model{[](const auto&) {}};
  SessionViewModel& session = *model.session();
  Observable<std::optional<NSAlert>> shownAlert;
  MirrorSource source{mainQueue, [this](const MirrorBatch& batch) {
                        model.apply(batch);
                        source.delivered();
                      }};
  std::optional<ConsoleMirror> mirror{std::in_place, source, content, shownAlert};
};

using Words = std::vector<std::string>;

TEST_F(Copy, StripsFollowTheChannelsOfTheSongOnStage) {
  open();
  EXPECT_EQ(stripIds(), Words{strip(0).id.text()});
  content.channelOperations().addChannelFromButton();
  settle();
  EXPECT_EQ(stripIds(), (Words{strip(0).id.text(), strip(1).id.text()}));
  EXPECT_EQ(shownStrip(1).index(), 1);
  EXPECT_EQ(shownStrip(1).number(), 2);

  content.channelOperations().moveChannels({1}, 0);
  source.schedule();  // as the program does after each command
  settle();
  EXPECT_EQ(stripIds(), (Words{strip(0).id.text(), strip(1).id.text()}));
  EXPECT_EQ(shownStrip(0).index(), 0);

  content.channelOperations().removeChannelFromConsole(strip(0));
  settle();
  EXPECT_EQ(stripIds(), Words{strip(0).id.text()});
}

TEST_F(Copy, AStripShowsTheValuesOfItsChannel) {
  open();
  strip(0).name.set("Lead");
  strip(0).mute.set(true);
  strip(0).solo.set(true);
  strip(0).volume.set(0.5F);
  strip(0).color.set({1.0F, 0.0F, 0.0F});
  settle();
  EXPECT_EQ(shownStrip(0).name(), QStringLiteral("Lead"));
  EXPECT_TRUE(shownStrip(0).mute());
  EXPECT_TRUE(shownStrip(0).solo());
  EXPECT_EQ(shownStrip(0).volume(), 0.5);
  EXPECT_EQ(shownStrip(0).color(), QColor(255, 0, 0));
  EXPECT_TRUE(shownStrip(0).isSelected());
}

TEST_F(Copy, AStripTakenAwayInTheTurnInWhichTheSelectionChangesTouchesNothingDead) {
  open();
  content.channelOperations().addChannelFromButton();
  settle();
  const auto gone = strip(0).id;
  engine->removeChannel(strip(0));
  content.selection().selectedChannelId.set(gone);
  content.selection().selectedChannelId.set(strip(0).id);
  state.language.set(Language::italian);
  content.selection().channelsViewVersion.set(content.selection().channelsViewVersion.get() + 1);
  settle();
  EXPECT_EQ(stripIds(), Words{strip(0).id.text()});
  EXPECT_TRUE(shownStrip(0).isSelected());
}

TEST_F(Copy, AStripWithoutAPluginSaysSoInTheLanguageChosen) {
  open();
  settle();
  const auto english = shownStrip(0).instrumentText();
  EXPECT_FALSE(english.isEmpty());
  state.language.set(Language::german);
  settle();
  EXPECT_NE(shownStrip(0).instrumentText(), english);
  strip(0).pluginName.set("Piano");
  strip(0).pluginPath.set(pianoKey);
  settle();
  EXPECT_EQ(shownStrip(0).instrumentText(), QStringLiteral("Piano"));
}

TEST_F(Copy, TheStatusIsShownInTheLanguage) {
  open();
  strip(0).status.set(ChannelStatus::crashed);
  settle();
  EXPECT_EQ(shownStrip(0).statusText(), QStringLiteral("CRASHED"));
  EXPECT_EQ(shownStrip(0).status(), StripViewModel::Status::Crashed);
  state.language.set(Language::german);
  settle();
  EXPECT_EQ(shownStrip(0).statusText(), QStringLiteral("ABGESTÜRZT"));
  strip(0).status.set(ChannelStatus::running);
  settle();
  EXPECT_EQ(shownStrip(0).statusText(), QStringLiteral("AKTIV"));
}

TEST_F(Copy, WhatLiveModeBlocksIsShownForEachControl) {
  open();
  using View = SessionViewModel;
  const std::vector<std::pair<const bool& (View::*)() const, LiveModeAction>> permissions{
      {&View::mayRenameSong, LiveModeAction::renameSong},
      {&View::mayTypeText, LiveModeAction::typeText},
      {&View::mayMoveChannels, LiveModeAction::moveChannels},
      {&View::mayAddChannel, LiveModeAction::addChannel},
      {&View::mayCutChannel, LiveModeAction::cutChannel},
      {&View::mayCopyChannel, LiveModeAction::copyChannel},
      {&View::mayPasteChannel, LiveModeAction::pasteChannel},
      {&View::mayDuplicateChannel, LiveModeAction::duplicateChannel},
      {&View::mayDeleteChannel, LiveModeAction::deleteChannel},
      {&View::mayChooseMasterColor, LiveModeAction::chooseMasterColor},
      {&View::mayChangeInstrument, LiveModeAction::changeInstrument}};
  for (const auto& [isAllowed, action] : permissions) {
    EXPECT_TRUE((session.*isAllowed)()) << static_cast<int>(action);
  }
  content.liveMode().setLiveMode(true);
  settle();
  for (const auto& [isAllowed, action] : permissions) {
    EXPECT_EQ((session.*isAllowed)(), LiveModePolicy::rule(action).isAllowed) << static_cast<int>(action);
  }
}

TEST_F(Copy, TheStateOfTheInstrumentAndOfTheEffectsIsMirrored) {
  open();
  using Instrument = StripViewModel::Instrument;
  EXPECT_EQ(shownStrip(0).instrument(), Instrument::Empty);
  strip(0).pluginPath.set(pianoKey);
  strip(0).status.set(ChannelStatus::running);
  settle();
  EXPECT_EQ(shownStrip(0).instrument(), Instrument::Present);
  strip(0).status.set(ChannelStatus::crashed);
  settle();
  EXPECT_EQ(shownStrip(0).instrument(), Instrument::Failed);
  EXPECT_FALSE(shownStrip(0).hasFailedEffect());
  EXPECT_FALSE(model.master()->hasFailedEffect());
  strip(0).failedEffects.set({Uuid::fresh()});
  engine->masterChannel()->failedEffects.set({Uuid::fresh()});
  settle();
  EXPECT_TRUE(shownStrip(0).hasFailedEffect());
  EXPECT_TRUE(model.master()->hasFailedEffect());
}

TEST_F(Copy, AStripWhosePluginIsNotInstalledShowsTheNameOfWhatItWantedWhereThatIsKnown) {
  const std::string nowhere = "aucd:1635085685:77:77";
  addSong("One", {record("Keys", "au:Bolt:Grand Organ"), record("Pad", nowhere), record("Bass", pianoKey)});
  changeSong(
      0, [&](SongConfig& song) { song.channels[2].effectSlots = {{.pluginPath = nowhere, .pluginName = "Old Pad"}}; });
  open();
  content.songSwitch().applySong(0);
  answerAll();
  ASSERT_EQ(stripIds().size(), 3U);
  EXPECT_EQ(shownStrip(0).instrumentText(), QStringLiteral("Grand Organ"));
  EXPECT_EQ(shownStrip(1).instrumentText(), QStringLiteral("Old Pad"));
  EXPECT_EQ(shownStrip(1).instrument(), StripViewModel::Instrument::Failed);
  for (const auto& line : console.lines) {
    EXPECT_EQ(line.find("aucd"), std::string::npos) << line;
  }
  ASSERT_FALSE(console.failures.empty());
  mirror->addProblem(console.failures.front().first, console.failures.front().second);
  settle();
  EXPECT_EQ(session.problem(), QStringLiteral("Failed to load plugin: Grand Organ is not installed (Keys)"));
}

TEST_F(Copy, SongsFollowTheSetlist) {
  addSong("One", {});
  addSong("Two", {});
  open();
  EXPECT_EQ(songNames(), (Words{"One", "Two"}));
  changeSong(0, [](SongConfig& song) { song.name = "Opener"; });
  settle();
  EXPECT_EQ(songNames(), (Words{"Opener", "Two"}));
  state.songs.modify([](std::vector<SongConfig>& songs) { std::swap(songs[0], songs[1]); });
  settle();
  EXPECT_EQ(songNames(), (Words{"Two", "Opener"}));
  state.songs.set({});
  settle();
  EXPECT_EQ(model.songs()->count(), 0);
}

TEST_F(Copy, TheTargetThatIsLearnedIsShownWithItsStrip) {
  using Kind = learn_kind::Kind;
  open();
  EXPECT_EQ(session.pendingLearnKind(), Kind::None);
  content.midiLearn().toggleMidiLearnMode();
  content.midiLearn().selectMidiLearnTarget({MidiControlKind::channelVolume, 2});
  settle();
  EXPECT_EQ(session.pendingLearnKind(), Kind::ChannelVolume);
  EXPECT_EQ(session.pendingLearnChannel(), 2);
  content.midiLearn().selectMidiLearnTarget({MidiControlKind::masterVolume, std::nullopt});
  settle();
  EXPECT_EQ(session.pendingLearnKind(), Kind::MasterVolume);
  EXPECT_EQ(session.pendingLearnChannel(), -1);
  content.midiLearn().cancelMidiLearn();
  settle();
  EXPECT_EQ(session.pendingLearnKind(), Kind::None);
}

TEST_F(Copy, TheSessionShowsFileModeAndLoading) {
  open();
  EXPECT_EQ(session.fileName(), "");
  EXPECT_FALSE(session.isLive());
  EXPECT_EQ(session.loadingProgress(), -1);
  state.currentFilePath.set("/home/me/gig.vrel");
  content.liveMode().setLiveMode(true);
  state.totalLoadsCount.set(4);
  state.remainingLoadsCount.set(1);
  settle();
  EXPECT_EQ(session.fileName(), "gig.vrel");
  EXPECT_TRUE(session.isLive());
  EXPECT_EQ(session.loadingProgress(), 0.75);
  mirror->addProblem(FailureKind::other, "no sound device");
  settle();
  EXPECT_EQ(session.problem(), "no sound device");
}

TEST_F(Copy, TheSameProblemAgainIsAnotherOne) {
  const auto count = [this] {
    settle();
    return session.problemCount();
  };
  EXPECT_EQ(count(), 0);
  mirror->addProblem(FailureKind::other, "disk full");
  EXPECT_EQ(count(), 1);
  mirror->addProblem(FailureKind::other, "disk full");
  EXPECT_EQ(count(), 2);
}

class ProblemLine : public Copy {
 protected:
  ProblemLine() {
    addSong("One", {record("A", "")});
    addSong("Two", {record("B", "")});
    open();
    content.songList().clickSong(0);
    answerAll();
  }

  std::string shownAfter(FailureKind kind, const std::string& line) {
    mirror->addProblem(kind, line);
    return shown();
  }
  std::string shown() {
    settle();
    return session.problem().toStdString();
  }
};

TEST_F(ProblemLine, ThatTheAudioOutputIsLostGoesWhenItIsBack) {
  for (const char* const line : {"Audio output device lost: A: gone", "No audio output device found"}) {
    mirror->setAudioOutput(true, "JACK: system");
    EXPECT_EQ(shownAfter(FailureKind::output, line), line);
    mirror->setAudioOutput(true, "another");
    EXPECT_EQ(shown(), line);
    mirror->setAudioOutput(false, "");
    EXPECT_EQ(shown(), "");
  }
  EXPECT_EQ(shownAfter(FailureKind::other, "disk full"), "disk full");
  mirror->setAudioOutput(false, "");
  EXPECT_EQ(shown(), "disk full");
}

TEST_F(ProblemLine, GoesAtTheNextSong) {
  EXPECT_EQ(shownAfter(FailureKind::other, "no sound device"), "no sound device");
  content.songList().clickSong(1);
  EXPECT_EQ(shown(), "");
}

TEST_F(ProblemLine, OfAFailedSaveGoesWithTheNextSave) {
  state.isDirty.set(true);
  EXPECT_EQ(shownAfter(FailureKind::save, "Failed to save setlist: disk full"), "Failed to save setlist: disk full");
  strip(0).status.set(ChannelStatus::running);
  EXPECT_EQ(shown(), "Failed to save setlist: disk full");
  state.isDirty.set(false);
  EXPECT_EQ(shown(), "");
}

TEST_F(ProblemLine, OfAnInstrumentGoesWhenItPlaysAgain) {
  strip(0).status.set(ChannelStatus::crashed);
  const std::string line = "Plug-in crashed on strip A: was killed by signal 9";
  EXPECT_EQ(shownAfter(FailureKind::instrument, line), line);
  strip(0).status.set(ChannelStatus::loading);
  EXPECT_EQ(shown(), line);
  strip(0).status.set(ChannelStatus::running);
  EXPECT_EQ(shown(), "");
}

TEST_F(ProblemLine, OfAnInstrumentStaysWhileAnotherStripFails) {
  content.channelOperations().addChannelFromButton();
  strip(0).status.set(ChannelStatus::loadFailed);
  strip(1).status.set(ChannelStatus::loadFailed);
  EXPECT_EQ(shownAfter(FailureKind::instrument, "Failed to load plugin: no room"), "Failed to load plugin: no room");
  strip(0).status.set(ChannelStatus::running);
  EXPECT_EQ(shown(), "Failed to load plugin: no room");
  content.channelOperations().removeChannelFromConsole(strip(1));
  EXPECT_EQ(shown(), "");
}

TEST_F(ProblemLine, OfAnEffectGoesWhenItIsLoadedOrRemoved) {
  AudioPluginSlot slot;
  slot.pluginPath = chorusKey;
  for (AudioChannel* const channel : {&strip(0), engine->masterChannel().get()}) {
    channel->effectSlots.set({slot});
    EXPECT_NE(shownAfter(FailureKind::effect, "Effect crashed on strip A: was killed by signal 9"), "");
    channel->effectNodes.set({{slot.id, std::make_shared<simulation::ScriptedUnit>("Chorus")}});
    EXPECT_EQ(shown(), "");
    channel->effectNodes.set({});
    EXPECT_NE(shownAfter(FailureKind::effect, "Failed to load effect plugin: no"), "");
    channel->effectSlots.set({});
    EXPECT_EQ(shown(), "");
  }
}

TEST_F(ProblemLine, StaysWhenOnlyTheOldInstrumentIsBackAfterAFailure) {
  const std::string line = "Failed to load plugin: no room";
  EXPECT_EQ(shownAfter(FailureKind::instrument, line), line);
  strip(0).status.set(ChannelStatus::running);
  strip(0).status.set(ChannelStatus::loadFailed);  // what was asked for did not come
  EXPECT_EQ(shown(), line);
  strip(0).status.set(ChannelStatus::loading);
  EXPECT_EQ(shown(), line);
  strip(0).status.set(ChannelStatus::running);
  EXPECT_EQ(shown(), "");
}

TEST_F(Copy, DropoutsAreCountedAndStopAtTheLargestNumberThatCanBeShown) {
  const auto shown = [this](std::uint64_t count) {
    mirror->setDropouts(count);
    settle();
    return session.dropouts();
  };
  EXPECT_EQ(shown(0), 0);
  EXPECT_EQ(shown(7), 7);
  EXPECT_EQ(shown(std::numeric_limits<std::uint64_t>::max()), std::numeric_limits<int>::max());
}

TEST_F(Copy, TheSessionShowsWhetherThereIsAMidiPort) {
  const auto hasPort = [this] {
    settle();
    return session.hasMidiPort();
  };
  EXPECT_FALSE(hasPort()) << "nothing has been connected yet";
  state.activeMidiPortName.set("Keystation 88");
  EXPECT_TRUE(hasPort());
}

TEST_F(Copy, TheSessionShowsThatTheAudioOutputIsMissingAndWhatItWaitsFor) {
  settle();
  EXPECT_FALSE(session.isAudioOutputMissing());
  mirror->setAudioOutput(true, "JACK: system");
  settle();
  EXPECT_TRUE(session.isAudioOutputMissing());
  EXPECT_EQ(session.awaitedAudioOutput(), "JACK: system");
  mirror->setAudioOutput(false, "");
  settle();
  EXPECT_FALSE(session.isAudioOutputMissing());
  EXPECT_EQ(session.awaitedAudioOutput(), "");
}

TEST_F(Copy, AQuestionIsShownWithItsTextsAndGoesWithItsAnswer) {
  open();
  const AlertViewModel& alert = *model.alert();
  EXPECT_FALSE(alert.isShown());
  shownAlert.set(NSAlert{NSAlert::Style::informational, "Save?", "Else it is lost.", {"Yes", "No"}});
  settle();
  EXPECT_TRUE(alert.isShown());
  EXPECT_FALSE(alert.isWarning());
  EXPECT_EQ(alert.message(), "Save?");
  EXPECT_EQ(alert.informative(), "Else it is lost.");
  EXPECT_EQ(alert.buttons(), (QList<QString>{QStringLiteral("Yes"), QStringLiteral("No")}));
  shownAlert.set(std::nullopt);
  settle();
  EXPECT_FALSE(alert.isShown());
}

TEST_F(Copy, AllTextsChangeWithTheLanguage) {
  open();
  EXPECT_EQ(model.texts()->panic(), "PANIC");
  state.language.set(Language::spanish);
  settle();
  EXPECT_EQ(model.texts()->panic(), "PÁNICO");
}

TEST_F(Copy, LevelsDoNotGoThroughTheMirror) {
  open();
  strip(0).peakL.set(0.5F);
  engine->masterChannel()->peakR.set(0.75F);
  EXPECT_FALSE(mainQueue.runOne());
}

TEST_F(Copy, AMirrorThatIsGoneFollowsNothing) {
  open();
  mirror.reset();
  strip(0).name.set("Lead");
  state.songs.set({});
  content.selection().selectedChannelId.set(std::nullopt);
  settle();
  EXPECT_EQ(model.songs()->count(), 1);
}

}  // namespace
}  // namespace vrel::window
