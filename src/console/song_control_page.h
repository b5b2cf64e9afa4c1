// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/setlist.h"
#include "foundation/observable.h"

namespace vrel {

class AppState;
class MidiLearn;

/// A program change as a person reads it, counted from 1: "5", or "2:5" with its bank, which counts from 0.
[[nodiscard]] std::string programText(const SongProgram& program);

/// What was typed; none for anything else.
[[nodiscard]] std::optional<SongProgram> enteredProgram(std::string_view text);

/// A song and the program change that it answers to.
struct SongProgramRow {
  std::string songId;
  std::string name;
  std::string program;  // empty for none

  bool operator==(const SongProgramRow&) const = default;
};

/// The page on which a person says how songs change: by program change, by learned steps, and whether the song that
/// goes rings. What is changed there is an edit. In Live mode controls can be learned, and nothing else can be changed.
/// Main thread.
class SongControlPage {
 public:
  static constexpr int guardStepMilliseconds = 50;

  /// Both are borrowed.
  SongControlPage(AppState& state, MidiLearn& midiLearn) : state_(state), midiLearn_(midiLearn) {}

  Observable<bool> isShown{false};

  [[nodiscard]] std::vector<SongProgramRow> rows() const;

  /// What of the hardware steps to the next or the previous song, such as "CC 20, MIDI 1"; empty for nothing.
  [[nodiscard]] std::string sourceOf(MidiControlKind step) const;

  /// Waits for the hardware that is to step, or no longer, when it does already.
  void learn(MidiControlKind step);

  void toggleByProgramChange();
  /// From all channels, before the first, to the sixteenth.
  void moveMidiChannel(int by);
  /// By so many steps of `guardStepMilliseconds`.
  void moveStepGuard(int by);
  /// By so many seconds, from none.
  void moveLetRing(int by);

  /// Takes over what was typed; nothing typed means that no program change selects the song.
  void enterProgram(const std::string& songId, const std::string& text);
  /// Gives the first 128 songs the programs 1 to 128, and the others none.
  void numberSongs();

 private:
  void edit(const std::function<void(SongControl&)>& change);
  [[nodiscard]] bool mayEdit() const;

  AppState& state_;
  MidiLearn& midiLearn_;
};

}  // namespace vrel
