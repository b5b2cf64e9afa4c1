// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/observable.h"

namespace vrel {

class AppState;
class DispatchQueueFactory;
class FileManager;
class FileQueue;
class MainQueue;
class SetlistCopies;
class SetlistFiles;

/// A kept version of the open setlist, as a person chooses it.
struct KeptCopy {
  std::filesystem::path path{};
  std::optional<std::int64_t> seconds{};  // since 1970, when it was kept
  bool isGood = false;                    // it can be opened
  std::size_t songCount = 0;
  std::string songNames{};  // those of a long setlist in part

  bool operator==(const KeptCopy&) const = default;
};

/// The page of the versions that saves have replaced, and of the one in front of a damaged setlist. They are read one
/// after the other beside the main thread, newest first. Main thread.
class KeptCopies {
 public:
  struct Collaborators {
    AppState& state;
    SetlistCopies& copies;
    SetlistFiles& setlistFiles;
    MainQueue& mainQueue;
    DispatchQueueFactory* queues;        // null where nothing can be read beside the main thread
    std::shared_ptr<FileManager> files;  // for that thread alone, which may be left behind
  };

  /// All but the files are borrowed.
  explicit KeptCopies(const Collaborators& collaborators);
  ~KeptCopies();
  KeptCopies(const KeptCopies&) = delete;
  KeptCopies& operator=(const KeptCopies&) = delete;

  Observable<bool> isShown{false};
  Observable<bool> isReading{false};
  Observable<std::vector<KeptCopy>> rows;  // of those that have been read

  /// Shows the page of the open setlist, or of the one that could not be opened. Nothing in Live mode.
  void open();
  void close();

  /// Closes, asks what becomes of the open setlist, and opens a copy, to be saved to its setlist's place. Nothing for a
  /// damaged one, and in Live mode.
  void restore(const std::filesystem::path& copy);

  /// What there is to say above the rows, in the language of the session.
  [[nodiscard]] std::string statusText() const;
  /// Of a copy: its songs, or that it is damaged.
  [[nodiscard]] std::string describe(const KeptCopy& copy) const;

 private:
  [[nodiscard]] std::optional<std::filesystem::path> setlist() const;
  void read(const std::vector<std::filesystem::path>& paths, std::uint64_t reading);
  void take(const KeptCopy& copy, std::uint64_t reading, bool isLast);

  AppState& state_;
  SetlistCopies& copies_;
  SetlistFiles& setlistFiles_;
  const std::shared_ptr<FileManager> files_;
  std::optional<std::filesystem::path> setlist_;  // whose copies are shown
  std::uint64_t reading_ = 0;                     // which of all
  const std::unique_ptr<FileQueue> queue_;
};

}  // namespace vrel
