// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/played_now.h"

#include <cstddef>
#include <utility>

#include "document/app_state.h"
#include "midi/midi_input.h"

namespace vrel {

PlayedNowSource::PlayedNowSource(AppState& state, std::shared_ptr<PlayedNow> played) : played_(std::move(played)) {
  follow(state.pitchBendValue, played_->pitchBend);
  follow(state.modulationValue, played_->modulation);
  follow(state.sustainPedalValue, played_->sustain);
  follow(state.expressionValue, played_->expression);
  showNotes(state.pressedNotes.get());
  connections_.push_back(
      state.pressedNotes.changed.connect([this](const std::set<std::uint8_t>& notes) { showNotes(notes); }));
}

void PlayedNowSource::follow(MidiInput& input) {
  input.onMessage = [played = played_] { played->messages.fetch_add(1, std::memory_order_relaxed); };
}

void PlayedNowSource::showNotes(const std::set<std::uint8_t>& notes) {
  constexpr unsigned wordBits = 64;
  std::array<std::uint64_t, 4> words{};
  for (const std::uint8_t note : notes) {
    words[note / wordBits] |= std::uint64_t{1} << (note % wordBits);
  }
  for (std::size_t word = 0; word < words.size(); ++word) {
    played_->notes[word].store(words[word], std::memory_order_relaxed);
  }
}

void PlayedNowSource::follow(Observable<float>& value, std::atomic<float>& shown) {
  shown.store(value.get(), std::memory_order_relaxed);
  connections_.push_back(value.changed.connect([&shown](float now) { shown.store(now, std::memory_order_relaxed); }));
}

}  // namespace vrel
