// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/song_control_page.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "document/app_state.h"
#include "document/entered_text.h"
#include "performance/live_mode_policy.h"
#include "performance/midi_learn.h"
#include "text/control_names.h"

namespace vrel {
namespace {

constexpr int lastMidiChannel = 15;
constexpr std::int64_t lastBank = 16383;
constexpr std::int64_t programCount = 128;

std::uint32_t moved(std::uint32_t value, int by, std::uint32_t most) {
  return static_cast<std::uint32_t>(std::clamp(static_cast<int>(value) + by, 0, static_cast<int>(most)));
}

}  // namespace

std::string programText(const SongProgram& program) {
  return (program.bank ? std::to_string(*program.bank) + ":" : "") + std::to_string(program.program + 1);
}

std::optional<SongProgram> enteredProgram(std::string_view text) {
  SongProgram entered;
  if (const auto colon = text.find(':'); colon != std::string_view::npos) {
    const auto bank = enteredInteger(text.substr(0, colon));
    if (!bank || *bank < 0 || *bank > lastBank) {
      return std::nullopt;
    }
    entered.bank = static_cast<std::uint16_t>(*bank);
    text.remove_prefix(colon + 1);
  }
  const auto program = enteredInteger(text);
  if (!program || *program < 1 || *program > programCount) {
    return std::nullopt;
  }
  entered.program = static_cast<std::uint8_t>(*program - 1);
  return entered;
}

std::vector<SongProgramRow> SongControlPage::rows() const {
  std::vector<SongProgramRow> rows;
  for (const auto& song : state_.songs.get()) {
    rows.push_back({song.id.text(), song.name, song.program ? programText(*song.program) : ""});
  }
  return rows;
}

std::string SongControlPage::sourceOf(MidiControlKind step) const {
  const auto& learned = state_.globalMidiControlAssignments.get();
  const auto found =
      std::find_if(learned.begin(), learned.end(), [step](const auto& each) { return each.target.kind == step; });
  return found == learned.end() ? "" : controlSourceName(found->binding);
}

void SongControlPage::learn(MidiControlKind step) {
  if (!LiveModePolicy::isAllowed(LiveModeAction::midiLearn, state_)) {
    return;
  }
  const MidiControlTarget target{step, std::nullopt};
  const bool isWaiting = midiLearn_.pendingMidiLearnTarget.get() == target;
  if (isWaiting || !state_.isMidiLearnMode.get()) {
    midiLearn_.toggleMidiLearnMode();
  }
  if (!isWaiting) {
    midiLearn_.selectMidiLearnTarget(target);
  }
}

void SongControlPage::toggleByProgramChange() {
  edit([](SongControl& control) { control.byProgramChange = !control.byProgramChange; });
}

void SongControlPage::moveMidiChannel(int by) {
  edit([by](SongControl& control) {
    const int channel = (control.midiChannel ? int{*control.midiChannel} : -1) + by;
    control.midiChannel =
        channel < 0 ? std::nullopt : std::optional(static_cast<std::uint8_t>(std::min(channel, lastMidiChannel)));
  });
}

void SongControlPage::moveStepGuard(int by) {
  edit([by](SongControl& control) {
    control.stepGuardMilliseconds =
        moved(control.stepGuardMilliseconds, by * guardStepMilliseconds, SongControl::mostStepGuardMilliseconds);
  });
}

void SongControlPage::moveLetRing(int by) {
  edit([by](SongControl& control) {
    control.letRingSeconds = moved(control.letRingSeconds, by, SongControl::mostLetRingSeconds);
  });
}

void SongControlPage::enterProgram(const std::string& songId, const std::string& text) {
  const bool isNothing = withoutBlanksAround(text).empty();
  const auto entered = isNothing ? std::nullopt : enteredProgram(text);
  const auto& songs = state_.songs.get();
  const auto song =
      std::find_if(songs.begin(), songs.end(), [&songId](const auto& each) { return each.id.text() == songId; });
  if (!mayEdit() || song == songs.end() || song->program == entered || (!entered && !isNothing)) {
    return;
  }
  state_.songs.modify(
      [&, index = static_cast<std::size_t>(song - songs.begin())](auto& list) { list[index].program = entered; });
  state_.markEdited();
}

void SongControlPage::numberSongs() {
  if (!mayEdit()) {
    return;
  }
  state_.songs.modify([](auto& songs) {
    for (std::size_t index = 0; index < songs.size(); ++index) {
      songs[index].program = index < programCount
                                 ? std::optional(SongProgram{std::nullopt, static_cast<std::uint8_t>(index)})
                                 : std::nullopt;
    }
  });
  state_.markEdited();
}

void SongControlPage::edit(const std::function<void(SongControl&)>& change) {
  auto control = state_.songControl.get();
  change(control);
  if (mayEdit() && control != state_.songControl.get()) {
    state_.songControl.set(control);
    state_.markEdited();
  }
}

bool SongControlPage::mayEdit() const {
  return LiveModePolicy::isAllowed(LiveModeAction::clearMidiLearn, state_);
}

}  // namespace vrel
