// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/setlist_checker.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "check/finding_words.h"
#include "check/report_coding.h"
#include "console/current_setlist.h"
#include "document/setlist_coding.h"
#include "engine/plugin_state.h"
#include "performance/live_mode_policy.h"
#include "performance/song_switch.h"
#include "platform/dispatch.h"
#include "text/language_texts.h"

namespace vrel {
namespace {

constexpr LanguageTexts playingTexts{"Playing the songs: %1 of %2", "Tocando las canciones: %1 de %2",
                                     "Lecture des morceaux : %1 sur %2", "Esecuzione dei brani: %1 di %2",
                                     "Songs werden gespielt: %1 von %2"};
constexpr LanguageTexts stoppedTexts{"The check was stopped", "La comprobación se detuvo",
                                     "La vérification a été arrêtée", "Il controllo è stato fermato",
                                     "Die Prüfung wurde angehalten"};
constexpr LanguageTexts liveTexts{"The check was stopped by Live mode", "El modo Live detuvo la comprobación",
                                  "Le mode Live a arrêté la vérification", "Il modo Live ha fermato il controllo",
                                  "Der Live-Modus hat die Prüfung angehalten"};
constexpr LanguageTexts failedTexts{"The check did not come to its end: %1", "La comprobación no llegó a su fin: %1",
                                    "La vérification n'est pas arrivée à son terme : %1",
                                    "Il controllo non è arrivato alla fine: %1",
                                    "Die Prüfung kam nicht zu ihrem Ende: %1"};
constexpr LanguageTexts cleanTexts{"Nothing was found", "No se encontró nada", "Rien n'a été trouvé",
                                   "Non è stato trovato nulla", "Es wurde nichts gefunden"};
constexpr LanguageTexts countTexts{"Errors: %1, warnings: %2", "Errores: %1, avisos: %2",
                                   "Erreurs : %1, avertissements : %2", "Errori: %1, avvisi: %2",
                                   "Fehler: %1, Warnungen: %2"};
constexpr LanguageTexts errorTexts{"Error", "Error", "Erreur", "Errore", "Fehler"};
constexpr LanguageTexts warningTexts{"Warning", "Aviso", "Avertissement", "Avviso", "Warnung"};
constexpr LanguageTexts outdatedTexts{"the setlist has been edited since", "el setlist se ha editado después",
                                      "la liste a été modifiée depuis", "la scaletta è stata modificata dopo",
                                      "die Setliste wurde seitdem bearbeitet"};

std::string countText(const FindingCounts& counts, Language language) {
  return counts.all() == 0
             ? filledText(cleanTexts, language)
             : filledText(countTexts, language, std::to_string(counts.errors), std::to_string(counts.warnings));
}

void addFindings(std::vector<CheckRow>& rows, const std::vector<Finding>& findings, Language language) {
  for (const auto& finding : findings) {
    const std::string strip =
        finding.strip ? std::to_string(finding.strip->index + 1) + "  " + finding.strip->name + ": " : "";
    const bool isError = severityOf(finding.kind) == FindingSeverity::error;
    rows.push_back({.isSong = false,
                    .isError = isError,
                    .severity = filledText(isError ? errorTexts : warningTexts, language),
                    .title = strip + findingText(finding, language),
                    .detail = findingAdvice(finding.kind, language)});
  }
}

/// Whether it has all songs, or says why it has none.
bool isWholeReport(const CheckReport& report, std::size_t songCount) {
  if (report.pages.empty() && !report.findings.empty()) {
    return true;
  }
  std::vector<bool> seen(songCount, false);
  for (const auto& page : report.pages) {
    if (page.song >= songCount || seen[page.song]) {
      return false;
    }
    seen[page.song] = true;
  }
  return report.pages.size() == songCount;
}

}  // namespace

SetlistChecker::SetlistChecker(Collaborators collaborators) : collaborators_(std::move(collaborators)) {
  AppState& state = collaborators_.state;
  connections_ = {state.isLiveModeEnabled.changed.connect([this](bool isLive) {
                    if (isLive && isRunning()) {
                      end(Stage::stoppedByLiveMode);
                    }
                  }),
                  state.edited.connect([this] { isOutdated.set(true); }),
                  // Another setlist comes, maybe another version of this one with the same songs.
                  state.selectedSongIndex.changed.connect([this](const auto& index) {
                    if (!index) {
                      isOutdated.set(true);
                    }
                  }),
                  state.songs.changed.connect([this](const auto&) {
                    if (!isOutdated.get() && songIds() != checkedSongs_) {
                      isOutdated.set(true);
                    }
                  })};
}

std::vector<Uuid> SetlistChecker::songIds() const {
  std::vector<Uuid> ids;
  for (const auto& song : collaborators_.state.songs.get()) {
    ids.push_back(song.id);
  }
  return ids;
}

void SetlistChecker::open() {
  if (!LiveModePolicy::isAllowed(LiveModeAction::checkSetlist, collaborators_.state)) {
    return;
  }
  isShown.set(true);
  if (report.get() == nullptr || isOutdated.get()) {
    start();
  }
}

void SetlistChecker::close() {
  stop();
  isShown.set(false);
}

void SetlistChecker::start() {
  if (isRunning() || !LiveModePolicy::isAllowed(LiveModeAction::checkSetlist, collaborators_.state)) {
    return;
  }
  if (collaborators_.processes == nullptr) {
    end(Stage::failed, "no processes");
    return;
  }
  AppState& state = collaborators_.state;
  // No plug-in is asked for its state: the answer would be in the way of a song switch.
  const auto setlist = std::make_shared<const SetlistFile>(
      currentSetlist(state, collaborators_.songSwitch.songsAsPlayed(StateRead::lastKnown)));
  checkedSongs_ = songIds();
  wasOutdated_ = isOutdated.get();
  isOutdated.set(false);
  lastLine_.clear();
  run_ = Uuid::fresh();
  status.set({.stage = Stage::running, .songCount = setlist->songs.size()});
  process_ = collaborators_.processes->start(
      {.program = collaborators_.program,
       .arguments = {"--check", "--json", "--block", std::to_string(state.audioIOBufferFrameSize.get()),
                     childInputPath},
       .input = [setlist] { return encodeSetlist(*setlist); }},
      {.line = [this](const std::string& line) { takeLine(line); },
       .ended = [this](const ChildEnd& childEnd) { takeEnd(childEnd); }});
  awaitLine();
}

void SetlistChecker::stop() {
  if (isRunning()) {
    end(Stage::stopped);
  }
}

void SetlistChecker::end(Stage stage, std::string reason) {
  process_.reset();
  if (stage != Stage::done && wasOutdated_) {
    isOutdated.set(true);  // as is the last report, which stays
  }
  status.set({.stage = stage, .reason = std::move(reason)});
}

void SetlistChecker::takeLine(const std::string& line) {
  ++lineCount_;
  int done = 0;
  int count = 0;
  int length = 0;
  if (std::sscanf(line.c_str(), "vrel-render: %9d of %9d songs played%n", &done, &count, &length) == 2 && length > 0 &&
      done >= 0) {
    Status now = status.get();
    now.songsPlayed = std::min(static_cast<std::size_t>(done), now.songCount);
    status.set(now);
  } else if (!line.empty() && line.find("files read") == std::string::npos) {
    lastLine_ = line;
  }
}

void SetlistChecker::takeEnd(const ChildEnd& childEnd) {
  constexpr int foundSomething = 1;
  if (childEnd.failure) {
    end(Stage::failed, *childEnd.failure);
    return;
  }
  if (childEnd.exitCode != 0 && childEnd.exitCode != foundSomething) {
    end(Stage::failed, lastLine_.empty() ? "exit code " + std::to_string(childEnd.exitCode) : lastLine_);
    return;
  }
  auto decoded = decodeReport(childEnd.output);
  if (!decoded || !isWholeReport(decoded.value(), status.get().songCount)) {
    end(Stage::failed, decoded ? "its report is incomplete" : decoded.error().description);
    return;
  }
  sortWorstFirst(decoded.value());
  report.set(std::make_shared<const CheckReport>(std::move(decoded).value()));
  end(Stage::done);
}

void SetlistChecker::awaitLine() {
  collaborators_.mainQueue.asyncAfter(silenceSeconds, [this, life = life_.watch(), run = run_, lines = lineCount_] {
    if (!life.isAlive() || run != run_ || !isRunning()) {
      return;
    }
    if (lines == lineCount_) {
      end(Stage::failed, "vrel-render does not answer");
    } else {
      awaitLine();
    }
  });
}

std::string SetlistChecker::statusText() const {
  const auto language = collaborators_.state.language.get();
  const Status& now = status.get();
  switch (now.stage) {
    case Stage::none:
      return {};
    case Stage::running:
      return filledText(playingTexts, language, std::to_string(now.songsPlayed), std::to_string(now.songCount));
    case Stage::stopped:
      return filledText(stoppedTexts, language);
    case Stage::stoppedByLiveMode:
      return filledText(liveTexts, language);
    case Stage::failed:
      return filledText(failedTexts, language, now.reason);
    case Stage::done:
      break;
  }
  const std::string found = countText(countsOf(*report.get()), language);
  return isOutdated.get() ? found + " (" + filledText(outdatedTexts, language) + ")" : found;
}

std::vector<CheckRow> checkRows(const CheckReport& report, Language language) {
  std::vector<CheckRow> rows;
  addFindings(rows, report.findings, language);
  for (const auto& page : report.pages) {
    const FindingCounts counts = countsOf(page.findings);
    rows.push_back({.isSong = true,
                    .isError = counts.errors > 0,
                    .title = std::to_string(page.song + 1) + "  " + page.name,
                    .detail = countText(counts, language) +
                              (page.played ? "; " + playedText(*page.played, language) : std::string())});
    addFindings(rows, page.findings, language);
  }
  return rows;
}

}  // namespace vrel
