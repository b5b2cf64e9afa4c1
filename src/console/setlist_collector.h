// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "foundation/life_token.h"
#include "foundation/observable.h"

namespace vrel {

class AppState;
class ConsoleOutput;
class Desktop;
class DispatchQueue;
class DispatchQueueFactory;
class FileCopier;
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
    FileCopier& copier;  // used on the other thread alone
    Desktop& desktop;
    ConsoleOutput& console;
  };

  /// All are borrowed.
  explicit SetlistCollector(const Collaborators& collaborators);
  /// Stops what is under way, and waits until nothing of it is left.
  ~SetlistCollector();
  SetlistCollector(const SetlistCollector&) = delete;
  SetlistCollector& operator=(const SetlistCollector&) = delete;

  /// The proportion that is done, 0 to 1; none while nothing is collected.
  Observable<std::optional<double>> progress;

  /// Has a folder chosen, and begins. Nothing in Live mode and while it is under way.
  void collect();

  /// What was copied is removed.
  void stop() { *isStopped_ = true; }

 private:
  void begin(const std::filesystem::path& folder);
  void report(const std::filesystem::path& folder, const Collection& collection);

  AppState& state_;
  SongSwitch& songSwitch_;
  MainQueue& mainQueue_;
  FileCopier& copier_;
  Desktop& desktop_;
  ConsoleOutput& console_;
  bool isChoosing_ = false;
  std::shared_ptr<std::atomic<bool>> isStopped_ = std::make_shared<std::atomic<bool>>(false);
  LifeToken life_;
  std::unique_ptr<DispatchQueue> queue_;
};

}  // namespace vrel
