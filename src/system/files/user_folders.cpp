// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/files/user_folders.h"

#include <cstdlib>

namespace vrel::system {
namespace {

namespace fs = std::filesystem;

fs::path environmentPath(const char* name) {
  const char* const text = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): before other threads, by contract
  return text == nullptr ? fs::path() : fs::path(text);
}

fs::path inStateFolder(const fs::path& name) {
  const auto folder = userFolder("XDG_STATE_HOME", fs::path(".local") / "state");
  if (folder.empty()) {
    return {};
  }
  return name.empty() ? folder / "vrel" : folder / "vrel" / name;
}

fs::path inCacheFolder(const fs::path& name) {
  const auto folder = userFolder("XDG_CACHE_HOME", ".cache");
  return folder.empty() ? fs::path() : folder / "vrel" / name;
}

}  // namespace

fs::path userFolder(const char* variable, const fs::path& belowHome) {
  if (const auto folder = environmentPath(variable); folder.is_absolute()) {
    return folder;
  }
  const auto home = environmentPath("HOME");
  return home.is_absolute() ? home / belowHome : fs::path();
}

fs::path userStateFolder() {
  return inStateFolder({});
}

fs::path userLogsFolder() {
  return inStateFolder("logs");
}

fs::path userRecentFilesPath() {
  return inStateFolder("recent_setlists.json");
}

fs::path userCopiesFolder() {
  return inStateFolder("copies");
}

fs::path userUnsavedFolder() {
  return inStateFolder("unsaved");
}

fs::path userRuntimeFolder() {
  const auto folder = environmentPath("XDG_RUNTIME_DIR");
  return folder.is_absolute() ? folder / "vrel" : fs::path();
}

fs::path userPeaksFolder() {
  return inCacheFolder("peaks");
}

fs::path userPluginsFile() {
  return inCacheFolder("plugins");
}

}  // namespace vrel::system
