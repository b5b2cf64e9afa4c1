// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "foundation/observable.h"

namespace vrel {

class AppState;
class ConsoleOutput;
class Desktop;
class DispatchQueueFactory;
class FileCopier;
class FileQueue;
class MainQueue;
class SongSwitch;
struct Collection;

/// Collects the open setlist and all its files in a folder that a person chooses; see collected_setlist.h. The setlist
/// is taken as it is at that moment and stays open where it is. The copies are made on a thread of their own, while
/// everything else goes on.
///
/// What came of it is said by an alert, or in Live mode by the log. Main thread.
class SetlistCollector {
 public:
  struct Collaborators {
    AppState& state;
    SongSwitch& songSwitch;
    MainQueue& mainQueue;
    DispatchQueueFactory& queues;
    std::shared_ptr<FileCopier> copier;  // for the other thread alone, which may be left behind
    Desktop& desktop;
    ConsoleOutput& console;
  };

  /// All but the copier are borrowed.
  explicit SetlistCollector(const Collaborators& collaborators);
  /// Stops what is under way, and waits until nothing of it is left, as long as its queue does.
  ~SetlistCollector();
  SetlistCollector(const SetlistCollector&) = delete;
  SetlistCollector& operator=(const SetlistCollector&) = delete;

  /// The proportion that is done, 0 to 1; none while nothing is collected.
  Observable<std::optional<double>> progress;

  /// Has a folder chosen, and begins. Nothing in Live mode and while it is under way.
  void collect();

  /// What was copied is removed.
  void stop() { *isStopped_ = true; }

  /// Whether the program may end: asks while a setlist is being collected.
  [[nodiscard]] bool mayEnd();

 private:
  void begin(const std::filesystem::path& folder);
  void report(const std::filesystem::path& folder, const Collection& collection);

  AppState& state_;
  SongSwitch& songSwitch_;
  const std::shared_ptr<FileCopier> copier_;
  Desktop& desktop_;
  ConsoleOutput& console_;
  bool isChoosing_ = false;
  std::shared_ptr<std::atomic<bool>> isStopped_ = std::make_shared<std::atomic<bool>>(false);
  const std::unique_ptr<FileQueue> queue_;
};

}  // namespace vrel
