// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/window/console_commands.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "console/content_view.h"
#include "console/window_settings.h"
#include "document/app_state.h"
#include "engine/audio_engine.h"

namespace vrel::window {
namespace {

/// A key may stand above the last note of MIDI, but it has one byte.
bool isNote(int note) {
  return note >= 0 && note <= std::numeric_limits<std::uint8_t>::max();
}

}  // namespace

std::shared_ptr<AudioChannel> ConsoleActions::strip(const std::string& channelId) const {
  const auto& strips = content.audioEngine().channels();
  const auto found =
      std::find_if(strips.begin(), strips.end(), [&](const auto& strip) { return strip->id.text() == channelId; });
  return found == strips.end() ? nullptr : *found;
}

void ConsoleCommands::withContent(std::function<void(ContentView&)> action) const {
  post_([action = std::move(action)](ConsoleActions& actions) { action(actions.content); });
}

void ConsoleCommands::withSong(const QString& songId, std::function<void(ContentView&, std::size_t row)> action) const {
  withContent([id = songId.toStdString(), action = std::move(action)](ContentView& content) {
    const auto& songs = content.appState().songs.get();
    const auto found = std::find_if(songs.begin(), songs.end(), [&](const auto& song) { return song.id.text() == id; });
    if (found != songs.end()) {
      action(content, static_cast<std::size_t>(found - songs.begin()));
    }
  });
}

void ConsoleCommands::withChannel(const QString& channelId,
                                  std::function<void(ContentView&, AudioChannel&)> action) const {
  post([id = channelId.toStdString(), action = std::move(action)](ConsoleActions& actions) {
    if (const auto channel = actions.strip(id)) {
      action(actions.content, *channel);
    }
  });
}

void ConsoleCommands::clickSong(const QString& songId) {
  withSong(songId, [](ContentView& content, std::size_t row) { content.songList().clickSong(row); });
}

void ConsoleCommands::addSong(const QString& name) {
  withContent([name = name.toStdString()](ContentView& content) {
    content.appState().newSongName.set(name);
    content.songList().addSong();
  });
}

void ConsoleCommands::beginSongRename(const QString& songId) {
  withSong(songId, [](ContentView& content, std::size_t row) {
    content.songList().beginSongRename(content.appState().songs.get()[row].id);
  });
}

void ConsoleCommands::setSongNameDraft(const QString& draft) {
  withContent(
      [draft = draft.toStdString()](ContentView& content) { content.songList().editingSongNameDraft.set(draft); });
}

void ConsoleCommands::commitSongRename() {
  withContent([](ContentView& content) { content.songList().commitSongRename(); });
}

void ConsoleCommands::deleteSong(const QString& songId) {
  withSong(songId, [](ContentView& content, std::size_t row) {
    content.songList().deleteSong(content.appState().songs.get()[row].id);
  });
}

void ConsoleCommands::dragSong(const QString& songId) {
  withSong(songId, [](ContentView& content, std::size_t row) {
    content.songList().draggedSongId.set(content.appState().songs.get()[row].id);
  });
}

void ConsoleCommands::songDropEntered(const QString& songId) {
  withSong(songId, [](ContentView& content, std::size_t row) {
    content.songReorderDropDelegate(content.appState().songs.get()[row].id).dropEntered();
  });
}

void ConsoleCommands::songDropExited(const QString& songId) {
  withSong(songId, [](ContentView& content, std::size_t row) {
    content.songReorderDropDelegate(content.appState().songs.get()[row].id).dropExited();
  });
}

void ConsoleCommands::songDropped(const QString& songId) {
  withSong(songId, [](ContentView& content, std::size_t row) {
    (void)content.songReorderDropDelegate(content.appState().songs.get()[row].id).performDrop();
  });
}

void ConsoleCommands::moveSong(const QString& songId, int by) {
  withSong(songId, [by](ContentView& content, std::size_t row) {
    content.songList().moveSongBy(content.appState().songs.get()[row].id, by);
  });
}

void ConsoleCommands::selectStrip(const QString& channelId) {
  withChannel(channelId, [](ContentView& content, AudioChannel& channel) {
    content.selection().selectedChannelId.set(channel.id);
  });
}

void ConsoleCommands::setChannelName(const QString& channelId, const QString& name) {
  withChannel(channelId, [name = name.toStdString()](ContentView& content, AudioChannel& channel) {
    content.stripControls().setName(channel, name);
  });
}

void ConsoleCommands::setVolume(const QString& channelId, double position) {
  withChannel(channelId, [position](ContentView& content, AudioChannel& channel) {
    content.stripControls().setVolume(channel, static_cast<float>(position));
  });
}

void ConsoleCommands::toggleMute(const QString& channelId) {
  withChannel(channelId,
              [](ContentView& content, AudioChannel& channel) { content.stripControls().toggleMute(channel); });
}

void ConsoleCommands::toggleSolo(const QString& channelId) {
  withChannel(channelId,
              [](ContentView& content, AudioChannel& channel) { content.stripControls().toggleSolo(channel); });
}

void ConsoleCommands::dragChannel(const QString& channelId) {
  withChannel(channelId,
              [](ContentView& content, AudioChannel& channel) { content.channelOperations().beginDrag(channel); });
}

void ConsoleCommands::channelDropEntered(const QString& channelId) {
  withChannel(channelId, [](ContentView& content, AudioChannel& channel) {
    content.channelReorderDropDelegate(channel.id).dropEntered();
  });
}

void ConsoleCommands::channelDropExited(const QString& channelId) {
  withChannel(channelId, [](ContentView& content, AudioChannel& channel) {
    content.channelReorderDropDelegate(channel.id).dropExited();
  });
}

void ConsoleCommands::channelDropped(const QString& channelId) {
  withChannel(channelId, [](ContentView& content, AudioChannel& channel) {
    (void)content.channelReorderDropDelegate(channel.id).performDrop();
  });
}

void ConsoleCommands::moveChannel(const QString& channelId, int by) {
  withChannel(channelId, [by](ContentView& content, AudioChannel& channel) {
    content.channelOperations().moveChannelBy(channel, by);
  });
}

void ConsoleCommands::addChannel() {
  withContent([](ContentView& content) { content.channelOperations().addChannelFromButton(); });
}

void ConsoleCommands::cutChannel(const QString& channelId) {
  withChannel(channelId,
              [](ContentView& content, AudioChannel& channel) { content.channelOperations().cutChannel(channel); });
}

void ConsoleCommands::copyChannel(const QString& channelId) {
  withChannel(channelId,
              [](ContentView& content, AudioChannel& channel) { content.channelOperations().copyChannel(channel); });
}

void ConsoleCommands::pasteChannel(const QString& afterChannelId) {
  withChannel(afterChannelId, [](ContentView& content, AudioChannel& channel) {
    content.channelOperations().pasteChannel(channel.id);
  });
}

void ConsoleCommands::duplicateChannel(const QString& channelId) {
  withChannel(channelId, [](ContentView& content, AudioChannel& channel) {
    content.channelOperations().duplicateChannel(channel);
  });
}

void ConsoleCommands::deleteChannel(const QString& channelId) {
  withChannel(channelId, [](ContentView& content, AudioChannel& channel) {
    content.channelOperations().removeChannelFromConsole(channel);
  });
}

void ConsoleCommands::setMasterVolume(double position) {
  withContent([position](ContentView& content) {
    content.stripControls().setVolume(*content.audioEngine().masterChannel(), static_cast<float>(position));
  });
}

void ConsoleCommands::toggleMasterMute() {
  withContent([](ContentView& content) { content.stripControls().toggleMute(*content.audioEngine().masterChannel()); });
}

void ConsoleCommands::pressNote(int note) {
  if (isNote(note)) {
    withContent([note](ContentView& content) { content.keyboardPanel().pressNote(static_cast<std::uint8_t>(note)); });
  }
}

void ConsoleCommands::releaseNote(int note) {
  if (isNote(note)) {
    withContent([note](ContentView& content) { content.keyboardPanel().releaseNote(static_cast<std::uint8_t>(note)); });
  }
}

void ConsoleCommands::setSplitMin(const QString& channelId, int note) {
  withChannel(channelId, [note](ContentView& content, AudioChannel& channel) {
    content.keyboardPanel().setSplitMin(channel, note);
  });
}

void ConsoleCommands::setSplitMax(const QString& channelId, int note) {
  withChannel(channelId, [note](ContentView& content, AudioChannel& channel) {
    content.keyboardPanel().setSplitMax(channel, note);
  });
}

void ConsoleCommands::setKeyCount(int keys) {
  withContent([keys](ContentView& content) { content.keyboardPanel().setKeyCount(keys); });
}

void ConsoleCommands::setStartPitchClass(int pitchClass) {
  withContent([pitchClass](ContentView& content) { content.keyboardPanel().setStartPitchClass(pitchClass); });
}

void ConsoleCommands::stepStartOctave(int by) {
  withContent([by](ContentView& content) { content.keyboardPanel().stepStartOctave(by); });
}

void ConsoleCommands::enterTempo(const QString& text) {
  withContent([text = text.toStdString()](ContentView& content) { content.tempo().enterTempo(text); });
}

void ConsoleCommands::stepTempo(int by) {
  withContent([by](ContentView& content) { content.tempo().stepTempo(by); });
}

void ConsoleCommands::tapTempo() {
  withContent([](ContentView& content) { content.tempo().tapTempo(); });
}

void ConsoleCommands::setSongNotes(const QString& notes) {
  withContent([notes = notes.toStdString()](ContentView& content) { content.setSongNotes(notes); });
}

void ConsoleCommands::setLanguage(int index) {
  constexpr int languages = 5;
  if (index >= 0 && index < languages) {
    withContent([index](ContentView& content) { content.setLanguage(static_cast<Language>(index)); });
  }
}

void ConsoleCommands::toggleLiveMode() {
  withContent(
      [](ContentView& content) { content.liveMode().setLiveMode(!content.appState().isLiveModeEnabled.get()); });
}

void ConsoleCommands::toggleLearn() {
  withContent([](ContentView& content) { content.midiLearn().toggleMidiLearnMode(); });
}

void ConsoleCommands::selectLearnTarget(learn_kind::Kind kind, int channelIndex) {
  if (kind == learn_kind::Kind::None) {
    return;
  }
  withContent([kind, channelIndex](ContentView& content) {
    const auto index = channelIndex < 0 ? std::nullopt : std::optional<std::int64_t>(channelIndex);
    content.midiLearn().selectMidiLearnTarget({static_cast<MidiControlKind>(kind), index});
  });
}

void ConsoleCommands::panic() {
  withContent([](ContentView& content) { content.panic(); });
}

void ConsoleCommands::zoom(int by) {
  post_([by](ConsoleActions& actions) { actions.settings.zoom(by); });
}

void ConsoleCommands::toggleStage() {
  post_([](ConsoleActions& actions) { actions.settings.toggleStage(); });
}

void ConsoleCommands::toggleLargeNotes() {
  withContent([](ContentView& content) { content.largeNotes().toggle(); });
}

void ConsoleCommands::stepNotesText(int by) {
  post_([by](ConsoleActions& actions) { actions.settings.stepNotesText(by); });
}

void ConsoleCommands::showNotesOn(const QString& display) {
  post_([name = display.toStdString()](ConsoleActions& actions) { actions.settings.showNotesOn(name); });
}

void ConsoleCommands::toggleKeyboard() {
  post_([](ConsoleActions& actions) { actions.settings.toggleKeyboard(); });
}

void ConsoleCommands::openNewestCopy() {
  withContent([](ContentView& content) { content.setlistFiles().openNewestCopy(); });
}

void ConsoleCommands::stopCollecting() {
  post_([](ConsoleActions& actions) {
    if (actions.stopCollecting) {
      actions.stopCollecting();
    }
  });
}

void ConsoleCommands::activateMenuItem(const QString& action, const QString& object) {
  post_([action = action.toStdString(), object = object.toStdString()](ConsoleActions& actions) {
    actions.activateMenuItem(action, object);
  });
}

void ConsoleCommands::answerAlert(int button) {
  post_([button](ConsoleActions& actions) {
    actions.answerAlert(button < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(button)));
  });
}

}  // namespace vrel::window
