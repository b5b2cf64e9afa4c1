// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/track_mirror.h"

#include <QList>
#include <filesystem>
#include <string>

#include "console/content_view.h"
#include "console/strips_on_stage.h"
#include "console/window/strip_color.h"
#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "text/text.h"

namespace vrel::window {
namespace {

QList<double> shownColumns(const std::vector<WaveformColumn>& columns) {
  QList<double> shown;
  shown.reserve(static_cast<qsizetype>(2 * columns.size()));
  for (const auto& column : columns) {
    shown << static_cast<double>(column.low) << static_cast<double>(column.high);
  }
  return shown;
}

}  // namespace

TrackMirror::TrackMirror(MirrorSource& source, ContentView& content) : view_(source, mirror_ids::track) {
  mirrorStrip(content);
  mirrorRange(content);
  mirrorWaveform(content);
}

void TrackMirror::mirrorStrip(ContentView& content) {
  using View = TrackViewModel;
  AppState& state = content.appState();
  TrackEditor& editor = content.trackEditor();
  view_.derive(
      View::isOpenKey, [&editor] { return editor.channelId.get().has_value(); }, editor.channelId);
  // While it is closed, what was shown last stays until the panel has gone.
  const auto showStrip = [this, &content, &editor] {
    if (const auto channel = editor.channel()) {
      view_.set(View::colorKey, colorOf(channel->color.get()));
      view_.set(View::stripNameKey, numberedName(content.audioEngine(), *channel));
    }
  };
  connections_.push_back(editor.channelId.changed.connect([showStrip](const auto&) { showStrip(); }));
  view_.derive(
      View::fileNameKey,
      [&editor] {
        const auto& path = editor.filePath.get();
        return path ? std::filesystem::path(*path).filename().string() : std::string();
      },
      editor.filePath);
  view_.derive(
      View::errorTextKey,
      [&state, &editor] {
        const auto error = editor.error.get();
        return error ? std::string(text(*error, state.language.get())) : std::string();
      },
      editor.error, state.language);
  view_.derive(
      View::tempoTextKey,
      [&state] {
        return std::string(text(TextKey::playbackTempo, state.language.get())) + " " +
               std::to_string(state.tempoBpm.get()) + " BPM";
      },
      state.tempoBpm, state.language);
}

void TrackMirror::mirrorRange(ContentView& content) {
  using View = TrackViewModel;
  TrackEditor& editor = content.trackEditor();
  view_.follow(View::durationKey, editor.duration);
  view_.derive(
      View::durationTextKey, [&editor] { return trackTimeText(editor.duration.get()); }, editor.duration);
  view_.derive(
      View::startTimeKey, [&editor] { return editor.range.get().start; }, editor.range);
  view_.derive(
      View::startTextKey, [&editor] { return trackTimeText(editor.range.get().start); }, editor.range);
  view_.derive(
      View::endTimeKey, [&editor] { return editor.range.get().end; }, editor.range);
  view_.derive(
      View::endTextKey, [&editor] { return trackTimeText(editor.range.get().end); }, editor.range);
  view_.follow(View::isPreviewingKey, editor.isPreviewing);
  view_.follow(View::playheadTimeKey, editor.playheadTime);
  view_.follow(View::isLoopingKey, editor.isLooping);
  view_.derive(
      View::playsToExitKey, [&editor] { return editor.stopMode.get().mode() != StopMode::toggle; }, editor.stopMode);
}

void TrackMirror::mirrorWaveform(ContentView& content) {
  using View = TrackViewModel;
  AppState& state = content.appState();
  TrackEditor& editor = content.trackEditor();
  view_.follow(View::isReadingKey, editor.isReading);
  view_.derive(
      View::viewFromKey, [&editor] { return editor.view.get().from; }, editor.view);
  view_.derive(
      View::viewLengthKey, [&editor] { return editor.view.get().length; }, editor.view);
  view_.derive(
      View::columnsKey, [&editor] { return shownColumns(editor.columns.get()); }, editor.columns);
  view_.derive(
      View::beatsKey,
      [&editor] {
        const auto beats = editor.beats();
        return QList<double>(beats.begin(), beats.end());
      },
      editor.range, editor.duration, state.tempoBpm);
}

}  // namespace vrel::window
