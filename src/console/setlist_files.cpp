// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/setlist_files.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/setlist_copies.h"
#include "console/song_list.h"
#include "document/app_state.h"
#include "document/setlist_coding.h"
#include "engine/audio_engine.h"
#include "performance/live_mode_policy.h"
#include "performance/song_switch.h"
#include "platform/console_output.h"
#include "platform/desktop.h"
#include "platform/file_manager.h"

namespace vrel {
namespace {

const std::string untitledFileName = "Untitled.vrel";
const std::string newSongName = "01. Untitled Song";

NSAlert saveAlert(bool isDirty, const std::string& message, const std::string& informativeText) {
  return {.alertStyle = isDirty ? NSAlert::Style::warning : NSAlert::Style::informational,
          .messageText = message,
          .informativeText = informativeText,
          .buttons = {"Guardar", "No guardar", "Cancelar"}};
}

NSAlert setlistChangeAlert(bool isDirty) {
  return isDirty ? saveAlert(isDirty, "Guardar cambios en el setlist actual?",
                             "Vas a cambiar de setlist. Si continuas sin guardar, perderas los cambios realizados.")
                 : saveAlert(isDirty, "Guardar el setlist actual?",
                             "Vas a cambiar de setlist. Puedes guardar el setlist actual antes de continuar.");
}

NSAlert terminationAlert(bool isDirty) {
  return isDirty ? saveAlert(isDirty, "Guardar cambios en el setlist?",
                             "Si sales sin guardar, perderas los cambios realizados.")
                 : saveAlert(isDirty, "Guardar el setlist antes de salir?",
                             "Puedes guardar el setlist o salir sin guardar.");
}

Result<std::string> encoded(const AppState& state) {
  SetlistFile setlist;
  setlist.version = setlistVersion;
  setlist.songs = state.songs.get();
  setlist.globalMidiControlAssignments = state.globalMidiControlAssignments.get();
  auto bytes = encodeSetlist(setlist);
  if (bytes && bytes.value().size() > mostSetlistBytes) {
    return Error{"the setlist is too large to be opened again"};
  }
  return bytes;
}

}  // namespace

void SetlistFiles::newSetlist(bool confirm) {
  if (!LiveModePolicy::isAllowed(LiveModeAction::newSetlist, with_.state) || (confirm && !confirmSetlistChange())) {
    return;
  }
  with_.engine.removeAllChannels();
  SongConfig song;
  song.name = newSongName;
  song.channels = {newSongChannel(keyboardNoteRange(with_.state))};
  with_.state.songs.set({std::move(song)});
  with_.state.currentFilePath.set(std::nullopt);
  with_.state.selectedSongIndex.set(std::nullopt);
  with_.songSwitch.applySong(0);
  with_.state.isDirty.set(false);
}

void SetlistFiles::openSetlist() {
  if (!LiveModePolicy::isAllowed(LiveModeAction::openSetlist, with_.state)) {
    return;
  }
  // Chosen first, asked after.
  const auto path = with_.desktop.runModal(NSOpenPanel{.allowedType = FileType::setlist});
  if (path && confirmSetlistChange()) {
    loadSetlist(*path);
  }
}

void SetlistFiles::openRecentSetlist(std::filesystem::path path) {
  const auto chosen = std::move(path);  // the list changes when the guard saves
  if (LiveModePolicy::isAllowed(LiveModeAction::openRecentSetlist, with_.state) && confirmSetlistChange()) {
    loadSetlist(chosen);
  }
}

void SetlistFiles::loadSetlist(const std::filesystem::path& path) {
  const auto bytes = with_.files.contents(path, mostSetlistBytes);
  auto setlist = bytes ? readSetlist(bytes.value()) : bytes.error();
  if (!setlist) {
    with_.console.print("Failed to load setlist: " + setlist.error().description);
    if (!with_.copies.copiesOf(path).empty()) {
      with_.console.print("Earlier versions of it are kept in " + with_.copies.directoryOf(path).string());
    }
    return;
  }
  with_.state.selectedSongIndex.set(std::nullopt);  // the old song must not be captured into the new ones
  with_.state.songs.set(std::move(setlist.value().songs));
  with_.state.globalMidiControlAssignments.set(std::move(setlist.value().globalMidiControlAssignments));
  with_.engine.pluginPool().prewarmPlugins(with_.state.songs.get());
  with_.state.currentFilePath.set(path);
  with_.state.addRecentFile(path);
  with_.state.isDirty.set(false);
  with_.songSwitch.applySong(0);
}

bool SetlistFiles::saveSetlist() {
  const auto path = with_.state.currentFilePath.get();
  return path ? writeSetlist(*path) : saveSetlistAs(false);
}

bool SetlistFiles::saveSetlistAs(bool force) {
  if (!LiveModePolicy::isAllowed(LiveModeAction::saveSetlistAs, with_.state) && !force) {
    return false;
  }
  const auto& current = with_.state.currentFilePath.get();
  const auto path = with_.desktop.runModal(NSSavePanel{
      .allowedType = FileType::setlist, .suggestedName = current ? current->filename().string() : untitledFileName});
  return path && writeSetlist(*path);
}

bool SetlistFiles::writeSetlist(const std::filesystem::path& path) {
  with_.songSwitch.captureCurrentSong();
  const auto bytes = encoded(with_.state);
  if (bytes) {
    with_.copies.keep(path);
  }
  if (const Outcome failure = bytes ? with_.files.write(path, bytes.value()) : bytes.error()) {
    with_.console.print("Failed to save setlist: " + failure->description);
    return false;
  }
  with_.state.currentFilePath.set(path);
  with_.state.addRecentFile(path);
  with_.state.isDirty.set(false);
  return true;
}

bool SetlistFiles::confirmSetlistChange() {
  return mayGiveUp(setlistChangeAlert(with_.state.isDirty.get()));
}

void SetlistFiles::confirmTermination() {
  with_.desktop.replyToApplicationShouldTerminate(mayGiveUp(terminationAlert(with_.state.isDirty.get())));
}

bool SetlistFiles::mayGiveUp(const NSAlert& alert) {
  constexpr std::size_t saveButton = 0;
  constexpr std::size_t doNotSaveButton = 1;
  const auto answer = with_.desktop.runModal(alert);
  if (answer == saveButton) {
    const auto path = with_.state.currentFilePath.get();
    return path ? writeSetlist(*path) : saveSetlistAs(true);
  }
  return answer == doNotSaveButton;
}

}  // namespace vrel
