// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/live_mode_policy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/preset_chooser.h"
#include "document/setlist_coding.h"
#include "shell/shell_stage.h"
#include "support/scripted_presets.h"

namespace vrel {
namespace {

/// A saved gig with strips A and B on stage, A in the clipboard, and a way to set off each action of the policy.
class LiveModePolicyTable : public ShellStage {
 protected:
  LiveModePolicyTable() {
    SetlistFile other;
    other.songs = {songOf("Other")};
    files.files[otherFile] = encodeSetlist(other).value();
    setSongs({songOf("One"), songOf("Two")});
    content.contentDidAppear();
    content.songSwitch().applySong(0);
    content.channelOperations().copyChannel(strip(0));
    content.selection().selectedChannelId.set(strip(1).id);
    state.currentFilePath.set(gig);
    state.recentFiles.set({otherFile});
    state.globalMidiControlAssignments.set({{{MidiControlKind::panic, std::nullopt}, {0xB0, 0, 1}}});
    desktop.alertAnswers = {doNotSave};
    desktop.openPanelAnswers = {otherFile};
    desktop.savePanelAnswers = {otherFile};
    raiseMenus();
  }

  static SongConfig songOf(const std::string& name) {
    SongConfig song;
    song.name = name;
    song.channels = {{.name = "A"}, {.name = "B"}};
    return song;
  }

  [[nodiscard]] const AudioChannel& strip(std::size_t index) const { return *engine->channels().at(index); }

  [[nodiscard]] std::vector<Uuid> strips() const {
    std::vector<Uuid> ids;
    for (const auto& channel : engine->channels()) {
      ids.push_back(channel->id);
    }
    return ids;
  }

  /// Sets the action off as the window or the menus do; whether anything came of it.
  [[nodiscard]] bool takesEffect(LiveModeAction action) {
    switch (action) {
      case LiveModeAction::newSetlist:
      case LiveModeAction::openSetlist:
      case LiveModeAction::openRecentSetlist:
      case LiveModeAction::clearRecentSetlists:
      case LiveModeAction::saveSetlist:
      case LiveModeAction::saveSetlistAs:
      case LiveModeAction::checkSetlist:
        return changesFiles(action);
      case LiveModeAction::selectSong:
      case LiveModeAction::addSong:
      case LiveModeAction::moveSongs:
      case LiveModeAction::deleteSong:
      case LiveModeAction::renameSong:
        return changesSongs(action);
      case LiveModeAction::moveChannels:
      case LiveModeAction::addChannel:
      case LiveModeAction::copyChannel:
      case LiveModeAction::cutChannel:
      case LiveModeAction::pasteChannel:
      case LiveModeAction::duplicateChannel:
      case LiveModeAction::deleteChannel:
        return changesStrips(action);
      case LiveModeAction::changeInstrument:
      case LiveModeAction::chooseInternalSource:
      case LiveModeAction::changeRack:
      case LiveModeAction::undo:
        return changesPlugins(action);
      case LiveModeAction::choosePreset:
      case LiveModeAction::savePreset:
      case LiveModeAction::deletePreset:
        return changesPresets(action);
      case LiveModeAction::chooseMasterColor:
      case LiveModeAction::mix:
      case LiveModeAction::changeTempo:
      case LiveModeAction::panic:
      case LiveModeAction::midiLearn:
      case LiveModeAction::clearMidiLearn:
        return changesWhatIsPlayed(action);
      case LiveModeAction::changeMode:
      case LiveModeAction::changeProjection:
      case LiveModeAction::changeAudioSettings:
      case LiveModeAction::listOutputDevices:
      case LiveModeAction::collectSetlist:
      case LiveModeAction::showNotes:
      case LiveModeAction::showHelp:
      case LiveModeAction::openStateFolder:
      case LiveModeAction::quit:
        return reachesTheProgram(action);
      case LiveModeAction::typeText:
        break;
    }
    ADD_FAILURE() << "refused by the window alone";
    return false;
  }

  /// Whether the value is another one after the menu command.
  template <typename Value>
  bool changes(const std::function<Value()>& value, MenuAction action, const std::string& object = {}) {
    const Value before = value();
    menus.perform(action, object);
    mainQueue.runAll();
    return value() != before;
  }

  bool changesFiles(LiveModeAction action) {
    const std::function<std::optional<std::filesystem::path>()> file = [this] { return state.currentFilePath.get(); };
    const std::function<bool()> isDirty = [this] { return state.isDirty.get(); };
    const std::function<std::size_t()> recent = [this] { return state.recentFiles.get().size(); };
    switch (action) {
      case LiveModeAction::newSetlist:
        return changes(file, MenuAction::newSetlist);
      case LiveModeAction::openSetlist:
        return changes(file, MenuAction::openSetlist);
      case LiveModeAction::openRecentSetlist:
        return changes(file, MenuAction::openRecentSetlist, otherFile.string());
      case LiveModeAction::clearRecentSetlists:
        return changes(recent, MenuAction::clearRecentSetlists);
      case LiveModeAction::checkSetlist: {
        const std::function<bool()> isShown = [this] { return content.setlistChecker().isShown.get(); };
        return changes(isShown, MenuAction::checkSetlist);
      }
      case LiveModeAction::saveSetlist:
        state.isDirty.set(true);
        return changes(isDirty, MenuAction::saveSetlist);
      default:
        return changes(file, MenuAction::saveSetlistAs);
    }
  }

  bool changesSongs(LiveModeAction action) {
    SongList& list = content.songList();
    const auto songs = state.songs.get();
    switch (action) {
      case LiveModeAction::selectSong:
        list.clickSong(1);
        return state.selectedSongIndex.get() == 1U;
      case LiveModeAction::addSong:
        state.newSongName.set("Three");
        list.addSong();
        break;
      case LiveModeAction::moveSongs:
        list.draggedSongId.set(songs[0].id);
        content.songReorderDropDelegate(songs[1].id).dropEntered();
        break;
      case LiveModeAction::deleteSong:
        list.deleteSong(songs[1].id);
        break;
      default:
        list.beginSongRename(songs[1].id);
        return list.editingSongId.get().has_value();
    }
    return state.songs.get() != songs;
  }

  bool changesStrips(LiveModeAction action) {
    ChannelOperations& operations = content.channelOperations();
    const std::function<std::vector<Uuid>()> all = [this] { return strips(); };
    const std::function<std::string()> clipboard = [&operations] { return operations.channelClipboard.get()->name; };
    const auto before = strips();
    switch (action) {
      case LiveModeAction::moveChannels:
        operations.beginDrag(strip(0));
        content.channelReorderDropDelegate(strip(1).id).dropEntered();
        return operations.draggedChannelId.get().has_value() && strips() != before;
      case LiveModeAction::addChannel:
        operations.addChannelFromButton();
        return strips() != before;
      case LiveModeAction::copyChannel:
        return changes(clipboard, MenuAction::copyChannel);
      case LiveModeAction::cutChannel:
        return changes(all, MenuAction::cutChannel);
      case LiveModeAction::pasteChannel:
        return changes(all, MenuAction::pasteChannel);
      case LiveModeAction::duplicateChannel:
        return changes(all, MenuAction::duplicateChannel);
      default:
        operations.removeChannelFromConsole(strip(0));
        return strips() != before;
    }
  }

  bool changesPlugins(LiveModeAction action) {
    AudioChannel& channel = *engine->channels()[0];
    InstrumentSelector& selector = content.instrumentSelector();
    switch (action) {
      case LiveModeAction::changeInstrument:
        channel.pluginPath.set("aucd:1635085685:10:20");
        selector.removeInstrument(channel);
        return channel.pluginPath.get().empty();
      case LiveModeAction::changeRack: {
        const AudioPluginSlot slot{.pluginPath = "aucd:1635083896:30:20"};
        channel.effectSlots.set({slot});
        content.effectRack().toggle(channel);
        content.effectRack().remove(slot.id);
        return channel.effectSlots.get().empty();
      }
      case LiveModeAction::undo: {
        const bool wasMuted = channel.mute.get();
        content.stripControls().toggleMute(channel);
        state.isDirty.set(false);
        content.editHistory().undo();
        return channel.mute.get() == wasMuted;
      }
      default:
        selector.open(channel);
        selector.pickPlayback();
        return content.trackEditor().channel() != nullptr;
    }
  }

  bool changesPresets(LiveModeAction action) {
    const auto instrument = std::make_shared<InstrumentWithPresets>("Keys");
    auto& core = instrument->presetCore;
    core.presets = {{"mine", "Mine", "", true}};
    const auto loaded = std::make_shared<PresetChooser::Loaded>();
    loaded->preset = core.presets.front();
    const auto presets = std::make_shared<PresetChooser>(instrument, loaded, state, mainQueue, [] {});
    presets->load();
    mainQueue.runAll();
    switch (action) {
      case LiveModeAction::choosePreset:
        presets->choose("mine");
        return !core.used.empty();
      case LiveModeAction::savePreset:
        presets->save("New", false);
        return !core.saved.empty();
      default:
        presets->removeLoaded();
        return !core.deleted.empty();
    }
  }

  bool changesWhatIsPlayed(LiveModeAction action) {
    switch (action) {
      case LiveModeAction::chooseMasterColor:
        content.stripControls().setMasterColor({1.0F, 0.0F, 0.0F});
        return engine->masterChannel()->color.get() == std::vector<float>{1.0F, 0.0F, 0.0F};
      case LiveModeAction::mix:
        content.stripControls().toggleMute(*engine->masterChannel());
        return engine->masterChannel()->mute.get();
      case LiveModeAction::changeTempo:
        content.tempo().setTempo(77);
        return state.tempoBpm.get() == 77;
      case LiveModeAction::panic:
        state.pressedNotes.set({60});
        content.panic();
        return state.pressedNotes.get().empty();
      case LiveModeAction::midiLearn:
        menus.perform(MenuAction::toggleLearn);
        return state.isMidiLearnMode.get();
      default:
        menus.perform(MenuAction::clearMidiLearn);
        return state.globalMidiControlAssignments.get().empty();
    }
  }

  bool reachesTheProgram(LiveModeAction action) {
    bool isReached = false;
    menus.hooks.showHelp = menus.hooks.openStateFolder = menus.hooks.collectSetlist =
        menus.hooks.terminate = [&] { isReached = true; };
    switch (action) {
      case LiveModeAction::changeMode: {
        const std::function<bool()> mode = [this] { return state.isLiveModeEnabled.get(); };
        return changes(mode, mode() ? MenuAction::modeEdit : MenuAction::modeLive);
      }
      case LiveModeAction::changeProjection:
        menus.perform(MenuAction::openVisualProjection, "0");
        return projection.isOpen();
      case LiveModeAction::changeAudioSettings:
        menus.perform(MenuAction::selectAudioBufferSize, "512");
        return state.audioIOBufferFrameSize.get() == 512;
      case LiveModeAction::listOutputDevices: {
        const auto before = menus.mainMenu();
        hardware.list.clear();
        menus.rebuildMenusSoon();
        mainQueue.runAll();
        return menus.mainMenu() != before;
      }
      case LiveModeAction::collectSetlist:
        menus.perform(MenuAction::collectSetlist);
        break;
      case LiveModeAction::showNotes:
        menus.perform(MenuAction::toggleLargeNotes);
        return content.largeNotes().isShown.get();
      case LiveModeAction::showHelp:
        menus.perform(MenuAction::showHelp);
        break;
      case LiveModeAction::openStateFolder:
        menus.perform(MenuAction::openStateFolder);
        break;
      default:
        menus.perform(MenuAction::terminate);
    }
    return isReached;
  }

  static constexpr std::size_t doNotSave = 1;
  static inline const std::filesystem::path gig = "/home/me/gig.vrel";
  static inline const std::filesystem::path otherFile = "/home/me/other.vrel";
};

std::vector<LiveModeAction> actionsBelowTheWindow() {
  std::vector<LiveModeAction> actions;
  for (const auto& rule : LiveModePolicy::rules) {
    if (rule.action != LiveModeAction::typeText) {  // no operation types; the fields of the window are read only
      actions.push_back(rule.action);
    }
  }
  return actions;
}

class EachLiveModeAction : public LiveModePolicyTable, public testing::WithParamInterface<LiveModeAction> {};

TEST_P(EachLiveModeAction, TakesEffectInEditMode) {
  EXPECT_TRUE(LiveModePolicy::isAllowed(GetParam(), state));
  EXPECT_TRUE(takesEffect(GetParam()));
}

TEST_P(EachLiveModeAction, TakesEffectInLiveModeOnlyWhereTheTableAllowsIt) {
  content.liveMode().setLiveMode(true);
  mainQueue.runAll();
  const bool isAllowed = LiveModePolicy::rule(GetParam()).isAllowed;
  EXPECT_EQ(LiveModePolicy::isAllowed(GetParam(), state), isAllowed);
  EXPECT_EQ(takesEffect(GetParam()), isAllowed) << LiveModePolicy::rule(GetParam()).reason;
  if (!isAllowed) {
    EXPECT_TRUE(desktop.alerts.empty());
    EXPECT_FALSE(state.isDirty.get());
  }
}

INSTANTIATE_TEST_SUITE_P(Policy, EachLiveModeAction, testing::ValuesIn(actionsBelowTheWindow()));

TEST(LiveModePolicyRules, EachSaysWhy) {
  EXPECT_TRUE(std::all_of(LiveModePolicy::rules.begin(), LiveModePolicy::rules.end(),
                          [](const auto& rule) { return !rule.reason.empty(); }));
}

}  // namespace
}  // namespace vrel
