// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/file_manager.h"

namespace vrel::simulation {

/// A disk in memory, with simulated power cuts.
///
/// Every change of the disk consists of counted steps. An in-place write truncates the file in one step and writes the
/// bytes in several more; an atomic write does so in a temporary file and renames it in a last step.
class SimulatedFileManager : public FileManager {
 public:
  std::map<std::filesystem::path, std::string> files;
  std::set<std::filesystem::path> directories{"/"};
  std::map<std::filesystem::path, std::filesystem::path> links;  // followed by canonicalPath
  std::map<std::filesystem::path, std::int64_t> times;           // of files that have one
  std::set<std::filesystem::path> unreadable;                    // files
  std::set<std::filesystem::path> readOnly;                      // files, and directories whose entries cannot change
  std::optional<std::size_t> freeBytes;                          // for writes from now on; none: unlimited
  std::optional<std::size_t> stepsBeforePowerCut;                // none: no power cut
  std::size_t stepsTaken = 0;

  /// Adds a file, with its parent directories.
  void place(const std::filesystem::path& path, const std::string& bytes);
  void placeDirectory(const std::filesystem::path& path);

  /// After a power cut nothing can be read or changed until the power is restored.
  [[nodiscard]] bool isPowerCut() const { return stepsBeforePowerCut && stepsTaken >= *stepsBeforePowerCut; }
  void bringPowerBack() { stepsBeforePowerCut.reset(); }

  Result<std::string> contents(const std::filesystem::path& path, std::uintmax_t mostBytes) override;
  Outcome write(const std::filesystem::path& path, const std::string& bytes) override;
  bool fileExists(const std::filesystem::path& path) override;
  std::filesystem::path canonicalPath(const std::filesystem::path& path) override;
  Outcome createDirectory(const std::filesystem::path& path) override;
  std::vector<std::string> fileNames(const std::filesystem::path& directory) override;
  std::vector<std::filesystem::path> filesNamed(const std::filesystem::path& directory,
                                                const std::set<std::string>& names, std::size_t mostEntries) override;
  std::optional<std::int64_t> modificationTime(const std::filesystem::path& path) override;
  Outcome remove(const std::filesystem::path& path) override;
  Outcome writeAtomically(const std::filesystem::path& path, const std::string& bytes) override;

 private:
  [[nodiscard]] bool step();
  [[nodiscard]] Outcome refusal(const std::filesystem::path& path) const;
  [[nodiscard]] Outcome writeInPlace(const std::filesystem::path& path, const std::string& bytes);
};

}  // namespace vrel::simulation
