// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/panels_mirror.h"

#include <gtest/gtest.h>

#include <QList>
#include <QString>
#include <optional>
#include <string>
#include <utility>
#include <vector>

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

}  // namespace
}  // namespace vrel::window
