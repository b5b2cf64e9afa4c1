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

/// Selects a song of the setlist; no index where the text is not one.
struct SongStep {
  std::optional<std::uint32_t> index{};
  std::string text{};  // as in the file, for messages

  bool operator==(const SongStep&) const = default;
};

/// Presses the panic button.
struct PanicStep {
  bool operator==(const PanicStep&) const = default;
};

/// Presses the tap button.
struct TapStep {
  bool operator==(const TapStep&) const = default;
};

/// Switches Live mode; no value where the text is neither on nor off.
struct LiveStep {
  std::optional<bool> isOn{};
  std::string text{};

  bool operator==(const LiveStep&) const = default;
};

/// Turns on Learn and selects a control; no target where the text names none.
struct LearnStep {
  std::optional<MidiControlTarget> target{};
  std::string text{};

  bool operator==(const LearnStep&) const = default;
};

/// Presses a key of the computer's keyboard.
struct KeyStep {
  std::string name{};  // as for `keyEventFromName`

  bool operator==(const KeyStep&) const = default;
};

using ShowAction = std::variant<MidiFileMessage, SongStep, PanicStep, TapStep, LearnStep, LiveStep, KeyStep>;

/// One action with its time.
struct ShowStep {
  double seconds = 0;  // since the start of the show
  ShowAction action{};

  bool operator==(const ShowStep&) const = default;
};

/// The steps of a show, in the file's order. Texts and markers that begin with none of the words `song`, `panic`,
/// `tap`, `learn`, `live` and `key` are ignored.
[[nodiscard]] std::vector<ShowStep> showSteps(const MidiFile& file);

}  // namespace vrel::render
