// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/console_commands.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QVariantList>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/window/console_stage.h"
#include "console/window/strip_commands.h"
#include "console/window_settings.h"

namespace vrel::window {
namespace {

class Commands : public ConsoleStage {
 protected:
  Commands() {
    addSong("One", {record("A", "")});
    addSong("Two", {});
    appear();
    content.songList().clickSong(0);
    answerAll();
    state.isDirty.set(false);
  }

  [[nodiscard]] QString stripId(std::size_t index) { return QString::fromStdString(strip(index).id.text()); }
  [[nodiscard]] QString songId(std::size_t index) { return QString::fromStdString(song(index).id.text()); }
  [[nodiscard]] std::vector<std::string> songNames() {
    std::vector<std::string> names;
    for (const auto& each : state.songs.get()) {
      names.push_back(each.name);
    }
    return names;
  }

  std::vector<std::optional<std::size_t>> answers;
  using MenuItems = std::vector<std::pair<std::string, std::string>>;
  MenuItems menuItems;
  WindowSettings settings{defaults};
  ConsoleActions actions{
      content, [this](std::optional<std::size_t> button) { answers.push_back(button); },
      [this](const std::string& action, const std::string& object) { menuItems.emplace_back(action, object); },
      settings};
  ConsoleCommands commands{
      [this](const ConsoleCommands::Action& action) { mainQueue.async([this, action] { action(actions); }); }};
};

TEST_F(Commands, NothingHappensBeforeTheMainQueueRuns) {
  commands.toggleMute(stripId(0));
  EXPECT_FALSE(strip(0).mute.get());
  settle();
  EXPECT_TRUE(strip(0).mute.get());
}

TEST_F(Commands, AStripOrSongThatIsGoneDoesNothing) {
  const auto named = {QString(), QStringLiteral("nobody"), QStringLiteral("00000000-0000-0000-0000-000000000000")};
  for (const QString& id : named) {
    commands.selectStrip(id);
    commands.setChannelName(id, QStringLiteral("Lead"));
    commands.setVolume(id, 0);
    commands.toggleMute(id);
    commands.toggleSolo(id);
    commands.dragChannel(id);
    commands.channelDropEntered(id);
    commands.channelDropExited(id);
    commands.channelDropped(id);
    commands.moveChannel(id, 1);
    commands.cutChannel(id);
    commands.copyChannel(id);
    commands.pasteChannel(id);
    commands.duplicateChannel(id);
    commands.deleteChannel(id);
    commands.clickSong(id);
    commands.beginSongRename(id);
    commands.deleteSong(id);
    commands.dragSong(id);
    commands.songDropEntered(id);
    commands.songDropExited(id);
    commands.songDropped(id);
    commands.moveSong(id, 1);
  }
  settle();
  EXPECT_EQ(songNames(), (std::vector<std::string>{"One", "Two"}));
  ASSERT_EQ(engine->channels().size(), 1U);
  EXPECT_EQ(strip(0).name.get(), "A");
  EXPECT_FALSE(state.isDirty.get());
  EXPECT_FALSE(content.channelOperations().channelClipboard.get().has_value());
  EXPECT_FALSE(content.channelOperations().draggedChannelId.get().has_value());
  EXPECT_FALSE(content.songList().draggedSongId.get().has_value());
  EXPECT_FALSE(content.songList().editingSongId.get().has_value());
}

TEST_F(Commands, AStripThatIsGoneHasNoControls) {
  StripCommands controls(commands);
  for (const QString& id : {QString(), QStringLiteral("nobody")}) {
    controls.setGain(id, 1);
    controls.setReverb(id, 1);
    controls.resetGain(id);
    controls.resetReverb(id);
    controls.setColor(id, QColor(Qt::red));
    controls.setTranspose(id, 3);
    controls.setMinNote(id, 30);
    controls.setMaxNote(id, 40);
    controls.enterTranspose(id, QStringLiteral("3"));
    controls.enterMinNote(id, QStringLiteral("3"));
    controls.enterMaxNote(id, QStringLiteral("3"));
    controls.toggleSendSustain(id);
    controls.toggleSendExpression(id);
    controls.toggleSustainControlsRotor(id);
    controls.simulateCrash(id);
    controls.revive(id);
  }
  settle();
  EXPECT_FALSE(state.isDirty.get());
}

TEST_F(Commands, TheControlsOfAStripReachIt) {
  StripCommands controls(commands);
  const QString id = stripId(0);
  controls.setGain(id, 0.75);
  controls.setReverb(id, 0.25);
  controls.setColor(id, QColor::fromRgbF(0.0F, 1.0F, 0.0F));
  controls.setTranspose(id, -7);
  controls.setMaxNote(id, 72);
  controls.enterMinNote(id, QStringLiteral("48"));
  settle();
  EXPECT_EQ(strip(0).gain.get(), 0.75F);
  EXPECT_EQ(strip(0).reverb.get(), 0.25F);
  EXPECT_EQ(strip(0).color.get(), (std::vector<float>{0.0F, 1.0F, 0.0F}));
  EXPECT_EQ(strip(0).transpose.get(), -7);
  EXPECT_EQ(strip(0).minNote.get(), 48);
  EXPECT_EQ(strip(0).maxNote.get(), 72);
  controls.resetGain(id);
  controls.resetReverb(id);
  settle();
  EXPECT_EQ(strip(0).gain.get(), 0.5F);
  EXPECT_EQ(strip(0).reverb.get(), 0.0F);
}

TEST_F(Commands, InLiveModeTheMasterKeepsItsColourAndAStripDoesNot) {
  StripCommands controls(commands);
  const auto before = engine->masterChannel()->color.get();
  state.isLiveModeEnabled.set(true);
  controls.setMasterColor(QColor(Qt::red));
  controls.setColor(stripId(0), QColor(Qt::red));
  settle();
  EXPECT_EQ(engine->masterChannel()->color.get(), before);
  EXPECT_EQ(strip(0).color.get(), (std::vector<float>{1.0F, 0.0F, 0.0F}));
  state.isLiveModeEnabled.set(false);
  controls.setMasterColor(QColor(Qt::red));
  settle();
  EXPECT_EQ(engine->masterChannel()->color.get(), (std::vector<float>{1.0F, 0.0F, 0.0F}));
}

TEST_F(Commands, ReviveLoadsAStripThatHasFailedAndNoOther) {
  StripCommands controls(commands);
  strip(0).pluginPath.set("aucd:1:2:3");
  strip(0).status.set(ChannelStatus::running);
  controls.revive(stripId(0));
  settle();
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::running);
  strip(0).status.set(ChannelStatus::crashed);
  controls.revive(stripId(0));
  settle();
  EXPECT_EQ(strip(0).status.get(), ChannelStatus::loadFailed) << "it is not installed";
}

TEST_F(Commands, TheZoomAndTheKeyboardAreSettings) {
  commands.zoom(1);
  commands.toggleKeyboard();
  commands.toggleStage();
  settle();
  EXPECT_FALSE(settings.isStageFolded.get());
  EXPECT_EQ(settings.zoomPercent.get(), 110);
  EXPECT_TRUE(settings.isKeyboardFolded.get());
  commands.zoom(0);
  settle();
  EXPECT_EQ(settings.zoomPercent.get(), 100);
}

TEST_F(Commands, TheLargeNotesAreShownSizedAndMovedToADisplay) {
  commands.toggleLargeNotes();
  commands.stepNotesText(-1);
  commands.showNotesOn("HDMI-1");
  settle();
  EXPECT_TRUE(content.largeNotes().isShown.get());
  EXPECT_EQ(settings.notesTextSize.get(), 34);
  EXPECT_EQ(settings.notesDisplay.get(), "HDMI-1");
}

TEST_F(Commands, AStripThatGoesBeforeItsCommandRunsIsSkipped) {
  const QString id = stripId(0);
  commands.deleteChannel(id);
  commands.toggleMute(id);
  commands.deleteChannel(id);
  settle();
  EXPECT_TRUE(engine->channels().empty());
}

TEST_F(Commands, ALanguageThatDoesNotExistChangesNothing) {
  const auto before = state.language.get();
  for (const int index : {-1, 5, 1000}) {
    commands.setLanguage(index);
  }
  settle();
  EXPECT_EQ(state.language.get(), before);
  EXPECT_FALSE(state.isDirty.get());
  commands.setLanguage(4);
  settle();
  EXPECT_EQ(state.language.get(), Language::german);
}

TEST_F(Commands, AClickPutsTheSongOnStageThatWasSeenUnderIt) {
  addSong("Three", {});
  const QString clicked = songId(1);
  commands.deleteSong(songId(0));
  commands.clickSong(clicked);  // the window still shows it on the second row
  settle();
  EXPECT_EQ(songNames(), (std::vector<std::string>{"Two", "Three"}));
  EXPECT_EQ(state.selectedSongIndex.get(), 0U);
}

TEST_F(Commands, SongsAreAddedRenamedMovedAndDeleted) {
  commands.addSong(QStringLiteral("Three"));
  settle();
  EXPECT_EQ(songNames(), (std::vector<std::string>{"One", "Two", "03. Three"}));
  commands.beginSongRename(songId(0));
  commands.setSongNameDraft(QStringLiteral("Opener"));
  commands.commitSongRename();
  settle();
  EXPECT_EQ(song(0).name, "Opener");
  commands.dragSong(songId(1));
  settle();
  commands.songDropEntered(songId(0));
  commands.songDropped(songId(0));
  settle();
  EXPECT_EQ(songNames(), (std::vector<std::string>{"Two", "Opener", "03. Three"}));
  commands.deleteSong(songId(0));
  settle();
  EXPECT_EQ(songNames(), (std::vector<std::string>{"Opener", "03. Three"}));
}

TEST_F(Commands, StripsAreArrangedAndPlayed) {
  commands.addChannel();
  settle();
  ASSERT_EQ(engine->channels().size(), 2U);
  commands.selectStrip(stripId(0));
  commands.setChannelName(stripId(0), QStringLiteral("Lead"));
  commands.setVolume(stripId(0), 0.25);
  commands.toggleSolo(stripId(0));
  commands.setMasterVolume(0.5);
  commands.toggleMasterMute();
  settle();
  EXPECT_EQ(content.selection().selectedChannelId.get(), strip(0).id);
  EXPECT_EQ(strip(0).name.get(), "Lead");
  EXPECT_EQ(strip(0).volume.get(), 0.25F);
  EXPECT_TRUE(strip(0).solo.get());
  EXPECT_EQ(engine->masterChannel()->volume.get(), 0.5F);
  EXPECT_TRUE(engine->masterChannel()->mute.get());

  commands.dragChannel(stripId(1));
  settle();
  commands.channelDropEntered(stripId(0));
  commands.channelDropped(stripId(0));
  settle();
  EXPECT_EQ(strip(1).name.get(), "Lead");
  commands.copyChannel(stripId(1));
  commands.pasteChannel(stripId(1));
  settle();
  EXPECT_EQ(engine->channels().size(), 3U);
  commands.duplicateChannel(stripId(1));
  settle();
  EXPECT_EQ(engine->channels().size(), 4U);
  commands.cutChannel(stripId(0));
  settle();
  EXPECT_EQ(engine->channels().size(), 3U);
}

TEST_F(Commands, ASongAndAStripMoveByOnePlaceAndNotBeyondAnEnd) {
  commands.addChannel();
  settle();
  const QString song = songId(0);
  const QString first = stripId(0);
  commands.moveSong(song, -1);
  commands.moveChannel(first, -1);
  settle();
  EXPECT_EQ(songNames(), (std::vector<std::string>{"One", "Two"}));
  EXPECT_EQ(stripId(0), first);
  commands.moveSong(song, 1);
  commands.moveChannel(first, 1);
  settle();
  EXPECT_EQ(songNames(), (std::vector<std::string>{"Two", "One"}));
  EXPECT_EQ(stripId(1), first);
  commands.moveSong(song, 1);
  commands.moveChannel(first, 1);
  settle();
  EXPECT_EQ(songNames(), (std::vector<std::string>{"Two", "One"}));
  EXPECT_EQ(stripId(1), first);
}

TEST_F(Commands, InLiveModeSongsMoveAndStripsDoNot) {
  commands.addChannel();
  settle();
  const QString first = stripId(0);
  commands.toggleLiveMode();
  commands.moveSong(songId(0), 1);
  commands.moveChannel(first, 1);
  settle();
  EXPECT_EQ(songNames(), (std::vector<std::string>{"Two", "One"}));
  EXPECT_EQ(stripId(0), first);
}

TEST_F(Commands, InLiveModeADragCarriesNothing) {
  commands.toggleLiveMode();
  commands.dragChannel(stripId(0));
  settle();
  EXPECT_TRUE(state.isLiveModeEnabled.get());
  EXPECT_FALSE(content.channelOperations().draggedChannelId.get().has_value());
}

TEST_F(Commands, ATempoIsEnteredAsText) {
  commands.enterTempo(QStringLiteral(" 93 "));
  settle();
  EXPECT_EQ(state.tempoBpm.get(), 93U);
  commands.enterTempo(QStringLiteral("fast"));
  settle();
  EXPECT_EQ(state.tempoBpm.get(), 93U);
}

TEST_F(Commands, NoStepOfTheTempoIsLostHoweverFastTheyCome) {
  for (int press = 0; press < 5; ++press) {
    commands.stepTempo(1);
  }
  commands.stepTempo(-1);
  settle();
  EXPECT_EQ(state.tempoBpm.get(), 124U);
}

TEST_F(Commands, AControlIsSelectedForLearningWithItsStrip) {
  commands.toggleLearn();
  commands.selectLearnTarget(learn_kind::Kind::None, 0);
  settle();
  EXPECT_FALSE(content.midiLearn().pendingMidiLearnTarget.get().has_value());
  commands.selectLearnTarget(learn_kind::Kind::ChannelVolume, 0);
  settle();
  EXPECT_EQ(content.midiLearn().pendingMidiLearnTarget.get(), (MidiControlTarget{MidiControlKind::channelVolume, 0}));
  commands.selectLearnTarget(learn_kind::Kind::Panic, -1);
  settle();
  EXPECT_EQ(content.midiLearn().pendingMidiLearnTarget.get(),
            (MidiControlTarget{MidiControlKind::panic, std::nullopt}));
}

TEST_F(Commands, NotesAndPanicReachTheSong) {
  commands.setSongNotes(QStringLiteral("capo 2"));
  state.pressedNotes.set({60});
  commands.panic();
  settle();
  EXPECT_EQ(state.songNotes.get(), "capo 2");
  EXPECT_TRUE(state.pressedNotes.get().empty());
}

TEST_F(Commands, AnswersAndMenuItemsArePassedOn) {
  commands.answerAlert(1);
  commands.answerAlert(-1);
  commands.activateMenuItem(QStringLiteral("vrel.openRecentSetlist"), QStringLiteral("/home/me/gig.vrel"));
  commands.activateMenuItem(QStringLiteral("vrel.saveSetlist"), {});
  settle();
  EXPECT_EQ(answers, (std::vector<std::optional<std::size_t>>{1, std::nullopt}));
  EXPECT_EQ(menuItems, (MenuItems{{"vrel.openRecentSetlist", "/home/me/gig.vrel"}, {"vrel.saveSetlist", ""}}));
}

}  // namespace
}  // namespace vrel::window
