// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/clip_commands.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "console/content_view.h"
#include "console/window/console_commands.h"
#include "engine/audio_engine.h"

namespace vrel::window {

void ClipCommands::withEditor(std::function<void(ClipEditor&)> action) const {
  commands_.post([action = std::move(action)](ConsoleActions& actions) { action(actions.content.clipEditor()); });
}

void ClipCommands::withRow(const QString& mappingId, std::function<void(ClipEditor&, const Uuid&)> action) const {
  withEditor([id = mappingId.toStdString(), action = std::move(action)](ClipEditor& editor) {
    const auto rows = editor.mappings.get();
    const auto row = std::find_if(rows.begin(), rows.end(), [&id](const auto& each) { return each.id.text() == id; });
    if (row != rows.end()) {
      action(editor, row->id);
    }
  });
}

void ClipCommands::open(const QString& channelId) {
  commands_.post([id = channelId.toStdString()](ConsoleActions& actions) {
    if (const auto channel = actions.strip(id)) {
      actions.content.clipEditor().open(*channel);
    }
  });
}

void ClipCommands::cancel() {
  withEditor([](ClipEditor& editor) { editor.cancel(); });
}

void ClipCommands::apply() {
  withEditor([](ClipEditor& editor) { editor.apply(); });
}

void ClipCommands::add() {
  withEditor([](ClipEditor& editor) { editor.add(); });
}

void ClipCommands::remove(const QString& mappingId) {
  withRow(mappingId, [](ClipEditor& editor, const Uuid& row) { editor.remove(row); });
}

void ClipCommands::select(const QString& mappingId) {
  withRow(mappingId, [](ClipEditor& editor, const Uuid& row) { editor.select(row); });
}

void ClipCommands::chooseFile(const QString& mappingId) {
  withRow(mappingId, [](ClipEditor& editor, const Uuid& row) { editor.chooseFile(row); });
}

void ClipCommands::setToggles(const QString& mappingId, bool toggles) {
  withRow(mappingId, [toggles](ClipEditor& editor, const Uuid& row) {
    editor.setTriggerMode(row, toggles ? VisualTriggerMode::toggle : VisualTriggerMode::hold);
  });
}

void ClipCommands::setHoldsLastPicture(const QString& mappingId, bool holds) {
  withRow(mappingId, [holds](ClipEditor& editor, const Uuid& row) { editor.setHoldsLastPicture(row, holds); });
}

void ClipCommands::toggleNotePicker(const QString& mappingId) {
  withRow(mappingId, [](ClipEditor& editor, const Uuid& row) { editor.toggleNotePicker(row); });
}

void ClipCommands::setNote(const QString& mappingId, int note) {
  constexpr int highestNote = 127;
  withRow(mappingId, [note = static_cast<std::uint8_t>(std::clamp(note, 0, highestNote))](
                         ClipEditor& editor, const Uuid& row) { editor.setNote(row, note); });
}

void ClipCommands::toggleLearn(const QString& mappingId) {
  withRow(mappingId, [](ClipEditor& editor, const Uuid& row) { editor.toggleLearn(row); });
}

void ClipCommands::dropFile(const QUrl& file) {
  withEditor([path = file.toLocalFile().toStdString()](ClipEditor& editor) { editor.dropFiles({path}); });
}

void ClipCommands::wantSummary(const QString& filePath) {
  withEditor([path = filePath.toStdString()](ClipEditor& editor) { editor.wantSummary(path); });
}

}  // namespace vrel::window
