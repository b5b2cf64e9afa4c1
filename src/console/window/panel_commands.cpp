// SPDX-License-Identifier: GPL-3.0-or-later
// What is done in the panels that choose plug-ins.
#include <filesystem>

#include "console/content_view.h"
#include "console/plugin_preferences.h"
#include "console/window/console_commands.h"
#include "engine/audio_engine.h"

namespace vrel::window {
namespace {

std::filesystem::path pathOf(const QUrl& file) {
  return file.toLocalFile().toStdString();  // empty for what is on no disk
}

}  // namespace

void ConsoleCommands::openInstrumentSelector(const QString& channelId) {
  withChannel(channelId,
              [](ContentView& content, AudioChannel& channel) { content.instrumentSelector().open(channel); });
}

void ConsoleCommands::removeInstrument(const QString& channelId) {
  withChannel(channelId, [](ContentView& content, AudioChannel& channel) {
    content.instrumentSelector().removeInstrument(channel);
  });
}

void ConsoleCommands::cancelInstrumentSelector() {
  withContent([](ContentView& content) { content.instrumentSelector().cancel(); });
}

void ConsoleCommands::setInstrumentSearch(const QString& text) {
  withContent([text = text.toStdString()](ContentView& content) { content.instrumentSelector().setSearchText(text); });
}

void ConsoleCommands::pickInstrument(const QString& key) {
  withContent([key = key.toStdString()](ContentView& content) { content.instrumentSelector().pick(key); });
}

void ConsoleCommands::tryInstrument(const QString& key) {
  withContent([key = key.toStdString()](ContentView& content) { content.instrumentSelector().tryOut(key); });
}

void ConsoleCommands::toggleFavourite(const QString& key) {
  withContent([key = key.toStdString()](ContentView& content) { toggleFavouritePlugin(content.appState(), key); });
}

void ConsoleCommands::pickPlayback() {
  withContent([](ContentView& content) { content.instrumentSelector().pickPlayback(); });
}

void ConsoleCommands::pickVisual() {
  withContent([](ContentView& content) { content.instrumentSelector().pickVisual(); });
}

void ConsoleCommands::toggleEffectRack(const QString& channelId) {
  withContent([id = channelId.toStdString()](ContentView& content) {
    if (const auto& master = content.audioEngine().masterChannel(); master->id.text() == id) {
      content.effectRack().toggle(*master);
    }
  });
  withChannel(channelId, [](ContentView& content, AudioChannel& channel) { content.effectRack().toggle(channel); });
}

void ConsoleCommands::closeEffectRack() {
  withContent([](ContentView& content) { content.effectRack().close(); });
}

void ConsoleCommands::setEffectSearch(const QString& text) {
  withContent([text = text.toStdString()](ContentView& content) { content.effectRack().searchText.set(text); });
}

void ConsoleCommands::pickEffect(const QString& key) {
  withContent([key = key.toStdString()](ContentView& content) { content.effectRack().pick(key); });
}

void ConsoleCommands::withEffect(const QString& slotId, void (EffectRack::*action)(const Uuid&)) const {
  withContent([id = slotId.toStdString(), action](ContentView& content) {
    const auto channel = content.effectRack().channel();
    if (channel == nullptr) {
      return;
    }
    for (const auto& slot : EffectRack::occupiedSlots(*channel)) {
      if (slot.id.text() == id) {
        (content.effectRack().*action)(slot.id);
        return;
      }
    }
  });
}

void ConsoleCommands::toggleReplacedEffect(const QString& slotId) {
  withEffect(slotId, &EffectRack::toggleReplaced);
}

void ConsoleCommands::removeEffect(const QString& slotId) {
  withEffect(slotId, &EffectRack::remove);
}

void ConsoleCommands::reviveEffect(const QString& slotId) {
  withEffect(slotId, &EffectRack::revive);
}

void ConsoleCommands::moveEffectUp(const QString& slotId) {
  withEffect(slotId, &EffectRack::moveUp);
}

void ConsoleCommands::moveEffectDown(const QString& slotId) {
  withEffect(slotId, &EffectRack::moveDown);
}

void ConsoleCommands::startCheck() {
  withContent([](ContentView& content) { content.setlistChecker().start(); });
}

void ConsoleCommands::stopCheck() {
  withContent([](ContentView& content) { content.setlistChecker().stop(); });
}

void ConsoleCommands::closeCheck() {
  withContent([](ContentView& content) { content.setlistChecker().close(); });
}

void ConsoleCommands::restoreCopy(const QString& path) {
  withContent([path = path.toStdString()](ContentView& content) { content.keptCopies().restore(path); });
}

void ConsoleCommands::closeCopies() {
  withContent([](ContentView& content) { content.keptCopies().close(); });
}

void ConsoleCommands::closeHelp() {
  withContent([](ContentView& content) { content.help().close(); });
}

void ConsoleCommands::closeLiveKeys() {
  withContent([](ContentView& content) { content.liveKeysHelp().close(); });
}

void ConsoleCommands::closeLearnedControls() {
  withContent([](ContentView& content) { content.learnedControls().isShown.set(false); });
}

void ConsoleCommands::removeLearnedControl(const QString& controlId) {
  withContent([id = controlId.toStdString()](ContentView& content) { content.learnedControls().remove(id); });
}

void ConsoleCommands::closeSongControl() {
  withContent([](ContentView& content) { content.songControlPage().isShown.set(false); });
}

void ConsoleCommands::learnSongStep(learn_kind::Kind kind) {
  withContent([kind](ContentView& content) { content.songControlPage().learn(static_cast<MidiControlKind>(kind)); });
}

void ConsoleCommands::toggleSongsByProgramChange() {
  withContent([](ContentView& content) { content.songControlPage().toggleByProgramChange(); });
}

void ConsoleCommands::moveSongMidiChannel(int by) {
  withContent([by](ContentView& content) { content.songControlPage().moveMidiChannel(by); });
}

void ConsoleCommands::moveStepGuard(int by) {
  withContent([by](ContentView& content) { content.songControlPage().moveStepGuard(by); });
}

void ConsoleCommands::moveLetRing(int by) {
  withContent([by](ContentView& content) { content.songControlPage().moveLetRing(by); });
}

void ConsoleCommands::enterSongProgram(const QString& songId, const QString& text) {
  withContent([id = songId.toStdString(), text = text.toStdString()](ContentView& content) {
    content.songControlPage().enterProgram(id, text);
  });
}

void ConsoleCommands::numberSongs() {
  withContent([](ContentView& content) { content.songControlPage().numberSongs(); });
}

void ConsoleCommands::dropOnWindow(const QUrl& file) {
  withContent([path = pathOf(file)](ContentView& content) { content.droppedFiles().dropOnWindow(path); });
}

void ConsoleCommands::dropOnStrip(const QString& channelId, const QUrl& file) {
  withChannel(channelId, [path = pathOf(file)](ContentView& content, AudioChannel& channel) {
    content.droppedFiles().dropOnStrip(channel.shared_from_this(), path);
  });
}

void ConsoleCommands::dropBehindStrips(const QUrl& file) {
  withContent([path = pathOf(file)](ContentView& content) { content.droppedFiles().dropBehindStrips(path); });
}

}  // namespace vrel::window
