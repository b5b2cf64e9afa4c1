// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "document/setlist.h"
#include "foundation/life_token.h"
#include "foundation/result.h"

namespace vrel {

class AppState;
class BackgroundWork;
class ConsoleOutput;
class Desktop;
class DispatchQueue;
class DispatchQueueFactory;
class FileManager;
class MainQueue;
class SetlistFiles;
class SongSwitch;
enum class StateRead;

/// Keeps what was edited since the last save in the state folder, so that a crash, a power cut or a kill costs seconds
/// of work, and offers it at the next start. No file of the user is touched.
///
/// Each run of the program has a file of its own there, "RUN.vrel", a setlist that can be opened as it is, and beside
/// it "RUN.path" with the path of the setlist that it belongs to. Both go when the setlist is saved or given up.
///
/// Nothing is done in Live mode; what was edited in it is kept after it. Else the songs are captured on the main
/// thread when nothing was edited for 6 to 8 seconds, and after a minute of edits without such a pause, such as those
/// of a pedal that is played; not while anything loads. No plug-in is asked for its state: an answer that is owed would
/// be in the way of a save or a song switch. What is kept holds the state that each plug-in took or gave last, when it
/// was loaded, saved or left by a song switch; only when the system ends the program are they asked.
///
/// Encoding and writing are done on a thread of its own. A failure is one line, until a later attempt succeeds. Main
/// thread.
class UnsavedEdits {
 public:
  struct Collaborators {
    AppState& state;
    SongSwitch& songSwitch;
    SetlistFiles& setlistFiles;
    MainQueue& mainQueue;
    DispatchQueueFactory& queues;
    FileManager& files;  // used on the other thread, too
    Desktop& desktop;
    ConsoleOutput& console;
    BackgroundWork* background = nullptr;  // null: what is offered is read on the main thread
  };

  /// The name of a run, and whether the one with a name is still there: what it keeps is its own.
  struct Runs {
    std::string own;
    std::function<bool(const std::string& run)> isRunning;
  };

  static constexpr double checkSeconds = 2;
  static constexpr int quietChecks = 4;      // after the last edit
  static constexpr int mostChecks = 30;      // after the first one
  static constexpr double offerSeconds = 1;  // until an offer that must wait is tried again

  /// All are borrowed. An empty directory means that there is no place for it.
  UnsavedEdits(const Collaborators& collaborators, std::filesystem::path directory, Runs runs);
  /// Keeps what is not settled, and waits for that to be written.
  ~UnsavedEdits();
  UnsavedEdits(const UnsavedEdits&) = delete;
  UnsavedEdits& operator=(const UnsavedEdits&) = delete;

  /// Asks about each setlist that a run which has ended left behind, until one is opened: when the plug-ins are found,
  /// outside Live mode and behind any other question. Opened, it is edited and to be saved to its place, after the
  /// usual question where there are edits by then; discarded, it is removed; without an answer, or in Live mode, it is
  /// offered again at the next start.
  void offer();

 private:
  struct Kept;
  enum class Answer { open, discard, later };

  void noteEdit();
  void checkLater();
  void check();
  void keep(StateRead read);
  [[nodiscard]] Outcome write(const SetlistFile& setlist, const std::string& original) const;
  void settle();
  void written(const std::optional<std::string>& failure, const std::vector<std::string>& adopted);
  [[nodiscard]] bool mayOpen();
  [[nodiscard]] std::filesystem::path fileOf(const std::string& run) const;
  [[nodiscard]] std::filesystem::path pathFileOf(const std::string& run) const;
  [[nodiscard]] std::vector<std::string> endedRuns() const;
  [[nodiscard]] std::optional<Kept> read(const std::string& run,
                                         const std::vector<std::filesystem::path>& knownSetlists) const;
  [[nodiscard]] std::optional<Kept> readBeside(const std::string& run) const;
  [[nodiscard]] bool mustOfferLater();
  [[nodiscard]] Answer ask(const Kept& kept) const;

  AppState& state_;
  SongSwitch& songSwitch_;
  SetlistFiles& setlistFiles_;
  MainQueue& mainQueue_;
  FileManager& files_;
  Desktop& desktop_;
  ConsoleOutput& console_;
  BackgroundWork* const background_;
  const std::filesystem::path directory_;
  const Runs runs_;
  std::vector<std::string> adopted_;  // runs whose setlist is open here, until this run has kept it, too
  bool isScheduled_ = false;
  int checks_ = 0;       // since the first edit
  int checksQuiet_ = 0;  // since the last one
  bool hasEdits_ = false;
  bool isFailureLogged_ = false;
  std::vector<std::shared_ptr<void>> connections_;
  std::shared_ptr<void> pluginsFollowed_;
  LifeToken life_;
  std::unique_ptr<DispatchQueue> queue_;
};

}  // namespace vrel
