// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/setlist_collector.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "console/current_setlist.h"
#include "console/file_queue.h"
#include "document/app_state.h"
#include "document/collected_setlist.h"
#include "document/setlist_coding.h"
#include "engine/plugin_state.h"
#include "performance/live_mode_policy.h"
#include "performance/song_switch.h"
#include "platform/console_output.h"
#include "platform/desktop.h"
#include "text/language_texts.h"

namespace vrel {
namespace {

constexpr LanguageTexts doneTexts{"The setlist and its files are in %1", "El setlist y sus archivos están en %1",
                                  "La liste et ses fichiers sont dans %1", "La scaletta e i suoi file sono in %1",
                                  "Die Setliste und ihre Dateien sind in %1"};
constexpr LanguageTexts missingTexts{
    "These files could not be read, and are not among them:\n%1", "Estos archivos no se pudieron leer y faltan:\n%1",
    "Ces fichiers n'ont pas pu être lus et manquent :\n%1", "Questi file non si sono potuti leggere e mancano:\n%1",
    "Diese Dateien waren nicht lesbar und fehlen:\n%1"};
constexpr LanguageTexts notCollectedTexts{"The setlist was not collected", "El setlist no se ha reunido",
                                          "La liste n'a pas été rassemblée", "La scaletta non è stata raccolta",
                                          "Die Setliste wurde nicht gesammelt"};
constexpr LanguageTexts nothingLeftTexts{"%1\nNothing was left there.", "%1\nNo ha quedado nada allí.",
                                         "%1\nRien n'y est resté.", "%1\nNon vi è rimasto nulla.",
                                         "%1\nDort ist nichts zurückgeblieben."};

constexpr LanguageTexts endTexts{"The setlist is still being collected", "El setlist aún se está reuniendo",
                                 "La liste est encore en cours de rassemblement",
                                 "La raccolta della scaletta è ancora in corso", "Die Setliste wird noch gesammelt"};
constexpr LanguageTexts endDetailTexts{"What was copied so far is removed if you quit now.",
                                       "Si sales ahora, se borra lo que ya se ha copiado.",
                                       "Si vous quittez maintenant, ce qui a été copié est supprimé.",
                                       "Se esci ora, ciò che è stato copiato viene rimosso.",
                                       "Wird jetzt beendet, so wird entfernt, was bisher kopiert wurde."};
constexpr LanguageTexts quitTexts{"Quit", "Salir", "Quitter", "Esci", "Beenden"};
constexpr LanguageTexts goOnTexts{"Go on collecting", "Seguir reuniendo", "Continuer le rassemblement",
                                  "Continua la raccolta", "Weiter sammeln"};

/// As many as an alert has room for.
std::string listOf(const std::vector<std::string>& lines) {
  constexpr std::size_t mostLines = 8;
  std::string list;
  for (std::size_t index = 0; index < std::min(lines.size(), mostLines); ++index) {
    list += (index == 0 ? "" : "\n") + lines[index];
  }
  return lines.size() > mostLines ? list + "\n... (" + std::to_string(lines.size()) + ")" : list;
}

}  // namespace

SetlistCollector::SetlistCollector(const Collaborators& collaborators)
    : state_(collaborators.state),
      songSwitch_(collaborators.songSwitch),
      copier_(collaborators.copier),
      desktop_(collaborators.desktop),
      console_(collaborators.console),
      queue_(std::make_unique<FileQueue>(collaborators.mainQueue, collaborators.queues, "vrel.collected.setlist")) {}

SetlistCollector::~SetlistCollector() {
  stop();
}

bool SetlistCollector::mayEnd() {
  if (!progress.get()) {
    return true;
  }
  const auto language = state_.language.get();
  const auto answer =
      desktop_.runModal(NSAlert{.alertStyle = NSAlert::Style::warning,
                                .messageText = filledText(endTexts, language),
                                .informativeText = filledText(endDetailTexts, language),
                                .buttons = {filledText(quitTexts, language), filledText(goOnTexts, language)}});
  return answer == std::size_t{0};
}

void SetlistCollector::collect() {
  const auto mayCollect = [this] {
    return !progress.get() && LiveModePolicy::isAllowed(LiveModeAction::collectSetlist, state_);
  };
  if (isChoosing_ || !mayCollect()) {
    return;
  }
  const auto& current = state_.currentFilePath.get();
  isChoosing_ = true;
  const auto folder = desktop_.runModal(
      NSSavePanel{.allowedType = FileType::folder,
                  .suggestedName = current ? current->stem().string() : "Setlist",
                  .directory = current ? std::optional(current->parent_path().parent_path()) : std::nullopt});
  isChoosing_ = false;
  if (folder && mayCollect()) {
    begin(*folder);
  }
}

void SetlistCollector::begin(const std::filesystem::path& folder) {
  progress.set(0);
  isStopped_ = std::make_shared<std::atomic<bool>>(false);
  SetlistFile setlist = currentSetlist(state_, songSwitch_.songsAsPlayed(StateRead::now));
  auto background = state_.visualBackgroundVideoPath.get();
  queue_->async([this, folder, setlist = std::make_shared<SetlistFile>(std::move(setlist)),
                 background = std::move(background), isStopped = isStopped_,
                 copier = copier_](const FileQueue::Answer& answer) {
    int shown = 0;
    const auto show = [&](double proportion) {
      constexpr int steps = 200;
      if (const int step = static_cast<int>(proportion * steps); step != std::exchange(shown, step)) {
        answer([this, proportion] {
          if (progress.get()) {
            progress.set(proportion);
          }
        });
      }
      return !isStopped->load();
    };
    auto collection = collectSetlist(std::move(*setlist), background, folder, *copier, show);
    answer([this, folder, collection = std::move(collection)] { report(folder, collection); });
  });
}

void SetlistCollector::report(const std::filesystem::path& folder, const Collection& collection) {
  progress.set(std::nullopt);
  const auto language = state_.language.get();
  NSAlert alert;
  alert.alertStyle = NSAlert::Style::informational;
  alert.buttons = {"OK"};
  if (collection.end == Collection::End::whole) {
    alert.messageText = filledText(doneTexts, language, folder.string());
    for (const auto& line : collection.missing) {
      console_.print("Not collected: " + line);
    }
    if (!collection.missing.empty()) {
      alert.alertStyle = NSAlert::Style::warning;
      alert.informativeText = filledText(missingTexts, language, listOf(collection.missing));
    }
  } else if (collection.end == Collection::End::failed) {
    console_.print("Failed to collect the setlist: " + collection.reason);
    alert.alertStyle = NSAlert::Style::warning;
    alert.messageText = filledText(notCollectedTexts, language);
    alert.informativeText = filledText(nothingLeftTexts, language, collection.reason);
  } else {
    return;
  }
  if (!state_.isLiveModeEnabled.get()) {
    static_cast<void>(desktop_.runModal(alert));
  }
}

}  // namespace vrel
