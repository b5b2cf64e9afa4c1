// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "document/setlist.h"
#include "midi/standard_midi_file.h"

namespace vrel::render {

/// A click on a song of the list; no index where the text names none.
struct SongStep {
  std::optional<std::uint32_t> index{};
  std::string text{};  // as it stood in the file, for a person

  bool operator==(const SongStep&) const = default;
};

/// A press of the panic button.
struct PanicStep {
  bool operator==(const PanicStep&) const = default;
};

/// A press of the tap button.
struct TapStep {
  bool operator==(const TapStep&) const = default;
};

/// The switch of Live mode; no position where the text names none.
struct LiveStep {
  std::optional<bool> isOn{};
  std::string text{};

  bool operator==(const LiveStep&) const = default;
};

/// The Learn button, and then a click on a control of the console; no target where the text names none.
struct LearnStep {
  std::optional<MidiControlTarget> target{};
  std::string text{};

  bool operator==(const LearnStep&) const = default;
};

/// A press of a key of the computer's keyboard.
struct KeyStep {
  std::string name{};  // as `keyEventFromName` knows it

  bool operator==(const KeyStep&) const = default;
};

using ShowAction = std::variant<MidiFileMessage, SongStep, PanicStep, TapStep, LearnStep, LiveStep, KeyStep>;

/// What the performer does at one moment.
struct ShowStep {
  double seconds = 0;  // since the start of the show
  ShowAction action{};

  bool operator==(const ShowStep&) const = default;
};

/// The steps of a performance, in the file's order. Texts and markers that begin with none of the words `song`,
/// `panic`, `tap`, `learn`, `live` and `key` are passed over.
[[nodiscard]] std::vector<ShowStep> showSteps(const MidiFile& file);

}  // namespace vrel::render
