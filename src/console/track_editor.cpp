// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/track_editor.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "channel/channel_values.h"
#include "console/instrument_selector.h"
#include "console/strips_on_stage.h"
#include "document/app_state.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "performance/console_selection.h"
#include "performance/live_mode_policy.h"
#include "platform/audio_player.h"
#include "platform/clock.h"
#include "platform/desktop.h"
#include "platform/dispatch.h"
#include "playback/waveform_reader.h"

namespace vrel {
namespace {

constexpr double previewTick = 0.03;  // seconds
constexpr double changeCheck = 1.0;   // seconds
constexpr double usualNudge = 0.01;   // seconds
constexpr double coarseNudge = 1.0;   // seconds

}  // namespace

TrackEditor::TrackEditor(const Collaborators& collaborators)
    : state_(collaborators.state),
      engine_(collaborators.engine),
      mainQueue_(collaborators.mainQueue),
      clock_(collaborators.clock),
      desktop_(collaborators.desktop),
      selection_(collaborators.selection),
      instruments_(collaborators.instruments),
      media_(collaborators.media) {
  if (media_.queues != nullptr && media_.files != nullptr) {
    reader_ = std::make_unique<WaveformReader>(
        WaveformReader::Collaborators{media_.files, *media_.queues, mainQueue_, media_.cacheFiles, media_.cacheFolder});
  }
  connections_.push_back(
      selection_.channelsViewVersion.changed.connect([this](std::uint64_t) { closeForStripThatIsGone(); }));
  connections_.push_back(state_.isLiveModeEnabled.changed.connect([this](bool isLive) {
    if (isLive) {
      cancel();
    }
  }));
}

TrackEditor::~TrackEditor() = default;

void TrackEditor::open(const AudioChannel& channel) {
  if (!LiveModePolicy::isAllowed(LiveModeAction::chooseInternalSource, state_)) {
    return;
  }
  cancel();
  ChannelConfig record;
  if (channel.pluginKind() == PluginPathKind::playback) {
    storePlaybackValues(channel, record);
  }
  const auto& path = record.playbackFilePath;
  filePath.set(path.empty() ? std::nullopt : std::optional(path));
  initialRange_ = {record.playbackStartTime, record.playbackEndTime};
  range.set(initialRange_);
  playheadTime.set(initialRange_.start);
  isLooping.set(record.playbackLoop);
  stopMode.set(record.playbackStopMode);
  selection_.selectedChannelId.set(channel.id);
  channelId.set(channel.id);
  loadSelectedFile();
  changeTimer_ = mainQueue_.repeatingTimer(changeCheck, [this] { checkForChange(); });
}

void TrackEditor::close() {
  stopPreview();
  draggedPoint_.reset();
  changeTimer_.reset();
  if (reader_ != nullptr) {
    reader_->stop();
  }
  channelId.set(std::nullopt);
}

void TrackEditor::cancel() {
  if (channelId.get()) {
    close();
  }
}

std::shared_ptr<AudioChannel> TrackEditor::channel() const {
  return stripWithId(engine_, channelId.get());
}

void TrackEditor::closeForStripThatIsGone() {
  if (channel() == nullptr) {
    cancel();
  }
}

void TrackEditor::apply() {
  const auto target = channel();
  if (target == nullptr || !filePath.get()) {
    return;
  }
  ChannelConfig record;
  record.pluginPath = pathPlayback;
  record.playbackFilePath = *filePath.get();
  record.playbackLoop = isLooping.get();
  record.playbackStartTime = range.get().start;
  record.playbackEndTime = range.get().end;
  record.playbackStopMode = stopMode.get();
  if (peaks_.sampleRate > 0) {  // a player counts its frames in 32 bits
    const double longest = std::floor(std::numeric_limits<std::uint32_t>::max() / peaks_.sampleRate);
    record.playbackEndTime = std::min(record.playbackEndTime, record.playbackStartTime + longest);
  }
  close();
  instruments_.put(target, record);
  state_.markEdited();
}

void TrackEditor::chooseFile() {
  if (!channelId.get()) {
    return;
  }
  if (const auto chosen = desktop_.runModal(NSOpenPanel{.allowedType = FileType::audio})) {
    setFile(*chosen);
  }
}

void TrackEditor::setFile(const std::filesystem::path& file) {
  if (!channelId.get() || file.empty()) {  // closed while the panel was open
    return;
  }
  stopPreview();
  filePath.set(file.string());
  loadSelectedFile();
}

void TrackEditor::loadSelectedFile() {
  isOpened_ = false;
  peaks_ = {};
  duration.set(0);
  error.set(std::nullopt);
  setView({});
  isReading.set(filePath.get().has_value());
  if (!filePath.get()) {
    return;
  }
  if (reader_ == nullptr) {
    fileFailed();
    return;
  }
  reader_->read(*filePath.get(), [this](const WaveformReader::Progress& progress) {
    if (progress.failure) {
      fileFailed();
      return;
    }
    peaks_ = progress.peaks;
    isReading.set(!progress.isComplete);
    if (!isOpened_) {
      fileOpened();
    }
    showColumns();
  });
}

void TrackEditor::fileFailed() {
  isReading.set(false);
  error.set(TextKey::playbackReadError);
}

void TrackEditor::fileOpened() {
  isOpened_ = true;
  const double seconds = peaks_.duration();
  duration.set(seconds);
  range.set(normalisedTrackRange(openedTrackRange(range.get(), initialRange_, seconds), seconds, TrackPoint::entry));
  if (!isPreviewing.get()) {
    playheadTime.set(range.get().start);
  }
  view.set(wholeTrackView(seconds));
}

void TrackEditor::checkForChange() {
  if (reader_ != nullptr) {
    reader_->findChange([this](bool hasChanged) {
      if (hasChanged) {
        stopPreview();
        loadSelectedFile();
      }
    });
  }
}

std::vector<double> TrackEditor::beats() const {
  return beatMarkers(range.get().start, duration.get(), state_.tempoBpm.get());
}

double TrackEditor::timeAt(double position) const {
  return view.get().from + std::clamp(position, 0.0, 1.0) * view.get().length;
}

void TrackEditor::beginDrag(double position) {
  draggedPoint_ = nearestTrackPoint(timeAt(position), range.get());
}

void TrackEditor::drag(double position) {
  if (!draggedPoint_) {
    return;
  }
  movePoint(*draggedPoint_, timeAt(position));
}

void TrackEditor::movePoint(TrackPoint moved, double time) {
  if (!isOpened_) {
    return;
  }
  TrackRange wanted = range.get();
  if (moved == TrackPoint::entry) {
    wanted.start = time;
  } else {
    wanted.end = snappedExitTime(time, wanted.start, state_.tempoBpm.get(), duration.get());
  }
  setPoint(moved, wanted);
}

void TrackEditor::setPoint(TrackPoint moved, TrackRange wanted) {
  range.set(normalisedTrackRange(wanted, duration.get(), moved));
  if (isPreviewing.get()) {
    stopPreview();
  }
}

void TrackEditor::nudge(TrackPoint moved, int steps, TrackNudge size) {
  if (!isOpened_) {
    return;
  }
  const double frame = peaks_.sampleRate > 0 ? 1 / peaks_.sampleRate : 0;
  const double step = size == TrackNudge::fine ? frame : size == TrackNudge::usual ? usualNudge : coarseNudge;
  const int beats = size == TrackNudge::coarse ? beatsPerStrongMarker : 1;
  setPoint(moved,
           nudgedTrackRange(range.get(), moved, step * steps, beats * steps, state_.tempoBpm.get(), duration.get()));
}

void TrackEditor::moveEntryToZeroCrossing() {
  if (!isOpened_ || peaks_.sampleRate <= 0) {
    return;
  }
  const double asked = range.get().start;
  reader_->findZeroCrossing(std::llround(asked * peaks_.sampleRate), [this, asked](std::optional<std::int64_t> frame) {
    if (frame && range.get().start == asked) {
      setPoint(TrackPoint::entry, {static_cast<double>(*frame) / peaks_.sampleRate, range.get().end});
    }
  });
}

void TrackEditor::zoom(double factor, double position) {
  if (isOpened_ && peaks_.sampleRate > 0) {
    setView(zoomedTrackView(view.get(), factor, position, fewestFrames / peaks_.sampleRate, duration.get()));
  }
}

void TrackEditor::scroll(double widths) {
  setView(scrolledTrackView(view.get(), widths, duration.get()));
}

void TrackEditor::setView(const TrackView& wanted) {
  view.set(wanted);
  showColumns();
}

void TrackEditor::showColumns() {
  const TrackView shown = view.get();
  if (shown == wholeTrackView(duration.get())) {
    columns.set(barColumns(peaks_));
    return;
  }
  const auto from = std::llround(shown.from * peaks_.sampleRate);
  const auto frames = std::max<std::int64_t>(1, std::llround(shown.length * peaks_.sampleRate));
  const auto count = static_cast<std::size_t>(std::min<std::int64_t>(frames, mostColumns));
  if (frames >= static_cast<std::int64_t>(count) * WaveformPeaks::blockFrames) {
    columns.set(blockColumns(peaks_, from, frames, count));
    return;
  }
  columns.set(blockColumns(peaks_, from, frames, count));  // until the frames are read
  reader_->readColumns(from, frames, count, [this, shown](std::vector<WaveformColumn> detailed) {
    if (view.get() == shown) {
      columns.set(std::move(detailed));
    }
  });
}

void TrackEditor::togglePreview() {
  if (isPreviewing.get()) {
    stopPreview();
  } else {
    startPreview();
  }
}

void TrackEditor::startPreview() {
  if (!channelId.get() || !filePath.get()) {
    return;
  }
  auto made = media_.players != nullptr ? media_.players->makePlayer(*filePath.get())
                                        : Result<std::unique_ptr<AVAudioPlayer>>(Error{"this program plays no files"});
  if (!made) {
    stopPreview();
    error.set(TextKey::playbackPreviewError);
    return;
  }
  player_ = std::move(made).value();
  const auto [start, end] = range.get();
  playheadTime.set(start);
  player_->setCurrentTime(start);
  player_->prepareToPlay();
  if (start < end) {
    player_->play();
  }
  previewStartedAt_ = clock_.CACurrentMediaTime();
  isPreviewing.set(true);
  previewTimer_ = mainQueue_.repeatingTimer(previewTick, [this] { advancePreview(); });
}

void TrackEditor::advancePreview() {
  const auto [start, end] = range.get();
  const double now = clock_.CACurrentMediaTime();
  const double position = now - previewStartedAt_ + start;
  playheadTime.set(std::min(end, std::max(start, position)));
  if (position < end) {
    return;
  }
  player_->stop();
  if (!isLooping.get()) {
    stopPreview();
    return;
  }
  previewStartedAt_ = now;
  player_->setCurrentTime(start);
  playheadTime.set(start);
  if (start < end) {
    player_->play();
  }
}

void TrackEditor::stopPreview() {
  previewTimer_.reset();
  if (player_ != nullptr) {
    player_->stop();
    player_.reset();
  }
  isPreviewing.set(false);
  playheadTime.set(range.get().start);
  previewStartedAt_ = 0;
}

}  // namespace vrel
