// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/panels_mirror.h"

#include <gtest/gtest.h>

#include <QList>
#include <QString>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "check/report_coding.h"
#include "console/window/console_model.h"
#include "console/window/console_stage.h"
#include "console/window_settings.h"
#include "document/plugin_path.h"

namespace vrel::window {
namespace {

/// A song with two empty strips, moved by commands as QML calls them.
class Panels : public ConsoleStage {
 protected:
  Panels() {
    addSong("One", {record("Lead", ""), record("Pad", "")});
    appear();
    content.songSwitch().applySong(0);
    answerAll();
  }

  [[nodiscard]] QString stripId(std::size_t index) { return QString::fromStdString(strip(index).id.text()); }

  static std::vector<std::string> described(const QList<PluginRow>& rows) {
    std::vector<std::string> lines;
    for (const auto& row : rows) {
      lines.push_back((row.section + ": " + row.name).toStdString());
    }
    return lines;
  }

  WindowSettings settings{defaults};
  ConsoleActions actions{content, [](std::optional<std::size_t>) {}, [](const std::string&, const std::string&) {},
                         settings};
  ConsoleModel model{[this](const ConsoleCommands::Action& action) {
    mainQueue.async([this, action] {
      action(actions);
      source.schedule();
    });
  }};
  Observable<std::optional<NSAlert>> shownAlert;
  MirrorSource source{mainQueue, [this](const MirrorBatch& batch) {
                        model.apply(batch);
                        source.delivered();
                      }};
  ConsoleMirror mirror{source, content, shownAlert};
  ConsoleCommands& commands = *model.commands();
  SelectorViewModel& selector = *model.selector();
  RackViewModel& rack = *model.rack();
};

using Words = std::vector<std::string>;

TEST_F(Panels, TheSelectorShowsWhoseItIsAndWhatCanBeChosen) {
  commands.openInstrumentSelector(stripId(1));
  settle();
  EXPECT_TRUE(selector.isOpen());
  EXPECT_EQ(selector.stripName(), QStringLiteral("2  Pad"));
  EXPECT_EQ(described(selector.rows()), (Words{"Maker: Organ", "Maker: Piano"}));
  commands.setInstrumentSearch(QStringLiteral("PIA"));
  settle();
  EXPECT_EQ(described(selector.rows()), Words{"Maker: Piano"});
  EXPECT_EQ(selector.searchText(), QStringLiteral("PIA"));
  commands.cancelInstrumentSelector();
  settle();
  EXPECT_FALSE(selector.isOpen());
}

TEST_F(Panels, APickedInstrumentIsOnTheStripAndCanBeRemoved) {
  commands.openInstrumentSelector(stripId(0));
  commands.pickInstrument(QString::fromStdString(pianoKey));
  answerAll();
  EXPECT_EQ(strip(0).pluginPath.get(), pianoKey);
  commands.openInstrumentSelector(stripId(0));
  settle();
  EXPECT_EQ(selector.loadedKey(), QString::fromStdString(pianoKey));
  commands.removeInstrument(stripId(0));
  settle();
  EXPECT_EQ(strip(0).pluginPath.get(), "");
}

TEST_F(Panels, InLiveModeTheSelectorClosesAndTheRackCannotBeChanged) {
  commands.openInstrumentSelector(stripId(0));
  settle();
  EXPECT_TRUE(selector.isOpen());
  EXPECT_TRUE(rack.mayChange());
  content.liveMode().setLiveMode(true);
  settle();
  EXPECT_FALSE(selector.isOpen());
  EXPECT_FALSE(rack.mayChange());
}

TEST_F(Panels, TheInternalSourcesArePickedByTheirOwnCommands) {
  commands.openInstrumentSelector(stripId(0));
  commands.pickPlayback();
  settle();
  EXPECT_NE(content.trackEditor().channel(), nullptr);
  commands.openInstrumentSelector(stripId(1));
  commands.pickVisual();
  settle();
  EXPECT_EQ(content.trackEditor().channel(), nullptr) << "one of the two at a time";
  EXPECT_NE(content.clipEditor().channel(), nullptr);
}

TEST_F(Panels, TheRackShowsItsEffectsInChainOrder) {
  commands.toggleEffectRack(stripId(0));
  commands.pickEffect(QString::fromStdString(chorusKey));
  answerAll();
  commands.pickEffect(QString::fromStdString(chorusKey));
  answerAll();
  ASSERT_EQ(rack.effects().size(), 2);
  EXPECT_TRUE(rack.isOpen());
  EXPECT_EQ(rack.ownerName(), QStringLiteral("1  Lead"));
  EXPECT_EQ(rack.effects()[0].name, QStringLiteral("Chorus"));
  EXPECT_FALSE(rack.effects()[0].isMissing);
  const auto first = rack.effects()[0].slotId;
  commands.moveEffectDown(first);
  settle();
  EXPECT_EQ(rack.effects()[1].slotId, first);
  commands.moveEffectUp(first);
  settle();
  EXPECT_EQ(rack.effects()[0].slotId, first);
  commands.toggleReplacedEffect(first);
  settle();
  EXPECT_EQ(rack.replacedSlotId(), first);
  commands.removeEffect(first);
  settle();
  EXPECT_EQ(rack.effects().size(), 1);
  commands.setEffectSearch(QStringLiteral("nothing"));
  settle();
  EXPECT_TRUE(rack.rows().isEmpty());
  commands.closeEffectRack();
  settle();
  EXPECT_FALSE(rack.isOpen());
}

TEST_F(Panels, AnEffectWhosePluginIsMissingIsMarked) {
  addEmptySlot(strip(0), chorusKey);
  commands.toggleEffectRack(stripId(0));
  settle();
  ASSERT_EQ(rack.effects().size(), 1);
  EXPECT_TRUE(rack.effects()[0].isMissing);
}

TEST_F(Panels, AnEffectThatCrashesInAnOpenRackIsMarkedAtOnce) {
  commands.toggleEffectRack(stripId(0));
  commands.pickEffect(QString::fromStdString(chorusKey));
  answerAll();
  ASSERT_FALSE(rack.effects()[0].isMissing);
  const auto node = strip(0).effectNodes.get().begin()->second;
  ASSERT_TRUE(engine->effects().loseEffectNode(strip(0), node));
  settle();
  EXPECT_TRUE(rack.effects()[0].isMissing);
}

TEST_F(Panels, ADeadEffectIsLoadedAgainFromItsRow) {
  commands.toggleEffectRack(stripId(0));
  commands.pickEffect(QString::fromStdString(chorusKey));
  answerAll();
  EXPECT_FALSE(rack.effects()[0].hasFailed);
  ASSERT_TRUE(engine->effects().loseEffectNode(strip(0), strip(0).effectNodes.get().begin()->second));
  settle();
  EXPECT_TRUE(rack.effects()[0].hasFailed);
  EXPECT_TRUE(rack.effects()[0].isInstalled);
  commands.reviveEffect(rack.effects()[0].slotId);
  settle();
  EXPECT_TRUE(rack.effects()[0].isRevived);
  answerAll();
  EXPECT_FALSE(rack.effects()[0].hasFailed);
  EXPECT_FALSE(rack.effects()[0].isRevived);
  EXPECT_FALSE(rack.effects()[0].isMissing);
  state.scannedAudioEffectPlugins.set({});
  settle();
  EXPECT_FALSE(rack.effects()[0].isInstalled);
}

TEST_F(Panels, TheMastersRackIsOpenedByItsOwnId) {
  settle();
  commands.toggleEffectRack(model.master()->channelId());
  settle();
  EXPECT_TRUE(rack.isOpen());
  EXPECT_EQ(rack.ownerName(), QStringLiteral("MASTER"));
  commands.pickEffect(QString::fromStdString(chorusKey));
  answerAll();
  EXPECT_EQ(model.master()->effectCount(), 1);
}

TEST_F(Panels, CommandsForAStripOrEffectThatIsGoneDoNothing) {
  for (const auto& id : {QString(), QStringLiteral("nobody"), QStringLiteral("00000000-0000-0000-0000-000000000000")}) {
    commands.openInstrumentSelector(id);
    commands.removeInstrument(id);
    commands.toggleEffectRack(id);
    commands.removeEffect(id);
    commands.reviveEffect(id);
    commands.moveEffectUp(id);
    commands.moveEffectDown(id);
    commands.toggleReplacedEffect(id);
    commands.pickInstrument(id);
    commands.pickEffect(id);
  }
  settle();
  EXPECT_FALSE(selector.isOpen());
  EXPECT_FALSE(rack.isOpen());
  EXPECT_TRUE(units.requests.empty());
}

TEST_F(Panels, TheCheckShowsItsProgressAndThenItsRowsInTheLanguageOfTheSession) {
  CheckViewModel& check = *model.check();
  notifications.post("vrel.checkSetlist");
  settle();
  EXPECT_TRUE(check.isOpen());
  EXPECT_TRUE(check.isRunning());
  EXPECT_EQ(check.progress(), 0);
  processes.print("vrel-render: 1 of 1 songs played");
  settle();
  EXPECT_EQ(check.progress(), 1);
  CheckReport found;
  found.pages = {{.name = "One", .findings = {{.kind = FindingKind::noSound}}}};
  processes.end({.exitCode = 1, .output = encodeReport(found)});
  settle();
  EXPECT_FALSE(check.isRunning());
  ASSERT_EQ(check.rows().size(), 2);
  EXPECT_TRUE(check.rows()[0].isSong);
  EXPECT_EQ(check.rows()[0].title, QStringLiteral("1  One"));
  EXPECT_EQ(check.rows()[1].title, QStringLiteral("No strip of the song can sound"));
  state.language.set(Language::french);
  settle();
  EXPECT_EQ(check.rows()[1].title, QStringLiteral("Aucune tranche du morceau ne peut sonner"));
  EXPECT_EQ(check.status(), QStringLiteral("Erreurs : 0, avertissements : 1"));
  commands.startCheck();
  settle();
  EXPECT_TRUE(check.isRunning());
  commands.stopCheck();
  settle();
  EXPECT_FALSE(check.isRunning());
  EXPECT_TRUE(check.mayStart());
  state.isLiveModeEnabled.set(true);
  settle();
  EXPECT_FALSE(check.mayStart());
  commands.closeCheck();
  settle();
  EXPECT_FALSE(check.isOpen());
}

TEST_F(Panels, TheKeptVersionsShowTheirDatesAndSongsAndOneIsRestored) {
  CopiesViewModel& copies = *model.copies();
  const std::filesystem::path gig = "/home/me/gig.vrel";
  for (const auto* const notes : {"first", "second"}) {
    content.setSongNotes(notes);
    ASSERT_TRUE(content.setlistFiles().writeSetlist(gig));
  }
  const auto readAll = [this] {
    auto& queue = queues.queue("vrel.kept.copies");
    while (queue.pendingCount() > 0) {
      queue.runAll();
      settle();
    }
  };
  notifications.post("vrel.showKeptCopies");
  settle();
  EXPECT_TRUE(copies.isReading());
  readAll();
  EXPECT_TRUE(copies.isOpen());
  EXPECT_FALSE(copies.isReading());
  ASSERT_EQ(copies.rows().size(), 1);
  EXPECT_EQ(copies.rows()[0].date, QStringLiteral("000001.vrel")) << "without a time";
  EXPECT_EQ(copies.rows()[0].detail, QStringLiteral("Songs: 1. One"));
  EXPECT_TRUE(copies.rows()[0].isGood);
  files.times[copies.rows()[0].path.toStdString()] = 1'700'000'000;
  notifications.post("vrel.showKeptCopies");
  readAll();
  ASSERT_EQ(copies.rows().size(), 1);
  EXPECT_TRUE(copies.rows()[0].date.contains(QStringLiteral("2023"))) << copies.rows()[0].date.toStdString();
  desktop.alertAnswers = {1};
  commands.restoreCopy(copies.rows()[0].path);
  answerAll();
  EXPECT_FALSE(copies.isOpen());
  EXPECT_EQ(state.songNotes.get(), "first");
}

TEST_F(Panels, ThePagesOfTheSetlistTakeTurns) {
  notifications.post("vrel.checkSetlist");
  notifications.post("vrel.showKeptCopies");
  settle();
  EXPECT_FALSE(model.check()->isOpen());
  EXPECT_FALSE(processes.children.back()->isRunning);
  EXPECT_TRUE(model.copies()->isOpen());
  commands.closeCopies();
  settle();
  EXPECT_FALSE(model.copies()->isOpen());
}

TEST_F(Panels, AStripWhosePluginIsNotInstalledIsOfferedTheNearestOnesFirst) {
  changeSong(0, [](SongConfig& song) { song.channels[0].pluginPath = "au:Elsewhere:Grand Piano"; });
  state.selectedSongIndex.set(std::nullopt);
  content.songSwitch().applySong(0);
  answerAll();
  commands.openInstrumentSelector(stripId(0));
  settle();
  EXPECT_EQ(described(selector.rows()), (Words{"IN PLACE OF THE MISSING ONE: Piano", "Maker: Organ", "Maker: Piano"}));
}

}  // namespace
}  // namespace vrel::window
