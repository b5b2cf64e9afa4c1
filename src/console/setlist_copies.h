// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/result.h"

namespace vrel {

class ConsoleOutput;
class FileManager;

/// The directory of a setlist's copies among those of all setlists. Any thread.
[[nodiscard]] std::filesystem::path directoryOfCopies(FileManager& files, const std::filesystem::path& ofAll,
                                                      const std::filesystem::path& setlist);

/// The copies that are there, newest first; none where `ofAll` is empty. Any thread.
[[nodiscard]] std::vector<std::filesystem::path> findCopies(FileManager& files, const std::filesystem::path& ofAll,
                                                            const std::filesystem::path& setlist);

/// The last good versions of setlists that were saved over.
///
/// A save writes into the file itself, so a power cut in its middle leaves half a file. What was there before lies here
/// by then, brought to the disk. Each setlist has a directory of its own, named after the file and after its whole
/// path, links followed: files of one name in two places share nothing. It holds "000001.vrel", "000002.vrel" and so
/// on, the highest number being the newest, each a setlist that can be opened as it is. Beside it is a file of its name
/// and ".path" with the path of the setlist.
///
/// Only what can be opened is kept: a damaged file pushes no good copy out. What the newest copy holds already is not
/// kept twice. One thread at a time.
class SetlistCopies {
 public:
  static constexpr std::size_t mostCopies = 20;  // for each setlist; the oldest goes

  /// Keeps all under `directory`, which is made when the first copy is. An empty one means that there is no place for
  /// them. The others are borrowed.
  SetlistCopies(FileManager& files, ConsoleOutput& console, std::filesystem::path directory)
      : files_(files), console_(console), directory_(std::move(directory)) {}

  /// Keeps what the setlist holds now. A failure is logged. Whether nothing is lost when the setlist is overwritten: it
  /// is kept, or does not exist. What cannot be opened is not kept, though a person may still mend it.
  [[nodiscard]] bool keep(const std::filesystem::path& setlist);

  /// The copies of a setlist, newest first.
  [[nodiscard]] std::vector<std::filesystem::path> copiesOf(const std::filesystem::path& setlist) const {
    return findCopies(files_, directory_, setlist);
  }

  /// The newest of them that can be opened; none without one.
  [[nodiscard]] std::optional<std::filesystem::path> newestGoodCopyOf(const std::filesystem::path& setlist) const;

  /// The setlist that a copy was made of; none for any other file.
  [[nodiscard]] std::optional<std::filesystem::path> setlistOf(const std::filesystem::path& copy) const;

  /// Prepares for this copy of a setlist to be opened: it stays until another one is, though saves make newer ones, and
  /// is saved to the place of its setlist.
  void hold(const std::filesystem::path& copy, const std::filesystem::path& setlist);

  [[nodiscard]] std::filesystem::path directoryOf(const std::filesystem::path& setlist) const {
    return directoryOfCopies(files_, directory_, setlist);
  }
  /// Of the copies of all setlists.
  [[nodiscard]] const std::filesystem::path& directory() const { return directory_; }

 private:
  [[nodiscard]] bool holds(const std::filesystem::path& copy, const std::string& bytes) const;
  [[nodiscard]] Outcome add(const std::filesystem::path& setlist, std::uint64_t number, const std::string& bytes);
  void tidy(const std::filesystem::path& directory);
  void logFailure(const std::filesystem::path& setlist, const Error& error);

  FileManager& files_;
  ConsoleOutput& console_;
  const std::filesystem::path directory_;
  std::filesystem::path held_;
};

}  // namespace vrel
