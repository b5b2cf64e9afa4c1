// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/menu_commands.h"

#include <algorithm>
#include <array>

#include "document/app_state.h"
#include "shell/menu_controller.h"

namespace vrel {

/// Has access to the controller's handlers.
struct MenuCommandTable {
  using Action = MenuAction;
  using Live = LiveModeAction;
  using Post = MenuCommand::Notification;
  using Menus = VrelMenuController;
  using Says = Hint;

  static constexpr std::array<MenuCommand, menuActionCount> rows{{
      {Action::noop, "noop", Live::showHelp, Says::help, MenuCommand::Nothing{}},
      {Action::terminate, "terminate:", Live::quit, Says::quit, &Menus::terminate},
      {Action::newSetlist, "newSetlist", Live::newSetlist, Says::newSetlist, Post{"vrel.newSetlist"}},
      {Action::openSetlist, "openSetlist", Live::openSetlist, Says::openSetlist, Post{"vrel.openSetlist"}},
      {Action::openRecentSetlist, "openRecentSetlist:", Live::openRecentSetlist, Says::openRecentSetlist,
       Post{"vrel.openRecentSetlist"}},
      {Action::clearRecentSetlists, "clearRecentSetlists", Live::clearRecentSetlists, Says::clearRecentSetlists,
       Post{"vrel.clearRecentSetlists"}},
      {Action::saveSetlist, "saveSetlist", Live::saveSetlist, Says::saveSetlist, Post{"vrel.saveSetlist"}},
      {Action::saveSetlistAs, "saveSetlistAs", Live::saveSetlistAs, Says::saveSetlistAs, Post{"vrel.saveSetlistAs"}},
      {Action::checkSetlist, "checkSetlist", Live::checkSetlist, Says::checkSetlist, Post{"vrel.checkSetlist"}},
      {Action::showKeptCopies, "showKeptCopies", Live::openRecentSetlist, Says::keptCopies,
       Post{"vrel.showKeptCopies"}},
      {Action::collectSetlist, "collectSetlist", Live::collectSetlist, Says::collectSetlist, &Menus::collectSetlist},
      {Action::copyChannel, "copyChannel", Live::copyChannel, Says::copyChannel, Post{"vrel.copyChannel"}},
      {Action::cutChannel, "cutChannel", Live::cutChannel, Says::cutChannel, Post{"vrel.cutChannel"}},
      {Action::pasteChannel, "pasteChannel", Live::pasteChannel, Says::pasteChannel, Post{"vrel.pasteChannel"}},
      {Action::duplicateChannel, "duplicateChannel", Live::duplicateChannel, Says::duplicateChannel,
       Post{"vrel.duplicateChannel"}},
      {Action::undo, "undo", Live::undo, Says::undo, Post{"vrel.undo"}},
      {Action::redo, "redo", Live::undo, Says::redo, Post{"vrel.redo"}},
      {Action::modeEdit, "modeEdit", Live::changeMode, Says::editMode, &Menus::modeEdit},
      {Action::modeLive, "modeLive", Live::changeMode, Says::stageMode, &Menus::modeLive},
      {Action::toggleLearn, "toggleLearn", Live::midiLearn, Says::learn, &Menus::toggleLearn},
      {Action::clearMidiLearn, "clearMidiLearn", Live::clearMidiLearn, Says::clearLearned, Post{"vrel.clearMidiLearn"}},
      {Action::showLearnedControls, "showLearnedControls", Live::midiLearn, Says::learnedControls,
       Post{"vrel.showLearnedControls"}},
      {Action::showSongControl, "showSongControl", Live::midiLearn, Says::songsByMidi, Post{"vrel.showSongControl"}},
      {Action::toggleLargeNotes, "toggleLargeNotes", Live::showNotes, Says::largeNotes, Post{"vrel.toggleLargeNotes"}},
      {Action::selectVisualBlendMode, "selectVisualBlendMode:", Live::changeProjection, Says::blendMode,
       &Menus::selectVisualBlendMode},
      {Action::chooseVisualBackgroundVideo, "chooseVisualBackgroundVideo", Live::changeProjection,
       Says::chooseBackground, &Menus::chooseVisualBackgroundVideo},
      {Action::clearVisualBackgroundVideo, "clearVisualBackgroundVideo", Live::changeProjection, Says::clearBackground,
       &Menus::clearVisualBackgroundVideo},
      {Action::openVisualProjection, "openVisualProjection:", Live::changeProjection, Says::openProjection,
       &Menus::openVisualProjection},
      {Action::toggleVisualProjectionFullscreen, "toggleVisualProjectionFullscreen", Live::changeProjection,
       Says::toggleFullscreen, &Menus::toggleVisualProjectionFullscreen},
      {Action::closeVisualProjection, "closeVisualProjection", Live::changeProjection, Says::closeProjection,
       &Menus::closeVisualProjection},
      {Action::toggleProjectionBlackout, "toggleProjectionBlackout", Live::changeProjection, Says::blackout,
       &Menus::toggleProjectionBlackout},
      {Action::toggleProjectionTestPicture, "toggleProjectionTestPicture", Live::changeProjection, Says::testPicture,
       &Menus::toggleProjectionTestPicture},
      {Action::selectAudioBufferSize, "selectAudioBufferSize:", Live::changeAudioSettings, Says::bufferSize,
       &Menus::selectAudioBufferSize},
      {Action::selectSystemAudioOutput, "selectSystemAudioOutput", Live::changeAudioSettings, Says::systemOutput,
       &Menus::selectSystemAudioOutput},
      {Action::selectAudioOutput, "selectAudioOutput:", Live::changeAudioSettings, Says::output,
       &Menus::selectAudioOutput},
      {Action::showHelp, "showHelp", Live::showHelp, Says::help, &Menus::showHelp},
      {Action::showLiveKeys, "showLiveKeys", Live::showHelp, Says::liveKeys, &Menus::showLiveKeys},
      {Action::openStateFolder, "openStateFolder", Live::openStateFolder, Says::stateFolder, &Menus::openStateFolder},
  }};

  static constexpr bool isInOrder() {
    for (std::size_t index = 0; index < rows.size(); ++index) {
      if (static_cast<std::size_t>(rows.at(index).action) != index) {
        return false;
      }
    }
    return true;
  }
};
static_assert(MenuCommandTable::isInOrder(), "a command is at the index of its action");

const MenuCommand& menuCommand(MenuAction action) {
  return MenuCommandTable::rows.at(static_cast<std::size_t>(action));
}

std::optional<MenuAction> menuActionNamed(std::string_view name) {
  const auto& rows = MenuCommandTable::rows;
  const auto* const found = std::find_if(rows.begin(), rows.end(), [&](const auto& row) { return row.name == name; });
  return found == rows.end() ? std::nullopt : std::optional(found->action);
}

bool isMenuActionEnabled(MenuAction action, const AppState& state) {
  const MenuCommand& command = menuCommand(action);
  return !std::holds_alternative<MenuCommand::Nothing>(command.handler) &&
         LiveModePolicy::isAllowed(command.liveModeAction, state) &&
         (action != MenuAction::undo || !state.undoTitle.get().empty()) &&
         (action != MenuAction::redo || !state.redoTitle.get().empty()) &&
         (action != MenuAction::clearMidiLearn || hasMidiAssignments(state));
}

Hint menuActionHint(MenuAction action, const AppState& state) {
  const MenuCommand& command = menuCommand(action);
  if (isMenuActionEnabled(action, state)) {
    return command.hint;
  }
  if (!LiveModePolicy::isAllowed(command.liveModeAction, state)) {
    return Hint::notInLiveMode;
  }
  switch (action) {
    case MenuAction::undo:
      return Hint::nothingToUndo;
    case MenuAction::redo:
      return Hint::nothingToRedo;
    case MenuAction::clearMidiLearn:
      return Hint::nothingIsLearned;
    default:
      return command.hint;
  }
}

bool hasMidiAssignments(const AppState& state) {
  const auto& songs = state.songs.get();
  return !state.globalMidiControlAssignments.get().empty() ||
         std::any_of(songs.begin(), songs.end(), [](const SongConfig& song) {
           return !song.midiControlAssignments.empty() || !song.pluginControlAssignments.empty();
         });
}

}  // namespace vrel
