// SPDX-License-Identifier: GPL-3.0-or-later
#include "performance/song_requests.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "document/app_state.h"
#include "engine/audio_engine.h"
#include "midi/midi_bytes.h"
#include "performance/midi_learn.h"
#include "performance/song_switch.h"
#include "platform/clock.h"
#include "platform/console_output.h"
#include "platform/dispatch.h"

namespace vrel {
namespace {

constexpr std::uint8_t dataMask = 0x7F;
constexpr std::uint8_t channelMask = 0x0F;
constexpr unsigned dataBits = 7;
constexpr double secondsBetweenMissing = 1.0;
constexpr double shortestWait = 0.001;  // seconds; what a timer rounds off must not be waited for again

std::optional<std::size_t> firstSongWith(const std::vector<SongConfig>& songs, const SongProgram& program) {
  const auto found =
      std::find_if(songs.begin(), songs.end(), [&](const auto& song) { return song.program == program; });
  return found == songs.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - songs.begin()));
}

}  // namespace

std::optional<std::size_t> songWithProgram(const std::vector<SongConfig>& songs, std::uint16_t bank,
                                           std::uint8_t program) {
  const auto exact = firstSongWith(songs, {bank, program});
  return exact ? exact : firstSongWith(songs, {std::nullopt, program});
}

SongRequests::SongRequests(const Collaborators& collaborators)
    : state_(collaborators.state),
      engine_(collaborators.engine),
      songSwitch_(collaborators.songSwitch),
      mainQueue_(collaborators.mainQueue),
      clock_(collaborators.clock),
      console_(collaborators.console) {
  connections_.push_back(collaborators.midiLearn.songStepPressed.connect([this](bool isForward) { step(isForward); }));
  connections_.push_back(state_.songSwitchInProgress.changed.connect([this](bool isSwitching) {
    if (!isSwitching) {
      carryOutSoon();
    }
  }));
  // Whoever changes the song has asked later than what still waits.
  connections_.push_back(state_.songSwitchLoadToken.changed.connect([this](const Uuid&) { wanted_.reset(); }));
  connections_.push_back(state_.songControl.changed.connect([this](const SongControl& control) {
    if (!control.byProgramChange) {
      wanted_.reset();
    }
  }));
}

void SongRequests::listenToEngine() {
  engine_.midiCallbacks.onMidiProgramMessage = [this, life = life_.watch()](MidiMessage message) {
    if (life.isAlive()) {
      handleProgramMessage(message);
    }
  };
}

void SongRequests::handleProgramMessage(MidiMessage message) {
  const auto midiChannel = static_cast<std::uint8_t>(message.status & channelMask);
  const auto type = highNibble(message.status);
  const auto data1 = static_cast<std::uint8_t>(message.data1 & dataMask);
  const auto data2 = static_cast<std::uint8_t>(message.data2 & dataMask);
  auto& bank = banks_.at(midiChannel);
  if (type == statusController && data1 == controllerBankSelect) {
    bank = static_cast<std::uint16_t>((bank & dataMask) | (data2 << dataBits));
  } else if (type == statusController && data1 == controllerBankSelectFine) {
    bank = static_cast<std::uint16_t>((bank & ~unsigned{dataMask}) | data2);
  } else if (type == statusProgramChange) {
    selectProgram(midiChannel, data1);
  }
}

void SongRequests::selectProgram(std::uint8_t midiChannel, std::uint8_t program) {
  const auto& control = state_.songControl.get();
  if (control.midiChannel && *control.midiChannel != midiChannel) {
    return;
  }
  const std::uint16_t bank = banks_.at(midiChannel);
  lastProgram.set(SongProgram{bank, program});
  if (!control.byProgramChange) {
    return;
  }
  const auto& songs = state_.songs.get();
  if (const auto index = songWithProgram(songs, bank, program)) {
    wanted_ = songs[*index].id;
    carryOutSoon();
  } else {
    logMissing(midiChannel, {bank, program});
  }
}

void SongRequests::logMissing(std::uint8_t midiChannel, const SongProgram& program) {
  const double now = clock_.CACurrentMediaTime();
  if (!lastMissing_ || now - *lastMissing_ >= secondsBetweenMissing) {
    lastMissing_ = now;
    console_.printInfo("No song has program " + std::to_string(program.program + 1) + " of bank " +
                       std::to_string(program.bank.value_or(0)) + ", which came on MIDI channel " +
                       std::to_string(midiChannel + 1));
  }
}

void SongRequests::step(bool isForward) {
  const auto selected = state_.selectedSongIndex.get();
  if (wanted_ || !selected || state_.songSwitchInProgress.get() || secondsGuarded() > 0) {
    return;
  }
  const auto& songs = state_.songs.get();
  const bool isAtEnd = isForward ? *selected + 1 >= songs.size() : *selected == 0;
  if (!isAtEnd && *selected < songs.size()) {
    wanted_ = songs[isForward ? *selected + 1 : *selected - 1].id;
    carryOutSoon();
  }
}

double SongRequests::secondsGuarded() const {
  constexpr double millisecondsPerSecond = 1000.0;
  const double guard = state_.songControl.get().stepGuardMilliseconds / millisecondsPerSecond;
  const double left = lastChange_ ? *lastChange_ + guard - clock_.CACurrentMediaTime() : 0.0;
  return left < shortestWait ? 0.0 : left;
}

void SongRequests::carryOutSoon() {
  if (!wanted_ || isScheduled_) {
    return;
  }
  isScheduled_ = true;
  const auto work = [this, life = life_.watch()] {
    if (life.isAlive()) {
      isScheduled_ = false;
      carryOut();
    }
  };
  if (const double seconds = secondsGuarded(); seconds > 0) {
    mainQueue_.asyncAfter(seconds, work);
  } else {
    mainQueue_.async(work);
  }
}

void SongRequests::carryOut() {
  if (!wanted_ || state_.songSwitchInProgress.get()) {
    return;  // the end of that switch comes back to it
  }
  if (secondsGuarded() > 0) {
    carryOutSoon();
    return;
  }
  const auto& songs = state_.songs.get();
  const auto song = std::find_if(songs.begin(), songs.end(), [this](const auto& each) { return each.id == *wanted_; });
  wanted_.reset();
  const auto index = static_cast<std::size_t>(std::distance(songs.begin(), song));
  if (song != songs.end() && index != state_.selectedSongIndex.get()) {
    songSwitch_.applySong(static_cast<std::ptrdiff_t>(index));
    lastChange_ = clock_.CACurrentMediaTime();  // after the pass: what bounced meanwhile comes only now
  }
}

}  // namespace vrel
