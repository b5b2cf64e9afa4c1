// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/unsaved_edits.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "console/current_setlist.h"
#include "console/setlist_files.h"
#include "document/app_state.h"
#include "document/collected_setlist.h"
#include "document/setlist_coding.h"
#include "engine/plugin_state.h"
#include "performance/live_mode_policy.h"
#include "performance/song_switch.h"
#include "platform/background_work.h"
#include "platform/console_output.h"
#include "platform/desktop.h"
#include "platform/dispatch.h"
#include "platform/file_manager.h"
#include "text/language_texts.h"

namespace vrel {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view keptExtension = ".vrel";
constexpr std::string_view pathExtension = ".path";
constexpr std::uintmax_t longestKeptPath = 65536;
constexpr std::size_t mostSongsNamed = 8;

constexpr LanguageTexts questionTexts{"Open the unsaved edits of %1?", "¿Abrir los cambios sin guardar de %1?",
                                      "Ouvrir les modifications non enregistrées de %1 ?",
                                      "Aprire le modifiche non salvate di %1?",
                                      "Nicht gespeicherte Änderungen von %1 öffnen?"};
constexpr LanguageTexts detailTexts{"The program ended before they were saved. Songs: %1",
                                    "El programa terminó antes de guardarlos. Canciones: %1",
                                    "Le programme s'est arrêté avant leur enregistrement. Morceaux : %1",
                                    "Il programma è terminato prima del salvataggio. Brani: %1",
                                    "Das Programm endete, bevor sie gespeichert waren. Songs: %1"};
constexpr LanguageTexts untitledTexts{"an untitled setlist", "un setlist sin título", "une liste sans titre",
                                      "una scaletta senza titolo", "einer Setliste ohne Namen"};
constexpr LanguageTexts openTexts{"Open", "Abrir", "Ouvrir", "Apri", "Öffnen"};
constexpr LanguageTexts discardTexts{"Discard", "Descartar", "Abandonner", "Scarta", "Verwerfen"};
constexpr LanguageTexts laterTexts{"Later", "Más tarde", "Plus tard", "Più tardi", "Später"};

std::string songNamesOf(const SetlistFile& setlist) {
  std::string names;
  const auto& songs = setlist.songs;
  for (std::size_t index = 0; index < std::min(songs.size(), mostSongsNamed); ++index) {
    names += (index == 0 ? "" : ", ") + songs[index].name;
  }
  return songs.size() > mostSongsNamed ? names + ", ... (" + std::to_string(songs.size()) + ")" : names;
}

/// Where the setlist lies: a collected one that has been moved still names its former folder.
fs::path placeNow(FileManager& files, const fs::path& before, const std::string& collectedFolder,
                  const std::vector<fs::path>& knownSetlists) {
  if (collectedFolder.empty() || files.fileExists(before)) {
    return before;
  }
  for (const auto& known : knownSetlists) {
    const auto bytes = known.filename() == before.filename() ? files.contents(known, mostSetlistBytes) : Error{};
    const auto setlist = bytes ? readSetlist(bytes.value()) : bytes.error();
    if (setlist && setlist.value().collectedFolder == collectedFolder) {
      return known;
    }
  }
  return before;
}

}  // namespace

/// What a run left behind.
struct UnsavedEdits::Kept {
  SetlistFile setlist;
  std::optional<fs::path> original;  // where it belongs; none for one that was never saved
};

UnsavedEdits::UnsavedEdits(const Collaborators& collaborators, fs::path directory, Runs runs)
    : state_(collaborators.state),
      songSwitch_(collaborators.songSwitch),
      setlistFiles_(collaborators.setlistFiles),
      mainQueue_(collaborators.mainQueue),
      files_(collaborators.files),
      desktop_(collaborators.desktop),
      console_(collaborators.console),
      background_(collaborators.background),
      directory_(std::move(directory)),
      runs_(std::move(runs)),
      connections_({state_.edited.connect([this] { noteEdit(); }), setlistFiles_.settled.connect([this] { settle(); }),
                    state_.isLiveModeEnabled.changed.connect([this](bool isEnabled) {
                      if (!isEnabled && hasEdits_) {
                        noteEdit();
                      }
                    })}),
      queue_(collaborators.queues.makeSerialQueue("vrel.unsaved.edits")) {}

UnsavedEdits::~UnsavedEdits() {
  if (hasEdits_ && !setlistFiles_.isEndAgreed()) {
    keep(StateRead::now);  // the system has ended the program, and asked no one
  }
  queue_->sync([] {});
}

fs::path UnsavedEdits::fileOf(const std::string& run) const {
  return directory_ / (run + std::string(keptExtension));
}

fs::path UnsavedEdits::pathFileOf(const std::string& run) const {
  return directory_ / (run + std::string(pathExtension));
}

void UnsavedEdits::noteEdit() {
  hasEdits_ = true;
  checksQuiet_ = 0;
  if (!isScheduled_ && !state_.isLiveModeEnabled.get()) {
    checks_ = 0;
    checkLater();
  }
}

void UnsavedEdits::checkLater() {
  isScheduled_ = true;
  mainQueue_.asyncAfter(checkSeconds, [this, life = life_.watch()] {
    if (life.isAlive()) {
      check();
    }
  });
}

void UnsavedEdits::check() {
  isScheduled_ = false;
  if (!hasEdits_ || state_.isLiveModeEnabled.get() || setlistFiles_.isEndAgreed()) {
    return;
  }
  ++checks_;
  ++checksQuiet_;
  const bool isLoading = state_.songSwitchInProgress.get() || state_.showLoadingModal.get();
  if (isLoading || (checksQuiet_ < quietChecks && checks_ < mostChecks)) {
    checkLater();
  } else {
    keep(StateRead::lastKnown);
  }
}

void UnsavedEdits::keep(StateRead read) {
  if (directory_.empty()) {
    written("no state folder (HOME and XDG_STATE_HOME are not set)", {});
    return;
  }
  const auto original = state_.currentFilePath.get();
  auto setlist = std::make_shared<const SetlistFile>(
      currentSetlist(state_, songSwitch_.songsAsPlayed(read), setlistFiles_.collectedFolder()));
  queue_->async([this, setlist = std::move(setlist), original = original ? original->string() : std::string(),
                 adopted = adopted_, life = life_.watch()] {
    const Outcome failure = write(*setlist, original);
    mainQueue_.async([this, life, adopted, reason = failure ? std::optional(failure->description) : std::nullopt] {
      if (life.isAlive()) {
        written(reason, adopted);
      }
    });
  });
}

// On the other thread. A path that is not that of the setlist goes before it and comes after it: what a crash between
// leaves has no place rather than that of another one.
Outcome UnsavedEdits::write(const SetlistFile& setlist, const std::string& original) const {
  const auto pathFile = pathFileOf(runs_.own);
  const auto bytes = encodeSetlist(setlist);
  Outcome failure = bytes ? files_.createDirectory(directory_) : bytes.error();
  if (failure) {
    return failure;
  }
  const auto former = files_.contents(pathFile, longestKeptPath);
  const bool isPathThere = former && former.value() == original;
  if (!isPathThere && files_.fileExists(pathFile)) {
    failure = files_.remove(pathFile);
  }
  if (!failure) {
    failure = files_.writeAtomically(fileOf(runs_.own), bytes.value());
  }
  if (!failure && !isPathThere && !original.empty()) {
    failure = files_.writeAtomically(pathFile, original);
  }
  return failure;
}

void UnsavedEdits::written(const std::optional<std::string>& failure, const std::vector<std::string>& adopted) {
  if (failure) {
    if (!std::exchange(isFailureLogged_, true)) {
      console_.print("Failed to keep the unsaved edits: " + *failure);
    }
    return;
  }
  isFailureLogged_ = false;
  for (const auto& run : adopted) {
    if (std::erase(adopted_, run) > 0) {
      static_cast<void>(files_.remove(fileOf(run)));
      static_cast<void>(files_.remove(pathFileOf(run)));
    }
  }
}

// On the other thread behind what is being written, so that no older state comes back.
void UnsavedEdits::settle() {
  hasEdits_ = false;
  std::vector<std::string> runs = std::exchange(adopted_, {});
  runs.push_back(runs_.own);
  if (directory_.empty()) {
    return;
  }
  for (const auto& run : runs) {
    queue_->async([this, file = fileOf(run), pathFile = pathFileOf(run)] {
      for (const auto& each : {file, pathFile}) {
        if (files_.fileExists(each)) {
          static_cast<void>(files_.remove(each));
        }
      }
    });
  }
}

std::vector<std::string> UnsavedEdits::endedRuns() const {
  std::vector<std::string> runs;
  for (const auto& name : directory_.empty() ? std::vector<std::string>() : files_.fileNames(directory_)) {
    if (name.ends_with(keptExtension)) {
      auto run = name.substr(0, name.size() - keptExtension.size());
      if (run != runs_.own && !runs_.isRunning(run)) {
        runs.push_back(std::move(run));
      }
    }
  }
  return runs;
}

std::optional<UnsavedEdits::Kept> UnsavedEdits::read(const std::string& run,
                                                     const std::vector<fs::path>& knownSetlists) const {
  const auto bytes = files_.contents(fileOf(run), mostSetlistBytes);
  auto setlist = bytes ? readSetlist(bytes.value()) : bytes.error();
  if (!setlist) {
    console_.print("Failed to read unsaved edits: " + setlist.error().description);
    return std::nullopt;
  }
  const auto path = files_.contents(pathFileOf(run), longestKeptPath);
  if (!path || path.value().empty()) {
    return Kept{std::move(setlist).value(), std::nullopt};
  }
  auto place = placeNow(files_, path.value(), setlist.value().collectedFolder, knownSetlists);
  takeFilesBeside(setlist.value(), files_.canonicalPath(place).parent_path(),
                  [this](const fs::path& file) { return files_.fileExists(file); });
  return Kept{std::move(setlist).value(), std::move(place)};
}

std::optional<UnsavedEdits::Kept> UnsavedEdits::readBeside(const std::string& run) const {
  const auto knownSetlists = state_.recentFiles.get();
  if (background_ == nullptr) {
    return read(run, knownSetlists);
  }
  std::optional<Kept> kept;
  background_->run([&] { kept = read(run, knownSetlists); }, [] {});
  return kept;
}

UnsavedEdits::Answer UnsavedEdits::ask(const Kept& kept) const {
  const auto language = state_.language.get();
  const auto name = kept.original ? kept.original->filename().string() : filledText(untitledTexts, language);
  const auto answer =
      desktop_.runModal(NSAlert{.alertStyle = NSAlert::Style::warning,
                                .messageText = filledText(questionTexts, language, name),
                                .informativeText = filledText(detailTexts, language, songNamesOf(kept.setlist)),
                                .buttons = {filledText(openTexts, language), filledText(discardTexts, language),
                                            filledText(laterTexts, language)}});
  return answer == std::size_t{0} ? Answer::open : answer == std::size_t{1} ? Answer::discard : Answer::later;
}

// Questions let the main queue go on: in each, Live mode may have begun, and in the first there may have been edits.
bool UnsavedEdits::mayOpen() {
  const auto isAllowed = [this] { return LiveModePolicy::isAllowed(LiveModeAction::openRecentSetlist, state_); };
  return isAllowed() && (!hasEdits_ || setlistFiles_.confirmSetlistChange()) && isAllowed();
}

bool UnsavedEdits::mustOfferLater() {
  const bool isLater = state_.isLiveModeEnabled.get() || desktop_.isAlertShown();
  if (isLater) {
    mainQueue_.asyncAfter(offerSeconds, [this, life = life_.watch()] {
      if (life.isAlive()) {
        offer();
      }
    });
  }
  return isLater;
}

void UnsavedEdits::offer() {
  if (state_.isLookingForPlugins.get()) {
    // Behind the setlist that waits for them, too, which would take the place of what is opened here.
    pluginsFollowed_ = state_.isLookingForPlugins.changed.connect([this](bool isLooking) {
      if (!isLooking) {
        mainQueue_.async([this, life = life_.watch()] {
          if (life.isAlive()) {
            offer();
          }
        });
      }
    });
    return;
  }
  pluginsFollowed_ = nullptr;
  setlistFiles_.awaitTurn();  // the setlist that the program was started with
  if (mustOfferLater()) {
    return;
  }
  for (const auto& run : endedRuns()) {
    auto kept = readBeside(run);
    if (!kept) {
      continue;
    }
    if (mustOfferLater()) {
      return;
    }
    const Answer answer = ask(*kept);
    if (answer == Answer::discard) {
      static_cast<void>(files_.remove(fileOf(run)));
      static_cast<void>(files_.remove(pathFileOf(run)));
    } else if (answer == Answer::open) {
      if (mayOpen()) {
        setlistFiles_.openUnsaved(std::move(kept->setlist), kept->original);
        adopted_.push_back(run);
      }
      return;
    }
  }
}

}  // namespace vrel
