// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/console_mirror.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QStringList>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/window/console_stage.h"
#include "console/window/mirror_store.h"
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

  [[nodiscard]] MirrorList& list(MirrorId id) { return *store.list(id); }
  [[nodiscard]] QVariant row(MirrorId id, int row, const char* name) {
    const auto* const entry = list(id).data(list(id).index(row), MirrorList::entryRole).value<MirrorItem*>();
    return entry != nullptr ? entry->value(QString::fromLatin1(name)) : QVariant();
  }
  [[nodiscard]] std::string text(MirrorId id, const char* name) {
    return store.object(id)->value(QString::fromLatin1(name)).toString().toStdString();
  }
  [[nodiscard]] std::vector<std::string> texts(MirrorId id, const char* name) {
    std::vector<std::string> all;
    for (int at = 0; at < list(id).count(); ++at) {
      all.push_back(row(id, at, name).toString().toStdString());
    }
    return all;
  }

  MirrorStore store;
  MeterBoard meters;
  Observable<std::optional<NSAlert>> shownAlert;
  MirrorSource source{mainQueue, [this](const MirrorBatch& batch) {
                        store.apply(batch);
                        source.delivered();
                      }};
  std::optional<ConsoleMirror> mirror{std::in_place, source, content, shownAlert, meters};
};

using Words = std::vector<std::string>;

TEST_F(Copy, StripsFollowTheChannelsOfTheSongOnStage) {
  open();
  EXPECT_EQ(texts(mirror_ids::strips, "channelId"), Words{strip(0).id.text()});
  content.channelOperations().addChannelFromButton();
  settle();
  EXPECT_EQ(texts(mirror_ids::strips, "channelId"), (Words{strip(0).id.text(), strip(1).id.text()}));
  EXPECT_EQ(row(mirror_ids::strips, 1, "index"), QVariant(1));
  EXPECT_EQ(row(mirror_ids::strips, 1, "number"), QVariant(2));

  content.channelOperations().moveChannels({1}, 0);
  source.schedule();  // as the program does after each command
  settle();
  EXPECT_EQ(texts(mirror_ids::strips, "channelId"), (Words{strip(0).id.text(), strip(1).id.text()}));
  EXPECT_EQ(row(mirror_ids::strips, 0, "index"), QVariant(0));

  content.channelOperations().removeChannelFromConsole(strip(0));
  settle();
  EXPECT_EQ(texts(mirror_ids::strips, "channelId"), Words{strip(0).id.text()});
}

TEST_F(Copy, AStripShowsWhatItsChannelSays) {
  open();
  strip(0).name.set("Lead");
  strip(0).mute.set(true);
  strip(0).solo.set(true);
  strip(0).volume.set(0.5F);
  strip(0).color.set({1.0F, 0.0F, 0.0F});
  settle();
  EXPECT_EQ(row(mirror_ids::strips, 0, "name"), QVariant(QStringLiteral("Lead")));
  EXPECT_EQ(row(mirror_ids::strips, 0, "mute"), QVariant(true));
  EXPECT_EQ(row(mirror_ids::strips, 0, "solo"), QVariant(true));
  EXPECT_EQ(row(mirror_ids::strips, 0, "volume"), QVariant(0.5));
  EXPECT_EQ(row(mirror_ids::strips, 0, "color").value<QColor>(), QColor(255, 0, 0));
  EXPECT_EQ(row(mirror_ids::strips, 0, "isSelected"), QVariant(true));
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
  EXPECT_EQ(texts(mirror_ids::strips, "channelId"), Words{strip(0).id.text()});
  EXPECT_EQ(row(mirror_ids::strips, 0, "isSelected"), QVariant(true));
}

TEST_F(Copy, AStripWithoutAPluginSaysSoInTheLanguageChosen) {
  open();
  settle();
  const auto english = row(mirror_ids::strips, 0, "instrumentText").toString();
  EXPECT_FALSE(english.isEmpty());
  state.language.set(Language::german);
  settle();
  EXPECT_NE(row(mirror_ids::strips, 0, "instrumentText").toString(), english);
  strip(0).pluginName.set("Piano");
  strip(0).pluginPath.set(pianoKey);
  settle();
  EXPECT_EQ(row(mirror_ids::strips, 0, "instrumentText"), QVariant(QStringLiteral("Piano")));
}

TEST_F(Copy, TheStatusIsShownInTheWordsOfTheLanguage) {
  open();
  strip(0).status.set(ChannelStatus::crashed);
  settle();
  EXPECT_EQ(row(mirror_ids::strips, 0, "statusText"), QVariant(QStringLiteral("CRASHED")));
  EXPECT_EQ(row(mirror_ids::strips, 0, "statusKind"), QVariant(static_cast<int>(ChannelStatus::crashed)));
  const auto red = row(mirror_ids::strips, 0, "statusColor").value<QColor>();
  EXPECT_GT(red.red(), red.green());
  state.language.set(Language::german);
  settle();
  EXPECT_EQ(row(mirror_ids::strips, 0, "statusText"), QVariant(QStringLiteral("ABGESTÜRZT")));
  strip(0).status.set(ChannelStatus::running);
  settle();
  EXPECT_EQ(row(mirror_ids::strips, 0, "statusText"), QVariant(QStringLiteral("AKTIV")));
}

TEST_F(Copy, WhatLiveModeBlocksIsShownForEachControl) {
  open();
  const std::map<QString, LiveModeAction> permissions{
      {"mayRenameSong", LiveModeAction::renameSong},      {"mayTypeText", LiveModeAction::typeText},
      {"mayMoveChannels", LiveModeAction::moveChannels},  {"mayAddChannel", LiveModeAction::addChannel},
      {"mayCutChannel", LiveModeAction::cutChannel},      {"mayCopyChannel", LiveModeAction::copyChannel},
      {"mayPasteChannel", LiveModeAction::pasteChannel},  {"mayDuplicateChannel", LiveModeAction::duplicateChannel},
      {"mayDeleteChannel", LiveModeAction::deleteChannel}};
  for (const auto& [name, action] : permissions) {
    EXPECT_EQ(store.object(mirror_ids::session)->value(name), QVariant(true));
  }
  content.liveMode().setLiveMode(true);
  settle();
  for (const auto& [name, action] : permissions) {
    EXPECT_EQ(store.object(mirror_ids::session)->value(name), QVariant(LiveModePolicy::rule(action).isAllowed))
        << name.toStdString();
  }
}

TEST_F(Copy, SongsFollowTheSetlist) {
  addSong("One", {});
  addSong("Two", {});
  open();
  EXPECT_EQ(texts(mirror_ids::songs, "name"), (Words{"One", "Two"}));
  changeSong(0, [](SongConfig& song) { song.name = "Opener"; });
  settle();
  EXPECT_EQ(texts(mirror_ids::songs, "name"), (Words{"Opener", "Two"}));
  state.songs.modify([](std::vector<SongConfig>& songs) { std::swap(songs[0], songs[1]); });
  settle();
  EXPECT_EQ(texts(mirror_ids::songs, "name"), (Words{"Two", "Opener"}));
  EXPECT_EQ(texts(mirror_ids::songs, "number"), (Words{"1", "2"}));
  state.songs.set({});
  settle();
  EXPECT_EQ(list(mirror_ids::songs).count(), 0);
}

TEST_F(Copy, TheTargetThatIsLearnedIsNamedAsInTheFile) {
  open();
  EXPECT_EQ(text(mirror_ids::session, "pendingLearnTarget"), "");
  content.midiLearn().toggleMidiLearnMode();
  content.midiLearn().selectMidiLearnTarget({MidiControlKind::channelVolume, 2});
  settle();
  EXPECT_EQ(text(mirror_ids::session, "pendingLearnTarget"), "channel_volume/2");
  content.midiLearn().selectMidiLearnTarget({MidiControlKind::masterVolume, std::nullopt});
  settle();
  EXPECT_EQ(text(mirror_ids::session, "pendingLearnTarget"), "master_volume");
  content.midiLearn().cancelMidiLearn();
  settle();
  EXPECT_EQ(text(mirror_ids::session, "pendingLearnTarget"), "");
}

TEST_F(Copy, TheSessionShowsFileModeAndLoading) {
  open();
  EXPECT_EQ(text(mirror_ids::session, "fileName"), "");
  EXPECT_EQ(text(mirror_ids::session, "modeWord"), "EDIT");
  EXPECT_EQ(text(mirror_ids::session, "loadingProgress"), "-1");
  state.currentFilePath.set("/home/me/gig.vrel");
  content.liveMode().setLiveMode(true);
  state.totalLoadsCount.set(4);
  state.remainingLoadsCount.set(1);
  settle();
  EXPECT_EQ(text(mirror_ids::session, "fileName"), "gig.vrel");
  EXPECT_EQ(text(mirror_ids::session, "modeWord"), "LIVE");
  EXPECT_EQ(store.object(mirror_ids::session)->value(QStringLiteral("loadingProgress")), QVariant(0.75));
  mirror->setProblem("no sound device");
  settle();
  EXPECT_EQ(text(mirror_ids::session, "problems"), "no sound device");
}

TEST_F(Copy, TheSameTroubleAgainIsAnotherOne) {
  const auto count = [this] {
    settle();
    return store.object(mirror_ids::session)->value(QStringLiteral("problemCount")).toInt();
  };
  EXPECT_EQ(count(), 0);
  mirror->setProblem("disk full");
  EXPECT_EQ(count(), 1);
  mirror->setProblem("disk full");
  EXPECT_EQ(count(), 2);
}

TEST_F(Copy, TheSessionTellsWhetherThereIsAMidiPort) {
  const auto hasPort = [this] {
    settle();
    return store.object(mirror_ids::session)->value(QStringLiteral("hasMidiPort")).toBool();
  };
  EXPECT_FALSE(hasPort()) << "nothing has been connected yet";
  state.activeMidiPortName.set("Keystation 88");
  EXPECT_TRUE(hasPort());
}

TEST_F(Copy, AQuestionIsShownWithItsWordsAndGoesWithItsAnswer) {
  open();
  const auto value = [this](const char* name) {
    return store.object(mirror_ids::alert)->value(QString::fromLatin1(name));
  };
  EXPECT_EQ(value("shown"), QVariant(false));
  shownAlert.set(NSAlert{NSAlert::Style::informational, "Save?", "Else it is lost.", {"Yes", "No"}});
  settle();
  EXPECT_EQ(value("shown"), QVariant(true));
  EXPECT_EQ(value("isWarning"), QVariant(false));
  EXPECT_EQ(value("message"), QVariant(QStringLiteral("Save?")));
  EXPECT_EQ(value("informative"), QVariant(QStringLiteral("Else it is lost.")));
  EXPECT_EQ(value("buttons").toStringList(), (QStringList{QStringLiteral("Yes"), QStringLiteral("No")}));
  shownAlert.set(std::nullopt);
  settle();
  EXPECT_EQ(value("shown"), QVariant(false));
}

TEST_F(Copy, AllWordsChangeWithTheLanguage) {
  open();
  EXPECT_EQ(text(mirror_ids::texts, "panic"), "PANIC");
  state.language.set(Language::spanish);
  settle();
  EXPECT_EQ(text(mirror_ids::texts, "panic"), "PÁNICO");
}

TEST_F(Copy, PeaksGoToTheCellOfTheirStripAndNotThroughTheMirror) {
  open();
  const auto cell = meters.cell(QString::fromStdString(strip(0).id.text()));
  strip(0).peakL.set(0.5F);
  strip(0).peakR.set(0.25F);
  engine->masterChannel()->peakL.set(0.75F);
  EXPECT_EQ(cell->left.load(), 0.5F);
  EXPECT_EQ(cell->right.load(), 0.25F);
  EXPECT_EQ(meters.cell({})->left.load(), 0.75F);
  EXPECT_FALSE(mainQueue.runOne());
}

TEST_F(Copy, AMirrorThatIsGoneFollowsNothing) {
  open();
  mirror.reset();
  strip(0).name.set("Lead");
  state.songs.set({});
  content.selection().selectedChannelId.set(std::nullopt);
  settle();
  EXPECT_EQ(list(mirror_ids::songs).count(), 1);
}

}  // namespace
}  // namespace vrel::window
