// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

// Where the program keeps the user's files, from the environment; empty where the variables are not set. To be called
// before other threads are started.

namespace vrel::system {

/// The folder that `variable` names, and without it `belowHome` in the user's home. A relative one does not count, so
/// that nothing depends on the working folder.
[[nodiscard]] std::filesystem::path userFolder(const char* variable, const std::filesystem::path& belowHome);

/// "vrel/recent_setlists.json" in the user's state folder. The folder is created with the first log
/// or copy of a setlist.
[[nodiscard]] std::filesystem::path userRecentFilesPath();

/// "vrel" in the user's state folder: recent files, logs, copies and unsaved edits.
[[nodiscard]] std::filesystem::path userStateFolder();

/// "vrel/logs" in the user's state folder.
[[nodiscard]] std::filesystem::path userLogsFolder();

/// "vrel/copies" in the user's state folder.
[[nodiscard]] std::filesystem::path userCopiesFolder();

/// "vrel/unsaved" in the user's state folder.
[[nodiscard]] std::filesystem::path userUnsavedFolder();

/// "vrel" in the folder of the user's session, XDG_RUNTIME_DIR; empty where there is none.
[[nodiscard]] std::filesystem::path userRuntimeFolder();

/// "vrel/peaks" in the user's cache folder.
[[nodiscard]] std::filesystem::path userPeaksFolder();

/// "vrel/plugins" in the user's cache folder: what the last scan has found.
[[nodiscard]] std::filesystem::path userPluginsFile();

}  // namespace vrel::system
