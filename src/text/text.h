// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "document/app_state.h"

// The words of the interface, in five languages. What belongs to one control alone is with that control.

namespace vrel {

/// In the order of the table.
enum class TextKey {
  appTitle,
  slogan,
  setlist,
  songs,
  noSongs,
  addSong,
  channelStrips,
  addChannel,
  volume,
  mute,
  solo,
  plugin,
  noPlugin,
  keyboard,
  startNote,
  keyCount,
  crashed,
  revive,
  simulateCrash,
  builtInSynth,
  loadPluginFile,
  panic,
  languageLabel,
  running,
  tempoTitle,
  notesTitle,
  splitTranspose,
  fileMenu,
  editMenu,
  modeMenu,
  visualMenu,
  visualProjectionWindow,
  visualOpenProjection,
  visualCloseProjection,
  visualToggleFullscreen,
  visualBlendMode,
  visualBackgroundVideo,
  visualChooseBackgroundVideo,
  visualClearBackgroundVideo,
  visualNoExternalDisplays,
  helpMenu,
  newSetlist,
  openSetlist,
  openRecent,
  noRecentFiles,
  saveSetlist,
  saveSetlistAs,
  clearRecent,
  instruments,
  pluginSearchPlaceholder,
  noResults,
  tryDifferentSearch,
  changeInstrument,
  removeInstrument,
  emptySlot,
  audioEffectSearchPlaceholder,
  noAudioEffects,
  loadingAudioUnits,
  loadingAudioEffect,
  loadingMasterEffect,
  liveModeTitle,
  livePanicCommand,
  liveMuteChannelsCommand,
  liveSoloChannelCommand,
  liveMuteMasterCommand,
  liveSongNavigationCommand,
  cutChannel,
  copyChannel,
  pasteChannel,
  duplicateChannel,
  deleteChannel,
  renameSong,
  deleteSong,
  playbackTitle,
  playbackSubtitle,
  visualTitle,
  visualSubtitle,
  visualNoClips,
  visualAddClip,
  visualNote,
  visualFile,
  visualChooseVideo,
  visualPreview,
  visualTriggerMode,
  visualHoldMode,
  visualToggleMode,
  playbackNoFileSelected,
  playbackSelectFile,
  playbackEntry,
  playbackExit,
  playbackLoop,
  playbackPlay,
  playbackStop,
  playbackCancel,
  playbackApply,
  playbackTempo,
  playbackStopBehavior,
  playbackStopOnKey,
  playbackStopAtExit,
  playbackReadError,
  playbackPreviewError,
  midiLearn,
  midiLearnWaiting,
  clearMidiLearn,
  modeEdit,
  modeLive,
  helpCommand,
  helpTitle,
  appSettingsMenu,
  audioBufferSize,
  audioSamples,
  audioOutput,
  audioSystemDefault,
  audioNoOutputs,
  quitApp,
  level,
  dropouts,
  audioOutputMissing,
  audioOutputAwaited,
  openNewestCopy,
};

inline constexpr std::size_t textKeyCount = static_cast<std::size_t>(TextKey::openNewestCopy) + 1;

/// In the order in which a picker offers them.
inline constexpr std::array allLanguages{Language::english, Language::spanish, Language::french, Language::italian,
                                         Language::german};

/// The word for `key`, UTF-8. Every pair has one. Any thread.
[[nodiscard]] std::string_view text(TextKey key, Language language);

/// The key as it is written here, such as "appTitle".
[[nodiscard]] std::string_view name(TextKey key);

/// Two letters: "EN", "ES", "FR", "IT" or "DE".
[[nodiscard]] std::string_view code(Language language);

}  // namespace vrel
