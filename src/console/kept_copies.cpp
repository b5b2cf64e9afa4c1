// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/kept_copies.h"

#include <algorithm>
#include <utility>

#include "console/file_queue.h"
#include "console/setlist_copies.h"
#include "console/setlist_files.h"
#include "document/app_state.h"
#include "document/setlist_coding.h"
#include "performance/live_mode_policy.h"
#include "platform/file_manager.h"
#include "text/language_texts.h"

namespace vrel {
namespace {

constexpr std::size_t mostNamesShown = 60;

constexpr LanguageTexts nothingKeptTexts{
    "Nothing is kept of this setlist yet: each save keeps the version that it replaces",
    "Aún no hay copias de este setlist: cada guardado conserva la versión que sustituye",
    "Aucune copie de cette liste : chaque enregistrement conserve la version qu'il remplace",
    "Nessuna copia di questa scaletta: ogni salvataggio conserva la versione che sostituisce",
    "Von dieser Setliste ist noch nichts aufbewahrt: jedes Sichern bewahrt die Fassung auf, die es ersetzt"};
constexpr LanguageTexts damagedTexts{
    "This version is damaged and cannot be opened", "Esta versión está dañada y no se abre",
    "Cette version est endommagée et ne s'ouvre pas", "Questa versione è danneggiata e non si apre",
    "Diese Fassung ist beschädigt und lässt sich nicht öffnen"};
constexpr LanguageTexts songsTexts{"Songs", "Canciones", "Morceaux", "Brani", "Songs"};

/// On the other thread.
KeptCopy readCopy(FileManager& files, const std::filesystem::path& path) {
  KeptCopy copy{.path = path, .seconds = files.modificationTime(path)};
  const auto bytes = files.contents(path, mostSetlistBytes);
  const auto setlist = bytes ? readSetlist(bytes.value()) : bytes.error();
  if (setlist) {
    const auto& songs = setlist.value().songs;
    copy.isGood = true;
    copy.songCount = songs.size();
    for (std::size_t index = 0; index < std::min(songs.size(), mostNamesShown); ++index) {
      copy.songNames += (index == 0 ? "" : ", ") + songs[index].name;
    }
    copy.songNames += songs.size() > mostNamesShown ? ", ..." : "";
  }
  return copy;
}

}  // namespace

KeptCopies::KeptCopies(const Collaborators& collaborators)
    : state_(collaborators.state),
      copies_(collaborators.copies),
      setlistFiles_(collaborators.setlistFiles),
      files_(collaborators.files),
      queue_(collaborators.queues != nullptr && files_ != nullptr
                 ? std::make_unique<FileQueue>(collaborators.mainQueue, *collaborators.queues, "vrel.kept.copies")
                 : nullptr) {}

KeptCopies::~KeptCopies() = default;

std::optional<std::filesystem::path> KeptCopies::setlist() const {
  const auto& damaged = setlistFiles_.damagedSetlist.get();
  return damaged ? damaged : state_.currentFilePath.get();
}

void KeptCopies::open() {
  if (!LiveModePolicy::isAllowed(LiveModeAction::openRecentSetlist, state_)) {
    return;
  }
  setlist_ = setlist();
  rows.set({});
  ++reading_;
  isReading.set(setlist_ && queue_ != nullptr);
  isShown.set(true);
  if (isReading.get()) {
    queue_->async([this, files = files_, directory = copies_.directory(), setlist = *setlist_,
                   reading = reading_](const FileQueue::Answer& answer) {
      answer([this, paths = findCopies(*files, directory, setlist), reading] { read(paths, reading); });
    });
  }
}

void KeptCopies::read(const std::vector<std::filesystem::path>& paths, std::uint64_t reading) {
  if (reading != reading_) {
    return;
  }
  isReading.set(!paths.empty());
  for (const auto& path : paths) {
    queue_->async(
        [this, files = files_, path, reading, isLast = path == paths.back()](const FileQueue::Answer& answer) {
          answer([this, copy = readCopy(*files, path), reading, isLast] { take(copy, reading, isLast); });
        });
  }
}

void KeptCopies::take(const KeptCopy& copy, std::uint64_t reading, bool isLast) {
  if (reading != reading_) {
    return;
  }
  rows.modify([&copy](std::vector<KeptCopy>& all) { all.push_back(copy); });
  if (isLast) {
    isReading.set(false);
  }
}

void KeptCopies::close() {
  ++reading_;
  isReading.set(false);
  isShown.set(false);
}

void KeptCopies::restore(const std::filesystem::path& copy) {
  setlistFiles_.awaitTurn();  // a save that runs may drop what is held
  const auto& all = rows.get();
  const bool isGood =
      std::any_of(all.begin(), all.end(), [&](const KeptCopy& row) { return row.path == copy && row.isGood; });
  if (!isGood || !setlist_ || !LiveModePolicy::isAllowed(LiveModeAction::openRecentSetlist, state_)) {
    return;
  }
  const auto path = copy;  // which may be that of a row
  copies_.hold(path, *setlist_);
  close();
  setlistFiles_.openRecentSetlist(path);
}

std::string KeptCopies::statusText() const {
  const bool isNothingKept = rows.get().empty() && !isReading.get();
  return isNothingKept ? filledText(nothingKeptTexts, state_.language.get()) : setlist_.value_or("").string();
}

std::string KeptCopies::describe(const KeptCopy& copy) const {
  return copy.isGood ? filledText(songsTexts, state_.language.get()) + ": " + std::to_string(copy.songCount) + ". " +
                           copy.songNames
                     : filledText(damagedTexts, state_.language.get());
}

}  // namespace vrel
