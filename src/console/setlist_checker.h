// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "check/finding.h"
#include "document/app_state.h"
#include "foundation/life_token.h"
#include "foundation/observable.h"
#include "foundation/uuid.h"
#include "platform/child_process.h"

namespace vrel {

class MainQueue;
class SongSwitch;

/// The page of the setlist's check: runs vrel-render beside the console on the setlist as it is, with what was not
/// saved, and shows what it found.
///
/// One check at a time. It ends when it is stopped, its page closes, Live mode begins, or nothing was heard of it for
/// a while; whatever becomes of it, the setlist and the last report stay as they are. A report that is not one is a
/// failure. Main thread.
class SetlistChecker {
 public:
  struct Collaborators {
    AppState& state;
    SongSwitch& songSwitch;
    MainQueue& mainQueue;
    ChildProcessFactory* processes;  // null where none can be started
    std::string program;             // the path of vrel-render
  };

  enum class Stage { none, running, done, stopped, stoppedByLiveMode, failed };

  struct Status {
    Stage stage = Stage::none;
    std::size_t songsPlayed = 0;  // while it runs
    std::size_t songCount = 0;
    std::string reason{};  // of a failure

    bool operator==(const Status&) const = default;
  };

  static constexpr double silenceSeconds =
      60;  // after so long, up to twice as long, one that prints nothing has failed

  /// All are borrowed.
  explicit SetlistChecker(Collaborators collaborators);

  Observable<bool> isShown{false};
  Observable<Status> status;
  Observable<std::shared_ptr<const CheckReport>> report;  // of the last check that came to its end; null before
  Observable<bool> isOutdated{false};                     // the setlist has been edited since that check began

  /// Shows the page, and checks unless there is a report of the setlist as it is. Nothing in Live mode.
  void open();
  /// Checks; nothing while it does already, and in Live mode.
  void start();
  void stop();
  void close();

  /// The state of the check in one line, in the language of the session.
  [[nodiscard]] std::string statusText() const;

 private:
  [[nodiscard]] bool isRunning() const { return status.get().stage == Stage::running; }
  void end(Stage stage, std::string reason = {});
  void takeLine(const std::string& line);
  void takeEnd(const ChildEnd& end);
  void awaitLine();
  [[nodiscard]] std::vector<Uuid> songIds() const;

  const Collaborators collaborators_;
  std::vector<Uuid> checkedSongs_;  // when the last check began
  bool wasOutdated_ = false;        // the report, when the last check began
  std::string lastLine_;            // of an error, not of the progress
  std::size_t lineCount_ = 0;
  Uuid run_;  // which of all
  std::vector<std::shared_ptr<void>> connections_;
  LifeToken life_;
  std::unique_ptr<ChildProcess> process_;
};

/// A row of the page: a song, or a finding of the song above it, or of the setlist.
struct CheckRow {
  bool isSong = false;
  bool isError = false;
  std::string severity{};  // of a finding, in a word
  std::string title{};
  std::string detail{};  // what to do; of a song, what was measured

  bool operator==(const CheckRow&) const = default;
};

/// The rows of a report, worst song first.
[[nodiscard]] std::vector<CheckRow> checkRows(const CheckReport& report, Language language);

}  // namespace vrel
