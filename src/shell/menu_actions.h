// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The names of what the items of the menus do. One with a colon is about the item's represented object.

namespace vrel::menu_actions {

inline constexpr const char* noop = "noop";
inline constexpr const char* terminate = "terminate:";

inline constexpr const char* newSetlist = "newSetlist";
inline constexpr const char* openSetlist = "openSetlist";
inline constexpr const char* openRecentSetlist = "openRecentSetlist:";
inline constexpr const char* clearRecentSetlists = "clearRecentSetlists";
inline constexpr const char* saveSetlist = "saveSetlist";
inline constexpr const char* saveSetlistAs = "saveSetlistAs";

inline constexpr const char* copyChannel = "copyChannel";
inline constexpr const char* cutChannel = "cutChannel";
inline constexpr const char* pasteChannel = "pasteChannel";
inline constexpr const char* duplicateChannel = "duplicateChannel";

inline constexpr const char* modeEdit = "modeEdit";
inline constexpr const char* modeLive = "modeLive";
inline constexpr const char* toggleLearn = "toggleLearn";
inline constexpr const char* clearMidiLearn = "clearMidiLearn";

inline constexpr const char* openVisualProjection = "openVisualProjection:";
inline constexpr const char* selectVisualBlendMode = "selectVisualBlendMode:";
inline constexpr const char* chooseVisualBackgroundVideo = "chooseVisualBackgroundVideo";
inline constexpr const char* clearVisualBackgroundVideo = "clearVisualBackgroundVideo";
inline constexpr const char* toggleVisualProjectionFullscreen = "toggleVisualProjectionFullscreen";
inline constexpr const char* closeVisualProjection = "closeVisualProjection";

inline constexpr const char* selectAudioBufferSize = "selectAudioBufferSize:";
inline constexpr const char* selectSystemAudioOutput = "selectSystemAudioOutput";
inline constexpr const char* selectAudioOutput = "selectAudioOutput:";

inline constexpr const char* showHelp = "showHelp";

}  // namespace vrel::menu_actions
