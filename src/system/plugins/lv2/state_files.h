// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The files behind a plug-in's state.
//
// A plug-in names files in its state by abstract paths, which the host chooses. Three forms are used:
//   "state:NAME"   a file that the plug-in made itself, at a path it asked the host for. Its content
//                  is kept inside the state, so it goes wherever the setlist goes.
//   "bundle:NAME"  a file of the plug-in's own bundle, wherever that is installed.
//   anything else  the absolute path as it is. Such a file is the user's; it is not copied, and a
//                  setlist taken to another machine finds it only at the same place.
//
// Files made by the plug-in live in a folder of the unit's own, made on first need and removed with
// the unit. Each restore gets a new subfolder, since the plug-in may still have the old files open.
//
// Threads: the three features may be called on any thread that runs the plug-in's state or
// instantiation; one at a time. Failure: a path that cannot be given comes back null.

#include <lv2/state/state.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "foundation/result.h"
#include "platform/property_list.h"
#include "system/plugins/scratch_folder.h"

namespace vrel::lv2 {

class StateFiles {
 public:
  /// Content by name, as it is in the state.
  using Contents = std::map<std::string, PropertyListData>;

  /// All that one state may carry along, bytes.
  static constexpr std::uint64_t maximumContentBytes = 64ULL << 20U;

  explicit StateFiles(std::string bundlePath);
  StateFiles(const StateFiles&) = delete;
  StateFiles& operator=(const StateFiles&) = delete;

  /// Around a save: the files that were named in between are handed over at its end. Those that can
  /// not be read or that are too large are left out and logged.
  void beginSave();
  [[nodiscard]] Contents endSave(std::string& problems);

  /// Before a restore: puts the files where the abstract paths will find them. Fails, with nothing
  /// written, on a name that leads out of the folder.
  [[nodiscard]] Outcome placeFiles(const Contents& contents);

  [[nodiscard]] LV2_State_Make_Path* makePathFeature() { return &makePath_; }
  [[nodiscard]] LV2_State_Map_Path* mapPathFeature() { return &mapPath_; }
  [[nodiscard]] LV2_State_Free_Path* freePathFeature() { return &freePath_; }

 private:
  [[nodiscard]] bool ensureFolder();
  [[nodiscard]] std::filesystem::path generationFolder() const;
  [[nodiscard]] std::optional<std::string> newPath(const std::string& wanted);
  [[nodiscard]] std::string abstractPath(const std::string& absolute);
  [[nodiscard]] std::string absolutePath(const std::string& abstract) const;

  std::filesystem::path bundle_;
  std::optional<ScratchFolder> folder_;  // made on the first need
  std::filesystem::path root_;           // its path; empty before
  int generation_ = 0;
  std::map<std::string, std::string> savedNames_;  // absolute path to name, of the save under way
  LV2_State_Make_Path makePath_;
  LV2_State_Map_Path mapPath_;
  LV2_State_Free_Path freePath_;
};

}  // namespace vrel::lv2
