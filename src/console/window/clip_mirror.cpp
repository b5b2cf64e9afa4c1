// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/clip_mirror.h"

#include <QImage>
#include <QList>
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>

#include "console/content_view.h"
#include "console/strips_on_stage.h"
#include "console/window/strip_color.h"
#include "document/note_name.h"
#include "engine/audio_engine.h"
#include "playback/track_range.h"

namespace vrel::window {
namespace {

QImage posterOf(const ClipSummary& summary) {
  QImage poster(static_cast<int>(summary.width), static_cast<int>(summary.height), QImage::Format_RGBA8888);
  const auto bytes = std::min(static_cast<std::size_t>(poster.sizeInBytes()), summary.pixels.size());
  if (poster.isNull() || bytes == 0) {
    return {};
  }
  std::memcpy(poster.bits(), summary.pixels.data(), bytes);
  return poster;
}

ClipRow rowOf(const VisualClipMapping& mapping) {
  ClipRow row;
  row.mappingId = QString::fromStdString(mapping.id.text());
  row.note = mapping.note;
  row.noteName = QString::fromStdString(noteName(mapping.note));
  row.fileName = QString::fromStdString(std::filesystem::path(mapping.filePath).filename().string());
  row.filePath = QString::fromStdString(mapping.filePath);
  row.toggles = mapping.triggerMode == VisualTriggerMode::toggle;
  row.holdsLastPicture = mapping.holdsLastPicture;
  return row;
}

}  // namespace

ClipMirror::ClipMirror(MirrorSource& source, ContentView& content)
    : content_(content), view_(source, mirror_ids::clips) {
  using View = ClipViewModel;
  ClipEditor& editor = content.clipEditor();
  view_.derive(
      View::isOpenKey, [&editor] { return editor.channelId.get().has_value(); }, editor.channelId);
  view_.derive(
      View::frameKey,
      [&editor] {
        return ClipFrame{editor.previewPicture.get(), {}};
      },
      editor.previewPicture);
  view_.follow(View::pickedIdKey, editor.notePickerMappingId);
  const auto markRows = [this, &source](const auto&) {
    areRowsNew_ = true;
    source.schedule();
  };
  connections_.push_back(editor.channelId.changed.connect(markRows));
  connections_.push_back(editor.mappings.changed.connect(markRows));
  connections_.push_back(editor.selectedMappingId.changed.connect(markRows));
  connections_.push_back(editor.notePickerMappingId.changed.connect(markRows));
  connections_.push_back(editor.learningMappingId.changed.connect(markRows));
  connections_.push_back(editor.summaries.changed.connect(markRows));
}

void ClipMirror::refresh() {
  using View = ClipViewModel;
  const auto channel = content_.clipEditor().channel();
  if (channel == nullptr || !areRowsNew_) {
    return;  // what was shown last stays until the panel has gone
  }
  areRowsNew_ = false;
  view_.set(View::stripNameKey, numberedName(content_.audioEngine(), *channel));
  view_.set(View::colorKey, colorOf(channel->color.get()));
  showRows();
}

void ClipMirror::showRows() {
  using View = ClipViewModel;
  const ClipEditor& editor = content_.clipEditor();
  const auto* const previewed = editor.previewed();
  QList<ClipRow> rows;
  for (const auto& mapping : editor.mappings.get()) {
    ClipRow row = rowOf(mapping);
    row.isShown = &mapping == previewed;
    row.isLearning = editor.learningMappingId.get() == mapping.id;
    const auto summary = editor.summaries.get().find(mapping.filePath);
    if (summary != editor.summaries.get().end()) {
      row.isUnplayable = !summary->second.isPlayable;
      row.isStill = summary->second.isStill;
      row.isTooLarge = summary->second.isTooLarge;
      row.lengthText =
          summary->second.seconds > 0 ? QString::fromStdString(trackTimeText(summary->second.seconds)) : QString();
      row.poster.image = posterOf(summary->second);
    }
    if (editor.notePickerMappingId.get() == mapping.id) {
      view_.set(View::pickedNoteKey, static_cast<int>(mapping.note));
    }
    rows.append(row);
  }
  view_.set(View::hasPreviewKey, previewed != nullptr && !previewed->filePath.empty());
  view_.set(View::rowsKey, rows);
}

}  // namespace vrel::window
