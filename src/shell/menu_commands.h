// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "performance/live_mode_policy.h"
#include "text/hints.h"

namespace vrel {

class AppState;
class VrelMenuController;

/// What the items of the menus do.
enum class MenuAction {
  noop,
  terminate,
  newSetlist,
  openSetlist,
  openRecentSetlist,
  clearRecentSetlists,
  saveSetlist,
  saveSetlistAs,
  checkSetlist,
  showKeptCopies,
  collectSetlist,
  copyChannel,
  cutChannel,
  pasteChannel,
  duplicateChannel,
  undo,
  redo,
  modeEdit,
  modeLive,
  toggleLearn,
  clearMidiLearn,
  showLearnedControls,
  showSongControl,
  toggleLargeNotes,
  selectVisualBlendMode,
  chooseVisualBackgroundVideo,
  clearVisualBackgroundVideo,
  openVisualProjection,
  toggleVisualProjectionFullscreen,
  closeVisualProjection,
  toggleProjectionBlackout,
  toggleProjectionTestPicture,
  selectAudioBufferSize,
  selectSystemAudioOutput,
  selectAudioOutput,
  showHelp,
  showLiveKeys,
  openStateFolder,
};

inline constexpr std::size_t menuActionCount = static_cast<std::size_t>(MenuAction::openStateFolder) + 1;

/// A row of the table in menu_commands.cpp, which has all commands: name, rule in Live mode, handler.
struct MenuCommand {
  /// The item only informs and is never enabled.
  struct Nothing {};
  /// Passed on to the main view under this name, with the item's represented object when it has one.
  struct Notification {
    std::string_view name;
  };
  using Plain = void (VrelMenuController::*)();
  using WithObject = void (VrelMenuController::*)(const std::string& representedObject);

  MenuAction action = MenuAction::noop;
  std::string_view name;  // of `MenuItem::action`; "openRecentSetlist:" and its like need a represented object
  LiveModeAction liveModeAction = LiveModeAction::showHelp;
  Hint hint = Hint::help;  // what it does
  std::variant<Nothing, Notification, Plain, WithObject> handler;
};

[[nodiscard]] const MenuCommand& menuCommand(MenuAction action);

/// None for a name that no item of ours has.
[[nodiscard]] std::optional<MenuAction> menuActionNamed(std::string_view name);

/// Whether an item with this action is enabled now.
[[nodiscard]] bool isMenuActionEnabled(MenuAction action, const AppState& state);

/// What an item with this action says of itself: what it does, or why it cannot do it now.
[[nodiscard]] Hint menuActionHint(MenuAction action, const AppState& state);

/// Whether the setlist or any of its songs has a learned control.
[[nodiscard]] bool hasMidiAssignments(const AppState& state);

}  // namespace vrel
