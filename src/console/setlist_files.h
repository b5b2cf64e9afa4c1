// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "foundation/observable.h"
#include "foundation/result.h"
#include "foundation/uuid.h"

namespace vrel {

class AppState;
class AudioEngine;
class BackgroundWork;
class ConsoleOutput;
class Desktop;
class FileManager;
class SetlistCopies;
class SongSwitch;
struct NSAlert;
struct SetlistFile;

/// How a setlist gets from disk to stage and back, and what is asked before one is lost.
///
/// Nothing here is an edit: what is new, loaded or saved has no unsaved edits.
///
/// No failure of a file is shown in a dialog: it goes to the console, and everything stays as it was. A setlist is
/// written into its file in place; the last good version of an existing one is kept beforehand, see SetlistCopies, and
/// where none has it the file is replaced atomically. One of more than `mostSetlistBytes` is neither read nor written.
///
/// Main thread, which captures a setlist and puts it on stage. Encoding, reading and writing are background work: each
/// call waits for its outcome and for that of the one before, while the main queue goes on, as behind a question. So an
/// edit may come while a save runs: it is not in the file, and keeps the mark.
class SetlistFiles {
 public:
  struct Collaborators {
    AppState& state;
    AudioEngine& engine;
    SongSwitch& songSwitch;
    FileManager& files;
    Desktop& desktop;
    ConsoleOutput& console;
    SetlistCopies& copies;
    BackgroundWork* background = nullptr;  // null: all is done on the main thread at once
  };

  /// All are borrowed.
  explicit SetlistFiles(const Collaborators& collaborators);

  /// A fresh setlist of one song on stage; with `confirm` it is asked for first. The assignments that hold across all
  /// songs go on into it. Nothing in Live mode.
  void newSetlist(bool confirm);

  /// Has a file chosen, asks, and loads it. Nothing in Live mode.
  void openSetlist();

  /// Asks, and loads a file of the recent list, of which the path may be a part. Another that comes while the question
  /// is open, from a second start or a drop, takes its place: one question, and the newest is loaded. Nothing in Live
  /// mode.
  void openRecentSetlist(std::filesystem::path path);

  /// The setlist that could not be opened, while a copy of it can; none after the next one that is opened or saved.
  Observable<std::optional<std::filesystem::path>> damagedSetlist;

  /// Asks, and loads the newest good copy of that setlist, to be saved to its place. Nothing in Live mode.
  void openNewestCopy();

  /// Reads a file and puts its first song on stage. A setlist without songs leaves the strips that are there. A copy
  /// takes the place of the setlist that it was made of, and counts as edited. While plug-ins are being looked for it
  /// waits for them and for an open question, behind the loading modal; the last one asked for is the one that is read
  /// then. It is not read when another setlist has been shown meanwhile. Edits that come before it is on stage are
  /// asked about. When Live mode begins before that, the stage stays as it is.
  void loadSetlist(const std::filesystem::path& path);

  /// Puts a setlist on stage that was never saved as it is, to be saved to this place; none when it has no file yet.
  void openUnsaved(SetlistFile setlist, const std::optional<std::filesystem::path>& original);

  /// Returns when no setlist is being read or written; the main queue goes on meanwhile.
  void awaitTurn();

  /// Of the open setlist, while it is saved there; empty for one that was not collected. See collected_setlist.h.
  [[nodiscard]] const std::string& collectedFolder() const { return collectedFolder_; }
  /// For a caller that has put a setlist on stage without this.
  void setCollectedFolder(std::string folder) { collectedFolder_ = std::move(folder); }

  /// Nothing is unsaved: the setlist was saved, another one has taken its place, or it was given up at the end.
  Signal<> settled;

  /// Whether a person has agreed to the end of the program: nothing is to be kept from then on.
  [[nodiscard]] bool isEndAgreed() const { return isEndAgreed_; }

  /// Saves where the setlist was loaded from or saved to last, also in Live mode; has a file chosen when there is none.
  /// Whether it is saved.
  bool saveSetlist();

  /// Has a file chosen and saves there. Refused in Live mode, unless `force`. Whether it is saved.
  bool saveSetlistAs(bool force);

  /// Takes what is on stage into the setlist and writes it. Whether it is saved.
  bool writeSetlist(const std::filesystem::path& path);

  /// Asks what becomes of the setlist before another takes its place; edits that come during the save it asks for are
  /// saved, too. Whether it may be given up.
  [[nodiscard]] bool confirmSetlistChange();

  /// Asks what becomes of the setlist before the program ends, and answers the desktop.
  void confirmTermination();

  /// Asks about what else is under way, before the setlist. Whether the program may end. Set once; may be empty.
  std::function<bool()> mayEnd;

 private:
  struct Loaded;

  [[nodiscard]] bool mayGiveUp(NSAlert (*alertFor)(bool isDirty));
  void runBeside(const std::function<void()>& work, const std::function<void()>& ended);
  void endSave(const std::filesystem::path& path, std::size_t missedStates, std::uint64_t editsCaptured);
  [[nodiscard]] Loaded read(const std::filesystem::path& path,
                            const std::optional<std::filesystem::path>& damaged) const;
  [[nodiscard]] std::optional<std::filesystem::path> askToOpen(std::filesystem::path path);
  void load(const std::filesystem::path& path, std::uint64_t editCount);
  void askAboutEditsSince(Loaded loaded);
  void putOnStage(Loaded loaded);
  /// Where the file really lies.
  [[nodiscard]] std::filesystem::path folderOf(const std::filesystem::path& setlist) const;
  /// Of the open setlist; none before it has a file.
  [[nodiscard]] std::optional<std::filesystem::path> currentDirectory() const;
  void showSetlist(SetlistFile setlist, const std::optional<std::filesystem::path>& path);
  void loadWhenPluginsAreFound(const std::filesystem::path& path, std::uint64_t editCount);
  void stopAwaitingPlugins();
  /// What waits for the plug-ins does not take the stage while one of these is held: a question about what is there is
  /// open, or what follows from its answer goes on.
  [[nodiscard]] std::shared_ptr<void> holdAwaited();
  void loadAwaited();

  /// The setlist to be read when the plug-ins are found.
  struct AwaitingPlugins {
    std::filesystem::path path;
    Uuid loadingSession;          // that was begun for it; it may have timed out
    std::uint64_t editCount = 0;  // when it was asked for
  };

  AppState& state_;
  AudioEngine& engine_;
  SongSwitch& songSwitch_;
  FileManager& files_;
  Desktop& desktop_;
  ConsoleOutput& console_;
  SetlistCopies& copies_;
  bool isEndAgreed_ = false;
  std::string collectedFolder_;
  std::optional<std::filesystem::path> askedToOpen_;  // while its question is open
  std::optional<AwaitingPlugins> awaitingPlugins_;
  int openQuestions_ = 0;
  std::shared_ptr<void> pluginsFollowed_;
  std::shared_ptr<void> editsFollowed_;
  BackgroundWork* const background_;
  bool isBusy_ = false;  // between the start of a background work and its end on the main thread
  std::uint64_t editCount_ = 0;
  std::uint64_t editsSaved_ = 0;  // of them, when the last save captured the setlist
};

}  // namespace vrel
