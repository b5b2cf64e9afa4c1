// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/clip_editor.h"

#include <algorithm>
#include <utility>

#include "channel/audio_channel.h"
#include "console/dropped_files.h"
#include "console/strips_on_stage.h"
#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "performance/console_selection.h"
#include "performance/live_mode_policy.h"
#include "platform/desktop.h"
#include "platform/dispatch.h"
#include "visuals/visual_clip_player.h"

namespace vrel {
namespace {

constexpr std::uint8_t firstRowNote = 60;
constexpr std::uint8_t lastRowNote = 127;
constexpr double pictureTick = 1.0 / 30;  // seconds

auto mappingWithId(std::vector<VisualClipMapping>& mappings, const Uuid& id) {
  return std::find_if(mappings.begin(), mappings.end(), [&id](const auto& each) { return each.id == id; });
}

std::optional<std::uint8_t> freeNote(const std::vector<VisualClipMapping>& mappings) {
  for (std::uint8_t note = firstRowNote; note <= lastRowNote; ++note) {
    if (std::none_of(mappings.begin(), mappings.end(), [note](const auto& each) { return each.note == note; })) {
      return note;
    }
  }
  return std::nullopt;
}

}  // namespace

ClipEditor::ClipEditor(const Collaborators& collaborators)
    : state_(collaborators.state),
      engine_(collaborators.engine),
      mainQueue_(collaborators.mainQueue),
      desktop_(collaborators.desktop),
      selection_(collaborators.selection),
      videos_(collaborators.videos) {
  connections_.push_back(
      selection_.channelsViewVersion.changed.connect([this](std::uint64_t) { closeForStripThatIsGone(); }));
  connections_.push_back(state_.isLiveModeEnabled.changed.connect([this](bool isLive) {
    if (isLive) {
      cancel();
    }
  }));
  connections_.push_back(state_.pressedNotes.changed.connect([this](const auto&) { notesChanged(); }));
  connections_.push_back(mappings.changed.connect([this](const auto&) { followPreview(); }));
  connections_.push_back(selectedMappingId.changed.connect([this](const auto&) { followPreview(); }));
}

ClipEditor::~ClipEditor() = default;

void ClipEditor::open(const AudioChannel& channel) {
  if (!LiveModePolicy::isAllowed(LiveModeAction::chooseInternalSource, state_)) {
    return;
  }
  cancel();
  selection_.selectedChannelId.set(channel.id);
  channelId.set(channel.id);
  mappings.set(channel.visualClipMappings.get());
  pictureTimer_ = mainQueue_.repeatingTimer(pictureTick, [this] { showPicture(); });
}

void ClipEditor::close() {
  channelId.set(std::nullopt);
  notePickerMappingId.set(std::nullopt);
  learningMappingId.set(std::nullopt);
  selectedMappingId.set(std::nullopt);
  mappings.set({});
  summaries.set({});
  askedFiles_.clear();
  pictureTimer_.reset();
}

void ClipEditor::cancel() {
  if (channelId.get()) {
    close();
  }
}

std::shared_ptr<AudioChannel> ClipEditor::channel() const {
  return stripWithId(engine_, channelId.get());
}

void ClipEditor::closeForStripThatIsGone() {
  if (channel() == nullptr) {
    cancel();
  }
}

void ClipEditor::apply() {
  const auto target = channel();
  if (target == nullptr) {
    return;
  }
  const Mappings wanted = mappings.get();
  close();
  const auto old = target->instrumentNode.get();
  engine_.instruments().loadVisualInstrument(*target, wanted, nullptr);
  if (auto* const instrument = dynamic_cast<AVAudioUnitMIDIInstrument*>(old.get())) {
    MidiRouter::silence(*instrument);  // it may play again, elsewhere
  }
  state_.markEdited();
}

void ClipEditor::add() {
  if (!channelId.get()) {
    return;
  }
  VisualClipMapping mapping;
  mappings.modify([&mapping](Mappings& all) { all.push_back(mapping); });
  selectedMappingId.set(mapping.id);
}

void ClipEditor::remove(const Uuid& mapping) {
  const Uuid gone = mapping;  // which may be of the row itself
  for (auto* const named : {&selectedMappingId, &notePickerMappingId, &learningMappingId}) {
    if (named->get() == gone) {
      named->set(std::nullopt);
    }
  }
  mappings.modify(
      [&gone](Mappings& all) { std::erase_if(all, [&gone](const auto& each) { return each.id == gone; }); });
}

void ClipEditor::select(const Uuid& mapping) {
  const auto& all = mappings.get();
  if (std::any_of(all.begin(), all.end(), [&mapping](const auto& each) { return each.id == mapping; })) {
    selectedMappingId.set(mapping);
  }
}

void ClipEditor::change(const Uuid& mapping, const std::function<void(VisualClipMapping&)>& how) {
  auto all = mappings.get();
  if (const auto found = mappingWithId(all, mapping); found != all.end()) {
    how(*found);
    mappings.set(std::move(all));
  }
}

void ClipEditor::chooseFile(const Uuid& mapping) {
  if (!channelId.get()) {
    return;
  }
  if (const auto chosen = desktop_.runModal(NSOpenPanel{.allowedType = FileType::clip})) {
    change(mapping, [&chosen](VisualClipMapping& row) { row.filePath = chosen->string(); });
  }
}

void ClipEditor::setTriggerMode(const Uuid& mapping, VisualTriggerMode mode) {
  change(mapping, [mode](VisualClipMapping& row) { row.triggerMode = mode; });
}

void ClipEditor::setHoldsLastPicture(const Uuid& mapping, bool holds) {
  change(mapping, [holds](VisualClipMapping& row) { row.holdsLastPicture = holds; });
}

void ClipEditor::toggleNotePicker(const Uuid& mapping) {
  const bool isOpen = notePickerMappingId.get() == mapping;
  notePickerMappingId.set(isOpen ? std::nullopt : std::optional(mapping));
}

void ClipEditor::setNote(const Uuid& mapping, std::uint8_t note) {
  change(mapping, [note](VisualClipMapping& row) { row.note = std::min(note, lastRowNote); });
}

void ClipEditor::toggleLearn(const Uuid& mapping) {
  const bool isLearning = learningMappingId.get() == mapping;
  learningMappingId.set(isLearning ? std::nullopt : std::optional(mapping));
}

void ClipEditor::notesChanged() {
  const auto& now = state_.pressedNotes.get();
  const auto played = std::find_if(now.begin(), now.end(), [this](auto note) { return !notes_.contains(note); });
  if (const auto learning = learningMappingId.get(); learning && played != now.end()) {
    learningMappingId.set(std::nullopt);
    setNote(*learning, *played);
  }
  notes_ = now;
}

void ClipEditor::dropFiles(const std::vector<std::filesystem::path>& files) {
  if (!channelId.get()) {
    return;
  }
  auto all = mappings.get();
  std::optional<Uuid> last;
  for (const auto& file : files) {
    const auto note = droppedFileKind(file) == DroppedFileKind::clip ? freeNote(all) : std::nullopt;
    if (note) {
      all.push_back({.note = *note, .filePath = file.string()});
      last = all.back().id;
    }
  }
  if (last) {
    mappings.set(std::move(all));
    selectedMappingId.set(last);
  }
}

void ClipEditor::wantSummary(const std::string& path) {
  if (path.empty() || videos_ == nullptr || !channelId.get() || !askedFiles_.insert(path).second) {
    return;
  }
  videos_->summarise(path, [this, life = life_.watch(), &mainQueue = mainQueue_, path,
                            openFor = channelId.get()](const ClipSummary& summary) {
    mainQueue.async([this, life, path, openFor, summary] {
      if (life.isAlive() && channelId.get() == openFor) {
        summaries.modify([&](Summaries& all) { all[path] = summary; });
      }
    });
  });
}

const VisualClipMapping* ClipEditor::previewed() const {
  const auto& all = mappings.get();
  const auto selected =
      std::find_if(all.begin(), all.end(), [this](const auto& each) { return selectedMappingId.get() == each.id; });
  return selected != all.end() ? &*selected : all.empty() ? nullptr : &all.front();
}

/// What cannot be shown stays dark.
void ClipEditor::followPreview() {
  const auto* const shown = previewed();
  const std::string path = shown != nullptr ? shown->filePath : std::string();
  const bool isHeld = shown != nullptr && shown->holdsLastPicture;
  if (path == previewPath_ && isHeld == isPreviewHeld_) {
    return;
  }
  previewPath_ = path;
  isPreviewHeld_ = isHeld;
  preview_ = nullptr;
  previewPicture.set(nullptr);
  if (videos_ != nullptr && shown != nullptr) {
    preview_ = VrelVisualClipPlayer::make(*shown, *videos_, mainQueue_);
  }
  if (preview_ != nullptr) {
    preview_->start();
  }
}

void ClipEditor::showPicture() {
  if (preview_ != nullptr) {
    previewPicture.set(preview_->player->copyPicture());
  }
}

}  // namespace vrel
