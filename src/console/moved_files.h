// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "foundation/life_token.h"
#include "foundation/uuid.h"

namespace vrel {

class AppState;
class AudioEngine;
class Desktop;
class DispatchQueueFactory;
class FileManager;
class FileQueue;
class InstrumentSelector;
class MainQueue;
class SetlistFiles;
class SongSwitch;

/// Of the files with its name the one that is most likely the missing file: most folders at the end of its path are the
/// same, then the first. None without a file. Pure.
[[nodiscard]] std::optional<std::filesystem::path> likeliestFile(const std::filesystem::path& missing,
                                                                 const std::vector<std::filesystem::path>& files);

/// Finds the audio files and clips of a setlist that are not where it says: by their names, beside the setlist and in
/// the folders there, on a thread of its own. What is found is offered in one question, whose answer takes all of it:
/// an edit. Each is offered once while the setlist is open; nothing in Live mode. Main thread.
class MovedFiles {
 public:
  struct Collaborators {
    AppState& state;
    AudioEngine& engine;
    SongSwitch& songSwitch;
    SetlistFiles& setlistFiles;
    InstrumentSelector& instruments;
    MainQueue& mainQueue;
    Desktop& desktop;
    DispatchQueueFactory* queues;        // null where nothing can be searched beside the main thread
    std::shared_ptr<FileManager> files;  // for that thread alone, which may be left behind
  };

  static constexpr std::size_t mostEntries = 20'000;  // of the folders that are searched
  static constexpr double offerSeconds = 1;           // until an offer that must wait is tried again

  /// All but the files are borrowed. Searches whenever a setlist has been opened.
  explicit MovedFiles(const Collaborators& collaborators);
  ~MovedFiles();
  MovedFiles(const MovedFiles&) = delete;
  MovedFiles& operator=(const MovedFiles&) = delete;

 private:
  using Places = std::map<std::string, std::string>;  // from what the setlist says to where the file is

  void search();
  void offer(const Places& found, std::uint64_t number);
  void take(const Places& found);
  [[nodiscard]] std::optional<Uuid> firstSong() const;

  AppState& state_;
  AudioEngine& engine_;
  SongSwitch& songSwitch_;
  InstrumentSelector& instruments_;
  MainQueue& mainQueue_;
  Desktop& desktop_;
  const std::shared_ptr<FileManager> files_;
  std::uint64_t search_ = 0;       // which of all
  std::optional<Uuid> searched_;   // the first song of the setlist that it was about
  std::set<std::string> offered_;  // of this setlist
  std::vector<std::shared_ptr<void>> connections_;
  LifeToken life_;
  const std::unique_ptr<FileQueue> queue_;
};

}  // namespace vrel
