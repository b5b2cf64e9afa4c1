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

/// A disk in memory, whose power can fail in the middle of a write.
///
/// Everything that changes the disk is made of steps, which are counted. An in-place write empties the file in one step
/// and brings the bytes in several more; an atomic one does so beside the file and puts it in place in a last one.
class SimulatedFileManager : public FileManager {
 public:
  std::map<std::filesystem::path, std::string> files;
  std::set<std::filesystem::path> directories{"/"};
  std::map<std::filesystem::path, std::filesystem::path> links;  // that canonicalPath follows
  std::set<std::filesystem::path> unreadable;                    // files
  std::set<std::filesystem::path> readOnly;        // files, and directories in which nothing can be made or removed
  std::optional<std::size_t> freeBytes;            // for writes from now on; none: endless
  std::optional<std::size_t> stepsBeforePowerCut;  // none: the power stays
  std::size_t stepsTaken = 0;

  /// Puts a file there, with the directories above it.
  void place(const std::filesystem::path& path, const std::string& bytes);
  void placeDirectory(const std::filesystem::path& path);

  /// Once the power is cut nothing is read or changed any more, until it is back.
  [[nodiscard]] bool isPowerCut() const { return stepsBeforePowerCut && stepsTaken >= *stepsBeforePowerCut; }
  void bringPowerBack() { stepsBeforePowerCut.reset(); }

  Result<std::string> contents(const std::filesystem::path& path, std::uintmax_t mostBytes) override;
  Outcome write(const std::filesystem::path& path, const std::string& bytes) override;
  bool fileExists(const std::filesystem::path& path) override;
  std::filesystem::path canonicalPath(const std::filesystem::path& path) override;
  Outcome createDirectory(const std::filesystem::path& path) override;
  std::vector<std::string> fileNames(const std::filesystem::path& directory) override;
  Outcome remove(const std::filesystem::path& path) override;
  Outcome writeAtomically(const std::filesystem::path& path, const std::string& bytes) override;

 private:
  [[nodiscard]] bool step();
  [[nodiscard]] Outcome refusal(const std::filesystem::path& path) const;
  [[nodiscard]] Outcome writeInPlace(const std::filesystem::path& path, const std::string& bytes);
};

}  // namespace vrel::simulation
