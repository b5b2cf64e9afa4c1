// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/track_commands.h"

#include <utility>

#include "console/content_view.h"
#include "console/window/console_commands.h"
#include "engine/audio_engine.h"

namespace vrel::window {

void TrackCommands::withEditor(std::function<void(TrackEditor&)> action) const {
  commands_.post([action = std::move(action)](ConsoleActions& actions) { action(actions.content.trackEditor()); });
}

void TrackCommands::open(const QString& channelId) {
  commands_.post([id = channelId.toStdString()](ConsoleActions& actions) {
    if (const auto channel = actions.strip(id)) {
      actions.content.trackEditor().open(*channel);
    }
  });
}

void TrackCommands::cancel() {
  withEditor([](TrackEditor& editor) { editor.cancel(); });
}

void TrackCommands::apply() {
  withEditor([](TrackEditor& editor) { editor.apply(); });
}

void TrackCommands::chooseFile() {
  withEditor([](TrackEditor& editor) { editor.chooseFile(); });
}

void TrackCommands::dropFile(const QUrl& file) {
  withEditor([path = file.toLocalFile().toStdString()](TrackEditor& editor) { editor.setFile(path); });
}

void TrackCommands::setLooping(bool loops) {
  withEditor([loops](TrackEditor& editor) { editor.setLooping(loops); });
}

void TrackCommands::setPlaysToExit(bool playsToExit) {
  withEditor(
      [playsToExit](TrackEditor& editor) { editor.setStopMode(playsToExit ? StopMode::rangeEnd : StopMode::toggle); });
}

void TrackCommands::togglePreview() {
  withEditor([](TrackEditor& editor) { editor.togglePreview(); });
}

void TrackCommands::beginDrag(double position) {
  withEditor([position](TrackEditor& editor) { editor.beginDrag(position); });
}

void TrackCommands::drag(double position) {
  withEditor([position](TrackEditor& editor) { editor.drag(position); });
}

void TrackCommands::endDrag() {
  withEditor([](TrackEditor& editor) { editor.endDrag(); });
}

void TrackCommands::zoom(double factor, double position) {
  withEditor([factor, position](TrackEditor& editor) { editor.zoom(factor, position); });
}

void TrackCommands::scroll(double widths) {
  withEditor([widths](TrackEditor& editor) { editor.scroll(widths); });
}

void TrackCommands::movePoint(bool isEntry, double seconds) {
  withEditor([isEntry, seconds](TrackEditor& editor) {
    editor.movePoint(isEntry ? TrackPoint::entry : TrackPoint::exit, seconds);
  });
}

void TrackCommands::nudge(bool isEntry, int steps, int size) {
  withEditor([isEntry, steps, size](TrackEditor& editor) {
    editor.nudge(isEntry ? TrackPoint::entry : TrackPoint::exit, steps,
                 size < 0   ? TrackNudge::fine
                 : size > 0 ? TrackNudge::coarse
                            : TrackNudge::usual);
  });
}

void TrackCommands::moveEntryToZeroCrossing() {
  withEditor([](TrackEditor& editor) { editor.moveEntryToZeroCrossing(); });
}

}  // namespace vrel::window
