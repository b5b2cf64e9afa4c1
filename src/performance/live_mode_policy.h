// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace vrel {

class AppState;

/// What a person sets off from the window, the menus or the keys, as far as Live mode has a say in it.
enum class LiveModeAction {
  newSetlist,
  openSetlist,
  openRecentSetlist,
  clearRecentSetlists,
  saveSetlist,
  saveSetlistAs,
  collectSetlist,
  selectSong,
  addSong,
  moveSongs,
  deleteSong,
  renameSong,
  typeText,
  moveChannels,
  addChannel,
  copyChannel,
  cutChannel,
  pasteChannel,
  duplicateChannel,
  deleteChannel,
  chooseMasterColor,
  changeInstrument,
  chooseInternalSource,
  changeRack,
  choosePreset,
  savePreset,
  deletePreset,
  undo,
  mix,
  changeTempo,
  panic,
  midiLearn,
  clearMidiLearn,
  changeMode,
  changeProjection,
  changeAudioSettings,
  listOutputDevices,
  showNotes,
  showHelp,
  openStateFolder,
  checkSetlist,
  quit,
};

inline constexpr std::size_t liveModeActionCount = static_cast<std::size_t>(LiveModeAction::quit) + 1;

/// The one place that says what Live mode blocks. Operations, menus and the window ask it and know no rule of their
/// own; what is blocked does nothing, without a message, and its control is disabled. In Edit mode all is allowed.
class LiveModePolicy {
 public:
  struct Rule {
    LiveModeAction action;
    bool isAllowed;  // in Live mode
    std::string_view reason;
  };

  /// In the order of LiveModeAction.
  static constexpr std::array<Rule, liveModeActionCount> rules{{
      {LiveModeAction::newSetlist, false, "replaces what is on stage"},
      {LiveModeAction::openSetlist, false, "replaces what is on stage"},
      {LiveModeAction::openRecentSetlist, false, "replaces what is on stage"},
      {LiveModeAction::clearRecentSetlists, false, "of no use while playing"},
      {LiveModeAction::saveSetlist, true, "asks nothing once the setlist has a file"},
      {LiveModeAction::saveSetlistAs, false, "opens a panel; allowed where the end of the program forces it"},
      {LiveModeAction::collectSetlist, false, "opens a panel"},
      {LiveModeAction::selectSong, true, "playing"},
      {LiveModeAction::addSong, true, "leaves the stage as it is"},
      {LiveModeAction::moveSongs, true, "leaves the stage as it is"},
      {LiveModeAction::deleteSong, true, "only by the menu of its row"},
      {LiveModeAction::renameSong, false, "the keys are commands"},
      {LiveModeAction::typeText, false, "the keys are commands; only tempo and notes can be typed"},
      {LiveModeAction::moveChannels, false, "changes the strips on stage"},
      {LiveModeAction::addChannel, false, "changes the strips on stage"},
      {LiveModeAction::copyChannel, false, "of no use without paste"},
      {LiveModeAction::cutChannel, false, "changes the strips on stage"},
      {LiveModeAction::pasteChannel, false, "changes the strips on stage"},
      {LiveModeAction::duplicateChannel, false, "changes the strips on stage"},
      {LiveModeAction::deleteChannel, false, "changes the strips on stage"},
      {LiveModeAction::chooseMasterColor, false, "of no use while playing"},
      {LiveModeAction::changeInstrument, false, "changes what is heard; one that failed is revived"},
      {LiveModeAction::chooseInternalSource, false, "leads to an editor"},
      {LiveModeAction::changeRack, false, "changes what is heard; the rack is shown only"},
      {LiveModeAction::choosePreset, true, "playing"},
      {LiveModeAction::savePreset, false, "its name is typed, and the keys are commands"},
      {LiveModeAction::deletePreset, false, "of no use while playing"},
      {LiveModeAction::undo, false, "changes strips and songs on stage"},
      {LiveModeAction::mix, true, "playing: faders, mute and solo"},
      {LiveModeAction::changeTempo, true, "playing"},
      {LiveModeAction::panic, true, "playing"},
      {LiveModeAction::midiLearn, true, "takes no other control away"},
      {LiveModeAction::clearMidiLearn, false, "takes every learned control away"},
      {LiveModeAction::changeMode, true, "leads back to Edit mode"},
      {LiveModeAction::changeProjection, true, "part of the show"},
      {LiveModeAction::changeAudioSettings, true, "replaces a device that fails"},
      {LiveModeAction::listOutputDevices, false, "drivers take their time, and notes would wait"},
      {LiveModeAction::showNotes, true, "playing"},
      {LiveModeAction::showHelp, true, "changes nothing"},
      {LiveModeAction::openStateFolder, false, "its window would cover the console"},
      {LiveModeAction::checkSetlist, false, "takes the processor that the show needs"},
      {LiveModeAction::quit, true, "asks before it ends anything"},
  }};

  [[nodiscard]] static constexpr const Rule& rule(LiveModeAction action) {
    return rules.at(static_cast<std::size_t>(action));
  }

  /// Whether the action may be carried out in the session's mode. Main thread.
  [[nodiscard]] static bool isAllowed(LiveModeAction action, const AppState& state);
};

}  // namespace vrel
