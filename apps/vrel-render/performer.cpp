// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/performer.h"

#include <cstddef>
#include <variant>

#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "performance/key_name.h"
#include "performance/performance_display.h"
#include "platform/console_output.h"

namespace vrel::render {

Performer::Performer(const Collaborators& collaborators, const std::filesystem::path& copiesFolder)
    : state_(collaborators.state),
      engine_(collaborators.engine),
      console_(collaborators.console),
      content_({state_, engine_, collaborators.mainQueue, collaborators.clock, console_, desktop_, collaborators.files,
                notifications_, copiesFolder}) {
  showPerformance(state_, engine_);
  content_.midiLearn().listenToEngine();
}

void Performer::perform(const ShowAction& action) {
  std::visit([this](const auto& step) { act(step); }, action);
}

void Performer::act(const MidiFileMessage& message) {
  engine_.routeMIDI(message.status, message.data1, message.data2);
}

void Performer::act(const SongStep& song) {
  if (song.index && *song.index < state_.songs.get().size()) {
    content_.songSwitch().applySong(static_cast<std::ptrdiff_t>(*song.index));
  } else {
    console_.print("'" + song.text + "': no such song");
  }
}

void Performer::act(const PanicStep& /*panic*/) {
  click({MidiControlKind::panic, {}}, [this] { content_.panic(); });
}

void Performer::act(const TapStep& /*tap*/) {
  click({MidiControlKind::tapTempo, {}}, [this] { content_.tempo().tapTempo(); });
}

void Performer::click(const MidiControlTarget& target, const std::function<void()>& action) {
  if (state_.isMidiLearnMode.get()) {
    content_.midiLearn().selectMidiLearnTarget(target);
  } else {
    action();
  }
}

void Performer::act(const LearnStep& learn) {
  if (!learn.target) {
    console_.print("'" + learn.text + "': no such control");
    return;
  }
  if (!state_.isMidiLearnMode.get()) {
    content_.midiLearn().toggleMidiLearnMode();
  }
  content_.midiLearn().selectMidiLearnTarget(*learn.target);
}

void Performer::act(const LiveStep& live) {
  if (live.isOn) {
    content_.liveMode().setLiveMode(*live.isOn);
  } else {
    console_.print("'" + live.text + "': expected on or off");
  }
}

// Outside Live mode keys belong to text fields, and there are none here.
void Performer::act(const KeyStep& key) {
  if (const auto event = keyEventFromName(key.name)) {
    (void)content_.liveMode().handleLiveKeyDown(*event);
  } else {
    console_.print("'key " + key.name + "': no such key");
  }
}

}  // namespace vrel::render
