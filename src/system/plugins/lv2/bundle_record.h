// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "system/plugins/lv2/plugin_description.h"

namespace vrel::lv2 {

/// A file of a bundle's data as it was when it was read: equal stamps mean that it need not be read again.
struct FileStamp {
  std::string path;
  std::uint64_t size = 0;
  std::uint64_t node = 0;  // 0 for a file that is not there
  std::int64_t modifiedNanoseconds = 0;
  std::int64_t changedNanoseconds = 0;

  bool operator==(const FileStamp&) const = default;
};

/// The file as it is now, links followed.
[[nodiscard]] FileStamp stampOf(const std::filesystem::path& file);

/// The data files in a bundle's folder, by name.
[[nodiscard]] std::vector<FileStamp> dataFilesOf(const std::filesystem::path& folder);

struct ScannedPlugin {
  PluginDescription description;
  std::int32_t minorVersion = 0;
  std::int32_t microVersion = 0;

  bool operator==(const ScannedPlugin&) const = default;
};

/// What a scan knows of one bundle. A plain copy.
struct BundleRecord {
  std::string folder;
  std::vector<FileStamp> files;           // in its folder, by name
  std::vector<FileStamp> filesElsewhere;  // that its plug-ins' data is in, too
  bool isReadable = false;                // its data may be read
  bool definesPlugins = false;            // some of which may be left out
  std::vector<ScannedPlugin> plugins;     // that can be played or inserted
  std::vector<std::string> presetsFor;    // the plug-ins that its presets are for

  bool operator==(const BundleRecord&) const = default;

  /// Whether it is read for every plug-in: it may hold an editor, or words for any of them.
  [[nodiscard]] bool isForAll() const { return isReadable && !definesPlugins && presetsFor.empty(); }
};

/// Whether the bundle's data is as it was then.
[[nodiscard]] bool isUpToDate(const BundleRecord& record, const std::vector<FileStamp>& filesNow);

}  // namespace vrel::lv2
