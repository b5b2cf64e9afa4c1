// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/performer.h"

#include <cstddef>
#include <utility>
#include <variant>

#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "performance/key_name.h"
#include "performance/performance_display.h"
#include "platform/console_output.h"

namespace vrel::render {

Performer::Performer(const Collaborators& collaborators, std::filesystem::path copiesFolder)
    : with_(collaborators),
      builder_(with_.state, with_.engine, with_.console),
      songSwitch_({with_.state, with_.engine, with_.mainQueue, with_.clock, with_.console, selection_, builder_}),
      tempo_(with_.state, with_.engine, with_.clock),
      midiLearn_(with_.state, with_.engine, tempo_),
      liveMode_({with_.state, with_.engine, songSwitch_, desktop_}),
      copies_(with_.files, with_.console, std::move(copiesFolder)),
      setlistFiles_({with_.state, with_.engine, songSwitch_, with_.files, desktop_, with_.console, copies_}) {
  songSwitch_.cancelMidiLearn = [this] { midiLearn_.cancelMidiLearn(); };
  midiLearn_.listenToEngine();
  showPerformance(with_.state, with_.engine);
}

void Performer::perform(const ShowAction& action) {
  std::visit([this](const auto& step) { act(step); }, action);
}

void Performer::act(const MidiFileMessage& message) {
  with_.engine.routeMIDI(message.status, message.data1, message.data2);
}

void Performer::act(const SongStep& song) {
  if (song.index && *song.index < with_.state.songs.get().size()) {
    songSwitch_.applySong(static_cast<std::ptrdiff_t>(*song.index));
  } else {
    with_.console.print("'" + song.text + "' names no song of the setlist");
  }
}

void Performer::act(const PanicStep& /*panic*/) {
  performPanic(with_.state, with_.engine);
}

void Performer::act(const TapStep& /*tap*/) {
  tempo_.tapTempo();
}

void Performer::act(const LiveStep& live) {
  if (live.isOn) {
    liveMode_.setLiveMode(*live.isOn);
  } else {
    with_.console.print("'" + live.text + "' turns Live mode neither on nor off");
  }
}

// Outside Live mode a key is for a text field, of which there is none here.
void Performer::act(const KeyStep& key) {
  if (const auto event = keyEventFromName(key.name)) {
    (void)liveMode_.handleLiveKeyDown(*event);
  } else {
    with_.console.print("'key " + key.name + "' names no key");
  }
}

}  // namespace vrel::render
