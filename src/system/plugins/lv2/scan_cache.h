// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the last scan has found, in a file, so that the next one reads only the bundles that have changed.

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "system/plugins/lv2/bundle_record.h"

namespace vrel {
class FileManager;
}  // namespace vrel

namespace vrel::lv2 {

/// What a record depends on beside the bundle: the places, the user's language, and the program.
[[nodiscard]] std::string scanSurroundings();

/// The records as the file holds them.
[[nodiscard]] std::string storedRecords(const std::vector<BundleRecord>& records, const std::string& surroundings);

/// None for bytes that are damaged; no records for those of other surroundings.
[[nodiscard]] std::optional<std::vector<BundleRecord>> recordsFromStored(const std::string& bytes,
                                                                         const std::string& surroundings);

/// The file. A damaged one, and one that cannot be read or written, costs one line in the log and a longer scan.
/// One thread.
class ScanCache {
 public:
  using Log = std::function<void(const std::string&)>;

  /// Does nothing without a file or a manager of files.
  ScanCache(std::shared_ptr<FileManager> files, std::filesystem::path file, Log log);

  [[nodiscard]] std::vector<BundleRecord> load();
  void store(const std::vector<BundleRecord>& records);

 private:
  std::shared_ptr<FileManager> files_;
  const std::filesystem::path file_;
  const Log log_;
  const std::string surroundings_ = scanSurroundings();
};

}  // namespace vrel::lv2
