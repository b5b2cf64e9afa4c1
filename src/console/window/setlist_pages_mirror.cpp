// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/setlist_pages_mirror.h"

#include <QDateTime>
#include <QLocale>
#include <string>

#include "console/content_view.h"
#include "document/app_state.h"
#include "performance/live_mode_policy.h"
#include "text/text.h"

namespace vrel::window {
namespace {

QList<CheckEntry> checkEntries(const SetlistChecker& checker, Language language) {
  QList<CheckEntry> entries;
  if (const auto& report = checker.report.get()) {
    for (const auto& row : checkRows(*report, language)) {
      CheckEntry entry;
      entry.isSong = row.isSong;
      entry.isError = row.isError;
      entry.severity = QString::fromStdString(row.severity);
      entry.title = QString::fromStdString(row.title);
      entry.detail = QString::fromStdString(row.detail);
      entries.append(entry);
    }
  }
  return entries;
}

double progressOf(const SetlistChecker::Status& status) {
  return status.songCount == 0 ? 0 : static_cast<double>(status.songsPlayed) / static_cast<double>(status.songCount);
}

QString dateText(const KeptCopy& copy, Language language) {
  const std::string letters(code(language));
  const QLocale locale(QString::fromStdString(letters));
  return copy.seconds
             ? locale.toString(QDateTime::fromSecsSinceEpoch(*copy.seconds), QStringLiteral("ddd d MMM yyyy, HH:mm:ss"))
             : QString::fromStdString(copy.path.filename().string());
}

QList<CopyEntry> copyEntries(const KeptCopies& copies, Language language) {
  QList<CopyEntry> entries;
  for (const auto& row : copies.rows.get()) {
    CopyEntry entry;
    entry.path = QString::fromStdString(row.path.string());
    entry.date = dateText(row, language);
    entry.detail = QString::fromStdString(copies.describe(row));
    entry.isGood = row.isGood;
    entries.append(entry);
  }
  return entries;
}

}  // namespace

SetlistPagesMirror::SetlistPagesMirror(MirrorSource& source, ContentView& content)
    : check_(source, mirror_ids::check), copies_(source, mirror_ids::copies) {
  mirrorCheck(content);
  mirrorCopies(content);
}

void SetlistPagesMirror::mirrorCheck(ContentView& content) {
  using View = CheckViewModel;
  AppState& state = content.appState();
  SetlistChecker& checker = content.setlistChecker();
  check_.follow(View::isOpenKey, checker.isShown);
  check_.derive(
      View::isRunningKey, [&checker] { return checker.status.get().stage == SetlistChecker::Stage::running; },
      checker.status);
  check_.derive(
      View::mayStartKey, [&state] { return LiveModePolicy::isAllowed(LiveModeAction::checkSetlist, state); },
      state.isLiveModeEnabled);
  check_.derive(
      View::progressKey, [&checker] { return progressOf(checker.status.get()); }, checker.status);
  check_.derive(
      View::statusKey, [&checker] { return checker.statusText(); }, checker.status, checker.isOutdated, checker.report,
      state.language);
  check_.derive(
      View::rowsKey, [&checker, &state] { return checkEntries(checker, state.language.get()); }, checker.report,
      state.language);
}

void SetlistPagesMirror::mirrorCopies(ContentView& content) {
  using View = CopiesViewModel;
  AppState& state = content.appState();
  KeptCopies& copies = content.keptCopies();
  copies_.follow(View::isOpenKey, copies.isShown);
  copies_.follow(View::isReadingKey, copies.isReading);
  copies_.derive(
      View::mayRestoreKey, [&state] { return LiveModePolicy::isAllowed(LiveModeAction::openRecentSetlist, state); },
      state.isLiveModeEnabled);
  copies_.derive(
      View::statusKey, [&copies] { return copies.statusText(); }, copies.isReading, copies.rows, copies.isShown,
      state.language);
  copies_.derive(
      View::rowsKey, [&copies, &state] { return copyEntries(copies, state.language.get()); }, copies.rows,
      state.language);
}

}  // namespace vrel::window
