// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/live_mode.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <system_error>

#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "performance/performance_display.h"
#include "performance/song_switch.h"
#include "platform/desktop.h"

namespace vrel {
namespace {

/// Leaves all but ASCII as it is: no other letter is a command.
std::string lowerCased(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter; });
  return text;
}

std::optional<std::size_t> decimalNumber(const std::string& text) {
  std::size_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [parsed, error] = std::from_chars(text.data(), end, number);
  return error == std::errc{} && parsed == end ? std::optional(number) : std::nullopt;
}

}  // namespace

void LiveMode::setLiveMode(bool enabled) {
  state_.isLiveModeEnabled.set(enabled);
  if (!enabled) {
    return;
  }
  if (clearFocus) {
    clearFocus();
  }
  desktop_.makeNothingFirstResponder();
}

std::optional<LiveMode::Command> LiveMode::commandFor(const KeyEvent& event) {
  if (!event.charactersIgnoringModifiers ||
      contains(event.modifierFlags, ModifierFlags::control | ModifierFlags::option)) {
    return std::nullopt;
  }
  const std::string key = lowerCased(*event.charactersIgnoringModifiers);
  const auto number = decimalNumber(key);
  if (contains(event.modifierFlags, ModifierFlags::command)) {
    return number && *number >= 1 && *number <= 9 ? std::optional(Command{Command::Kind::exclusiveSolo, *number - 1})
                                                  : std::nullopt;
  }
  if (key == "p" || key == " ") {
    return Command{Command::Kind::panic};
  }
  if (event.keyCode == KeyEvent::downArrow || event.keyCode == KeyEvent::upArrow) {
    return Command{event.keyCode == KeyEvent::downArrow ? Command::Kind::nextSong : Command::Kind::previousSong};
  }
  if (key == "0") {
    return Command{Command::Kind::masterMute};
  }
  return key >= "1" && key <= "9" && number ? std::optional(Command{Command::Kind::channelMute, *number - 1})
                                            : std::nullopt;
}

bool LiveMode::handleLiveKeyDown(const KeyEvent& event) {
  const auto command = state_.isLiveModeEnabled.get() ? commandFor(event) : std::nullopt;
  if (!command) {
    return false;
  }
  switch (command->kind) {
    case Command::Kind::panic:
      performPanic(state_, engine_);
      break;
    case Command::Kind::exclusiveSolo:
      applyExclusiveSolo(command->position);
      break;
    case Command::Kind::nextSong:
    case Command::Kind::previousSong:
      stepSong(command->kind == Command::Kind::nextSong);
      break;
    case Command::Kind::masterMute:
      toggleMute(*engine_.masterChannel());
      break;
    case Command::Kind::channelMute:
      if (const auto& channels = engine_.channels(); command->position < channels.size()) {
        toggleMute(*channels[command->position]);
      }
      break;
  }
  return true;
}

void LiveMode::stepSong(bool isForward) {
  const auto selected = state_.selectedSongIndex.get();
  if (state_.songSwitchInProgress.get() || !selected) {
    return;
  }
  const auto last = static_cast<std::ptrdiff_t>(state_.songs.get().size()) - 1;
  const auto index = static_cast<std::ptrdiff_t>(*selected);
  songSwitch_.applySong(isForward ? std::min(index + 1, last) : std::max(index - 1, std::ptrdiff_t{0}));
}

void LiveMode::toggleMute(AudioChannel& channel) {
  channel.mute.set(!channel.mute.get());
  engine_.applyMixerLevels();
  state_.markEdited();
}

void LiveMode::applyExclusiveSolo(std::size_t position) {
  const auto& channels = engine_.channels();
  if (position >= channels.size()) {
    return;
  }
  const auto soloed =
      std::count_if(channels.begin(), channels.end(), [](const auto& channel) { return channel->solo.get(); });
  const bool isClearing = soloed == 1 && channels[position]->solo.get();
  for (std::size_t index = 0; index < channels.size(); ++index) {
    channels[index]->solo.set(!isClearing && index == position);
    engine_.applyMixerLevels();
  }
  state_.markEdited();
}

}  // namespace vrel
