// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/setlist_files.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/current_setlist.h"
#include "console/setlist_copies.h"
#include "console/song_list.h"
#include "document/app_state.h"
#include "document/collected_setlist.h"
#include "document/setlist_coding.h"
#include "engine/audio_engine.h"
#include "performance/live_mode_policy.h"
#include "performance/song_switch.h"
#include "platform/background_work.h"
#include "platform/console_output.h"
#include "platform/desktop.h"
#include "platform/file_manager.h"
#include "platform/state_answer.h"
#include "text/text.h"

namespace vrel {
namespace {

const std::string untitledFileName = "Untitled.vrel";
const std::string newSongName = "01. Untitled Song";
const std::string liveModeHasBegun = "Failed to load setlist: Live mode has begun";

NSAlert saveAlert(bool isDirty, const std::string& message, const std::string& informativeText) {
  return {.alertStyle = isDirty ? NSAlert::Style::warning : NSAlert::Style::informational,
          .messageText = message,
          .informativeText = informativeText,
          .buttons = {"Guardar", "No guardar", "Cancelar"}};
}

NSAlert setlistChangeAlert(bool isDirty) {
  return isDirty ? saveAlert(isDirty, "Guardar cambios en el setlist actual?",
                             "Vas a cambiar de setlist. Si continuas sin guardar, perderas los cambios realizados.")
                 : saveAlert(isDirty, "Guardar el setlist actual?",
                             "Vas a cambiar de setlist. Puedes guardar el setlist actual antes de continuar.");
}

NSAlert terminationAlert(bool isDirty) {
  return isDirty ? saveAlert(isDirty, "Guardar cambios en el setlist?",
                             "Si sales sin guardar, perderas los cambios realizados.")
                 : saveAlert(isDirty, "Guardar el setlist antes de salir?",
                             "Puedes guardar el setlist o salir sin guardar.");
}

/// How many plug-ins on stage did not answer when they were captured.
std::size_t missedStates(const AudioEngine& engine) {
  std::size_t count = 0;
  const auto look = [&count](AVAudioNode* node) {
    auto* const unit = dynamic_cast<AVAudioUnit*>(node);
    const auto* const answer = unit != nullptr ? dynamic_cast<StateAnswer*>(&unit->auAudioUnit()) : nullptr;
    count += answer != nullptr && answer->missedState() ? 1U : 0U;
  };
  auto channels = engine.channels();
  channels.push_back(engine.masterChannel());
  for (const auto& channel : channels) {
    look(channel->instrumentNode.get().get());
    for (const auto& [slot, effect] : channel->effectNodes.get()) {
      look(effect.get());
    }
  }
  return count;
}

Result<std::string> encoded(const SetlistFile& setlist) {
  auto bytes = encodeSetlist(setlist);
  if (bytes && bytes.value().size() > mostSetlistBytes) {
    return Error{"the setlist is too large to be opened again"};
  }
  return bytes;
}

/// Without a copy a crash in an in-place write would leave nothing.
Outcome replaceFile(SetlistCopies& copies, FileManager& files, const std::filesystem::path& path,
                    const SetlistFile& setlist) {
  const auto bytes = encoded(setlist);
  if (!bytes) {
    return bytes.error();
  }
  return copies.keep(path) ? files.write(path, bytes.value()) : files.writeAtomically(path, bytes.value());
}

}  // namespace

SetlistFiles::SetlistFiles(const Collaborators& collaborators)
    : state_(collaborators.state),
      engine_(collaborators.engine),
      songSwitch_(collaborators.songSwitch),
      files_(collaborators.files),
      desktop_(collaborators.desktop),
      console_(collaborators.console),
      copies_(collaborators.copies),
      background_(collaborators.background) {
  pluginsFollowed_ = state_.isLookingForPlugins.changed.connect([this](bool isLooking) {
    if (!isLooking) {
      loadAwaited();
    }
  });
  editsFollowed_ = state_.edited.connect([this] { ++editCount_; });
}

void SetlistFiles::newSetlist(bool confirm) {
  const auto question = holdAwaited();
  awaitTurn();
  const auto isAllowed = [this] { return LiveModePolicy::isAllowed(LiveModeAction::newSetlist, state_); };
  // The mode may have changed while the question was open.
  if (!isAllowed() || (confirm && !confirmSetlistChange()) || !isAllowed()) {
    return;
  }
  stopAwaitingPlugins();
  engine_.removeAllChannels();
  SongConfig song;
  song.name = newSongName;
  song.channels = {newSongChannel(keyboardNoteRange(state_))};
  state_.songs.set({std::move(song)});
  state_.songControl.set({});  // learned controls stay
  collectedFolder_.clear();
  state_.currentFilePath.set(std::nullopt);
  state_.selectedSongIndex.set(std::nullopt);
  songSwitch_.applySong(0);
  state_.isDirty.set(false);
  settled.emit();
}

void SetlistFiles::openSetlist() {
  const auto question = holdAwaited();
  const auto isAllowed = [this] { return LiveModePolicy::isAllowed(LiveModeAction::openSetlist, state_); };
  if (!isAllowed()) {
    return;
  }
  // Chosen first, asked after.
  const auto path = desktop_.runModal(NSOpenPanel{.allowedType = FileType::setlist, .directory = currentDirectory()});
  // The mode may have changed while the panel was open, or the question.
  if (path && isAllowed() && confirmSetlistChange() && isAllowed()) {
    loadSetlist(*path);
  }
}

void SetlistFiles::openRecentSetlist(std::filesystem::path path) {
  if (!LiveModePolicy::isAllowed(LiveModeAction::openRecentSetlist, state_)) {
    return;
  }
  const auto question = holdAwaited();
  if (askedToOpen_) {
    askedToOpen_ = std::move(path);
  } else if (const auto newest = askToOpen(std::move(path))) {
    loadSetlist(*newest);
  }
}

/// The one that may be opened: this one, or the newest that has come while the question was open.
std::optional<std::filesystem::path> SetlistFiles::askToOpen(std::filesystem::path path) {
  askedToOpen_ = std::move(path);
  const bool mayOpen = confirmSetlistChange() && LiveModePolicy::isAllowed(LiveModeAction::openRecentSetlist, state_);
  auto newest = std::exchange(askedToOpen_, std::nullopt);
  return mayOpen ? newest : std::nullopt;
}

void SetlistFiles::openNewestCopy() {
  const auto question = holdAwaited();
  const auto damaged = damagedSetlist.get();
  if (!damaged || !LiveModePolicy::isAllowed(LiveModeAction::openRecentSetlist, state_) || !confirmSetlistChange()) {
    return;
  }
  const auto editCount = editCount_;
  std::optional<std::filesystem::path> copy;
  runBeside([&] { copy = copies_.newestGoodCopyOf(*damaged); }, [] {});
  if (copy && LiveModePolicy::isAllowed(LiveModeAction::openRecentSetlist, state_)) {
    damagedSetlist.set(damaged);  // a save that was asked for has reset it
    load(*copy, editCount);
  }
}

void SetlistFiles::loadWhenPluginsAreFound(const std::filesystem::path& path, std::uint64_t editCount) {
  if (!awaitingPlugins_ || awaitingPlugins_->loadingSession != state_.loadingSessionToken.get()) {
    state_.beginLoadingSession(1, std::string(text(TextKey::loadingAudioUnits, state_.language.get())));
  }
  awaitingPlugins_ = {path, state_.loadingSessionToken.get(), editCount};
}

void SetlistFiles::stopAwaitingPlugins() {
  const auto awaited = std::exchange(awaitingPlugins_, std::nullopt);
  if (awaited && awaited->loadingSession == state_.loadingSessionToken.get()) {
    state_.finishLoadingSession();
  }
}

std::shared_ptr<void> SetlistFiles::holdAwaited() {
  ++openQuestions_;
  return {nullptr, [this](void* /*none*/) {
            --openQuestions_;
            loadAwaited();
          }};
}

void SetlistFiles::loadAwaited() {
  if (!awaitingPlugins_ || state_.isLookingForPlugins.get() || openQuestions_ > 0 || isEndAgreed_) {
    return;
  }
  const AwaitingPlugins awaited = *awaitingPlugins_;
  stopAwaitingPlugins();
  if (!LiveModePolicy::isAllowed(LiveModeAction::openSetlist, state_)) {
    console_.print(liveModeHasBegun);
  } else if (awaited.editCount == editCount_) {
    loadSetlist(awaited.path);
  } else {
    openRecentSetlist(awaited.path);
  }
}

/// What is to be known of a file before anything changes.
struct SetlistFiles::Loaded {
  std::filesystem::path path;
  Result<SetlistFile> setlist;
  std::optional<std::filesystem::path> original{};  // of a copy: its setlist
  // Where it cannot be opened:
  std::optional<std::filesystem::path> copiesFolder{};  // none where it has no copies
  bool hasGoodCopy = false;
};

void SetlistFiles::loadSetlist(const std::filesystem::path& path) {
  load(path, editCount_);
}

/// What was edited since `editCount` has not been asked about.
void SetlistFiles::load(const std::filesystem::path& path, std::uint64_t editCount) {
  awaitTurn();
  if (state_.isLookingForPlugins.get()) {
    loadWhenPluginsAreFound(path, editCount);
    return;
  }
  stopAwaitingPlugins();
  const bool mayLoad = LiveModePolicy::isAllowed(LiveModeAction::openSetlist, state_);
  std::optional<Loaded> loaded;
  runBeside([&, damaged = damagedSetlist.get()] { loaded = read(path, damaged); },
            [&] {
              if (mayLoad && !LiveModePolicy::isAllowed(LiveModeAction::openSetlist, state_)) {
                console_.print(liveModeHasBegun);
              } else if (loaded->setlist && editCount_ != editCount) {
                askAboutEditsSince(*std::move(loaded));
              } else {
                putOnStage(*std::move(loaded));
              }
            });
}

void SetlistFiles::askAboutEditsSince(Loaded loaded) {
  if (askedToOpen_) {
    return;  // the question about a newer one is about them, too
  }
  const auto editsSaved = editsSaved_;
  const auto newest = askToOpen(loaded.path);
  // A save that was asked for may have replaced what was read, but no copy.
  const bool isAsRead = editsSaved_ == editsSaved || loaded.original.has_value();
  if (newest == loaded.path && isAsRead) {
    putOnStage(std::move(loaded));
  } else if (newest) {
    loadSetlist(*newest);
  }
}

SetlistFiles::Loaded SetlistFiles::read(const std::filesystem::path& path,
                                        const std::optional<std::filesystem::path>& damaged) const {
  const auto bytes = files_.contents(path, mostSetlistBytes);
  Loaded loaded{.path = path, .setlist = bytes ? readSetlist(bytes.value()) : bytes.error()};
  if (!loaded.setlist) {
    if (!copies_.copiesOf(path).empty()) {
      loaded.copiesFolder = copies_.directoryOf(path);
      loaded.hasGoodCopy = copies_.newestGoodCopyOf(path).has_value();
    }
    return loaded;
  }
  // What was opened from a copy is saved to the place of its setlist, also when no file says any more which one it is.
  loaded.original = copies_.setlistOf(path);
  if (damaged && path.parent_path() == copies_.directoryOf(*damaged)) {
    loaded.original = damaged;
  }
  takeFilesBeside(loaded.setlist.value(), folderOf(loaded.original.value_or(path)),
                  [this](const std::filesystem::path& file) { return files_.fileExists(file); });
  return loaded;
}

void SetlistFiles::putOnStage(Loaded loaded) {
  if (!loaded.setlist) {
    console_.print("Failed to load setlist: " + loaded.setlist.error().description);
    if (loaded.copiesFolder) {
      console_.print("Earlier versions of it are kept in " + loaded.copiesFolder->string());
    }
    if (loaded.hasGoodCopy) {
      damagedSetlist.set(loaded.path);
    }
    return;
  }
  showSetlist(std::move(loaded.setlist).value(), loaded.original.value_or(loaded.path));
  settled.emit();
  if (loaded.original) {
    state_.markEdited();
  }
}

void SetlistFiles::openUnsaved(SetlistFile setlist, const std::optional<std::filesystem::path>& original) {
  awaitTurn();
  showSetlist(std::move(setlist), original);
  state_.markEdited();
}

void SetlistFiles::showSetlist(SetlistFile setlist, const std::optional<std::filesystem::path>& path) {
  stopAwaitingPlugins();
  damagedSetlist.set(std::nullopt);
  state_.selectedSongIndex.set(std::nullopt);  // the old song must not be captured into the new ones
  state_.songs.set(std::move(setlist.songs));
  state_.globalMidiControlAssignments.set(std::move(setlist.globalMidiControlAssignments));
  collectedFolder_ = std::move(setlist.collectedFolder);
  state_.songControl.set(setlist.songControl);
  engine_.pluginPool().prewarmPlugins(state_.songs.get());
  state_.currentFilePath.set(path);
  if (path) {
    state_.addRecentFile(*path);
  }
  state_.isDirty.set(false);
  songSwitch_.applySong(0);
}

void SetlistFiles::runBeside(const std::function<void()>& work, const std::function<void()>& ended) {
  if (background_ == nullptr) {
    work();
    ended();
    return;
  }
  isBusy_ = true;
  background_->run(work, [&] {
    isBusy_ = false;
    ended();
  });
}

void SetlistFiles::awaitTurn() {
  if (isBusy_) {
    background_->waitUntil([this] { return !isBusy_; });
  }
}

std::filesystem::path SetlistFiles::folderOf(const std::filesystem::path& setlist) const {
  return files_.canonicalPath(setlist).parent_path();
}

std::optional<std::filesystem::path> SetlistFiles::currentDirectory() const {
  const auto& current = state_.currentFilePath.get();
  return current ? std::optional(current->parent_path()) : std::nullopt;
}

bool SetlistFiles::saveSetlist() {
  awaitTurn();
  const auto path = state_.currentFilePath.get();
  return path ? writeSetlist(*path) : saveSetlistAs(false);
}

bool SetlistFiles::saveSetlistAs(bool force) {
  const auto question = holdAwaited();
  if (!LiveModePolicy::isAllowed(LiveModeAction::saveSetlistAs, state_) && !force) {
    return false;
  }
  const auto& current = state_.currentFilePath.get();
  const auto path =
      desktop_.runModal(NSSavePanel{.allowedType = FileType::setlist,
                                    .suggestedName = current ? current->filename().string() : untitledFileName,
                                    .directory = currentDirectory()});
  const bool isStillAllowed = force || LiveModePolicy::isAllowed(LiveModeAction::saveSetlistAs, state_);
  return path && isStillAllowed && writeSetlist(*path);
}

bool SetlistFiles::writeSetlist(const std::filesystem::path& path) {
  awaitTurn();
  songSwitch_.captureCurrentSong();
  SetlistFile setlist = currentSetlist(state_, state_.songs.get(), collectedFolder_);
  const std::size_t missed = missedStates(engine_);
  Outcome failure;
  const auto write = [&] {
    if (!setlist.collectedFolder.empty() && folderOf(path) != setlist.collectedFolder) {
      setlist.collectedFolder.clear();  // its files stay where they are
    }
    failure = replaceFile(copies_, files_, path, setlist);
  };
  runBeside(write, [&, editsCaptured = editCount_] {
    if (failure) {
      console_.printFailure(FailureKind::save, "Failed to save setlist: " + failure->description);
    } else {
      collectedFolder_ = setlist.collectedFolder;
      endSave(path, missed, editsCaptured);
    }
  });
  return !failure;
}

void SetlistFiles::endSave(const std::filesystem::path& path, std::size_t missedStates, std::uint64_t editsCaptured) {
  damagedSetlist.set(std::nullopt);
  state_.currentFilePath.set(path);
  state_.addRecentFile(path);
  editsSaved_ = editsCaptured;
  const bool isEditedMeanwhile = editCount_ != editsSaved_;
  if (!isEditedMeanwhile) {
    state_.isDirty.set(missedStates > 0);
  }
  if (missedStates > 0) {
    console_.printFailure(FailureKind::save, "Saved with the last known state of plug-ins that did not answer (" +
                                                 std::to_string(missedStates) + "): save again");
  } else if (!isEditedMeanwhile) {
    settled.emit();
  }
}

bool SetlistFiles::confirmSetlistChange() {
  return mayGiveUp(setlistChangeAlert);
}

void SetlistFiles::confirmTermination() {
  const auto question = holdAwaited();
  const bool isAgreed = (!mayEnd || mayEnd()) && mayGiveUp(terminationAlert);
  if (isAgreed) {
    isEndAgreed_ = true;
    settled.emit();
  }
  desktop_.replyToApplicationShouldTerminate(isAgreed);
}

bool SetlistFiles::mayGiveUp(NSAlert (*alertFor)(bool isDirty)) {
  constexpr std::size_t saveButton = 0;
  constexpr std::size_t doNotSaveButton = 1;
  constexpr int mostSavesAgain = 2;
  awaitTurn();  // its outcome decides what there is to ask
  const auto answer = desktop_.runModal(alertFor(state_.isDirty.get()));
  if (answer == saveButton) {
    const auto path = state_.currentFilePath.get();
    bool isSaved = path ? writeSetlist(*path) : saveSetlistAs(true);
    // What was edited while it was written would be given up. Something that is played may edit without end.
    for (int again = 0; isSaved && editsSaved_ != editCount_ && again < mostSavesAgain; ++again) {
      isSaved = writeSetlist(*state_.currentFilePath.get());
    }
    return isSaved;
  }
  return answer == doNotSaveButton;
}

}  // namespace vrel
