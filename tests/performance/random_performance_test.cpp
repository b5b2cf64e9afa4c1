// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "performance/live_stage.h"
#include "performance/midi_learn.h"
#include "performance/tempo.h"

namespace vrel {
namespace {

using Kind = MidiControlKind;

constexpr std::int64_t kindCount = 13;
constexpr std::array<Kind, 6> globalKinds{Kind::channelVolume,        Kind::channelGain,
                                          Kind::performancePitchBend, Kind::performanceModulation,
                                          Kind::performanceSustain,   Kind::performanceExpression};

/// What a setlist would keep of the moment, but for what plug-ins hold.
struct SavedValues {
  using Strip = std::tuple<float, float, float, bool, bool>;

  std::vector<Strip> strips;
  bool isMasterMuted;
  std::uint32_t tempoBpm;
  std::vector<std::vector<MidiControlAssignment>> assignments;

  bool operator==(const SavedValues&) const = default;
};

/// A performer who turns every knob and hits every key at random, reproducibly by seed.
class RandomPerformer : public LiveStage, public testing::WithParamInterface<unsigned> {
 protected:
  RandomPerformer() {
    changeSong(1, [](SongConfig& song) {
      song.channels = {record("Clips", "internal:visual"), record("Track", "internal:playback"),
                       record("Organ", organKey, {chorusKey}), record("Free", "")};
    });
    songSwitch.cancelMidiLearn = [this] {
      learn.cancelMidiLearn();
      lastValues.clear();
    };
    learn.listenToEngine();
  }

  unsigned below(unsigned limit) { return static_cast<unsigned>(random()) % limit; }

  /// Few numbers and two MIDI channels, so that messages meet the assignments.
  MidiMessage anyMessage() {
    constexpr std::array<std::uint8_t, 8> statuses{0x80, 0x90, 0xB0, 0xB0, 0xB0, 0xE0, 0xD0, 0xA0};
    return {static_cast<std::uint8_t>(statuses[below(statuses.size())] + below(2)), static_cast<std::uint8_t>(below(6)),
            static_cast<std::uint8_t>(below(128))};
  }

  MidiControlTarget anyTarget() {
    MidiControlTarget target{static_cast<Kind>(below(kindCount)), std::nullopt};
    if (below(8) != 0) {
      target.channelIndex = static_cast<std::int64_t>(below(6)) - 1;
    }
    return target;
  }

  KeyEvent anyKey() {
    static const std::array<std::string, 8> names{"p", "space", "0", "1", "2", "9", "up", "down"};
    auto event = keyEventFromName(names[below(names.size())]).value();
    event.modifierFlags = static_cast<ModifierFlags>(below(16) & below(16));
    if (below(16) == 0) {
      event.charactersIgnoringModifiers.reset();
    }
    return event;
  }

  [[nodiscard]] SavedValues savedValues() const {
    SavedValues values{{}, engine->masterChannel()->mute.get(), state.tempoBpm.get(), {}};
    for (const auto& channel : engine->channels()) {
      values.strips.emplace_back(channel->volume.get(), channel->gain.get(), channel->reverb.get(), channel->mute.get(),
                                 channel->solo.get());
    }
    values.assignments.push_back(state.globalMidiControlAssignments.get());
    for (const auto& each : state.songs.get()) {
      values.assignments.push_back(each.midiControlAssignments);
    }
    return values;
  }

  [[nodiscard]] bool isAssigned(MidiMessage message) const {
    const auto type = static_cast<std::uint8_t>(message.status & 0xF0);
    const MidiControlBinding binding{type, static_cast<std::uint8_t>(message.status & 0x0F),
                                     type == 0xE0 ? std::uint8_t{0} : message.data1};
    const auto assignments = learn.effectiveMidiAssignments();
    return std::any_of(assignments.begin(), assignments.end(),
                       [&](const auto& assignment) { return assignment.binding == binding; });
  }

  void playOne() {
    const auto message = anyMessage();
    const auto before = savedValues();
    const bool wasWaiting = learn.pendingMidiLearnTarget.get().has_value();
    const bool isForControls = isAssigned(message) && graph().isRunning();
    const bool isController = (message.status & 0xF0) == 0xB0;
    if (isController && isForControls && !wasWaiting) {
      lastValues[{message.status & 0x0F, message.data1}] = message.data2;
    }
    engine->routeMIDI(message.status, message.data1, message.data2);
    const auto after = savedValues();
    if (wasWaiting) {
      EXPECT_EQ(after.strips, before.strips) << "what is learned moves nothing";
      EXPECT_EQ(state.isDirty.get(), !learn.pendingMidiLearnTarget.get());
    } else {
      EXPECT_EQ(after.assignments, before.assignments);
      EXPECT_TRUE(after == before || state.isDirty.get()) << "a changed value is unsaved";
      EXPECT_TRUE(!state.isDirty.get() || (graph().isRunning() && (isForControls || isController)));
    }
  }

  void pressOne() {
    const auto event = anyKey();
    const auto before = savedValues();
    const auto songBefore = state.selectedSongIndex.get();
    const auto version = selection.channelsViewVersion.get();
    const bool isUsed = live.handleLiveKeyDown(event);
    if (!isUsed) {
      EXPECT_EQ(savedValues(), before);
      EXPECT_EQ(state.selectedSongIndex.get(), songBefore);
      EXPECT_FALSE(state.isDirty.get());
    } else if (selection.channelsViewVersion.get() == version) {
      EXPECT_EQ(state.isDirty.get(), savedValues() != before || isSoloed(event));
      EXPECT_FALSE(contains(event.modifierFlags, ModifierFlags::control | ModifierFlags::option));
    } else {
      EXPECT_FALSE(state.isDirty.get()) << "a song that goes on stage counts as saved";
    }
    EXPECT_TRUE(state.isLiveModeEnabled.get() || !isUsed);
  }

  /// A solo of a strip alone marks the setlist, also where no strip changes.
  [[nodiscard]] bool isSoloed(const KeyEvent& event) const {
    return contains(event.modifierFlags, ModifierFlags::command) &&
           std::stoul(*event.charactersIgnoringModifiers) <= engine->channels().size();
  }

  void learnOne() {
    switch (below(6)) {
      case 0:
        return learn.toggleMidiLearnMode();
      case 1:
        return below(20) == 0 ? learn.clearAllMidiLearn() : void();
      default:
        return learn.selectMidiLearnTarget(anyTarget());
    }
  }

  /// What goes on around the performer.
  void letTimePass() {
    mainQueue.advance(0.05 * below(12));
    settle();
    if (!units.requests.empty() && below(3) == 0) {
      const auto index = below(static_cast<unsigned>(units.requests.size()));
      if (below(4) == 0) {
        units.answer(index, nullptr, Error{"broken"});
      } else if (units.requests[index].isForMIDIInstrument) {
        units.answerWithInstrument(index);
      } else {
        units.answerWithUnit(index);
      }
      settle();
    }
    if (below(20) == 0) {
      live.setLiveMode(!state.isLiveModeEnabled.get());
    }
    if (below(20) == 0) {
      graph().isRunning() ? graph().stop() : void(graph().start());
    }
  }

  void expectInvariants() const {
    for (const auto& channel : engine->channels()) {
      expectInRange({channel->volume.get(), channel->gain.get(), channel->reverb.get()}, 0);
    }
    expectInRange({engine->masterChannel()->volume.get(), state.sustainPedalValue.get(), state.expressionValue.get(),
                   state.modulationValue.get()},
                  0);
    expectInRange({state.pitchBendValue.get()}, -1);
    EXPECT_GE(state.tempoBpm.get(), 20U);
    EXPECT_LE(state.tempoBpm.get(), 300U);
    EXPECT_LT(state.selectedSongIndex.get().value(), state.songs.get().size());
    EXPECT_TRUE(state.isMidiLearnMode.get() || !learn.pendingMidiLearnTarget.get());
    for (const auto& held : learn.activeMidiTriggerBindings()) {
      EXPECT_EQ(held.statusType, 0xB0);
      const auto value = lastValues.find({held.midiChannel, held.number});
      EXPECT_TRUE(value != lastValues.end() && value->second >= 64) << "held, but not in the upper half";
    }
    expectOrderly(state.globalMidiControlAssignments.get(), true);
    for (const auto& each : state.songs.get()) {
      expectOrderly(each.midiControlAssignments, false);
    }
  }

  static void expectInRange(const std::vector<float>& values, float lowest) {
    for (const float value : values) {
      EXPECT_TRUE(value >= lowest && value <= 1.0F) << value;
    }
  }

  /// Each target occurs once, in the list it belongs to.
  static void expectOrderly(const std::vector<MidiControlAssignment>& assignments, bool isGlobal) {
    for (const auto& assignment : assignments) {
      EXPECT_EQ(std::count_if(assignments.begin(), assignments.end(),
                              [&](const auto& each) { return each.target == assignment.target; }),
                1);
      EXPECT_EQ(std::count(globalKinds.begin(), globalKinds.end(), assignment.target.kind), isGlobal ? 1 : 0);
    }
  }

  Tempo tempo{state, *engine, clock};
  MidiLearn learn{state, *engine, tempo};
  std::mt19937 random{GetParam()};
  std::map<std::pair<int, int>, int> lastValues;  // of assigned controllers, by MIDI channel and number
};

TEST_P(RandomPerformer, KeepsTheSessionInOrder) {
  for (int step = 0; step < 1500 && !HasFailure(); ++step) {
    state.isDirty.set(false);
    switch (below(8)) {
      case 0:
        pressOne();
        break;
      case 1:
      case 2:
        learnOne();
        break;
      case 3:
        letTimePass();
        break;
      default:
        playOne();
    }
    expectInvariants();
  }
  EXPECT_FALSE(learn.effectiveMidiAssignments().empty()) << "a performer who learned nothing has shown little";
}

TEST_P(RandomPerformer, RawBytesHarmNothing) {
  for (unsigned target = 0; target < kindCount; ++target) {
    learn.saveMidiAssignment({static_cast<Kind>(target), 0}, {0xE0, 0, 0});
    learn.saveMidiAssignment({static_cast<Kind>(target), 1}, {0xB0, 0, 1});
  }
  for (int step = 0; step < 2000; ++step) {
    const auto status = static_cast<std::uint8_t>(below(3) == 0 ? below(256) : 0xB0 + 0x30 * below(2));
    const auto data1 = static_cast<std::uint8_t>(below(2) == 0 ? 1 : below(256));
    const auto data2 = static_cast<std::uint8_t>(below(256));
    engine->routeMIDI(status, data1, data2);
    learn.handleMidiControlMessage(status, data1, data2);
    expectInRange({state.sustainPedalValue.get(), state.expressionValue.get(), state.modulationValue.get()}, 0);
    expectInRange({state.pitchBendValue.get()}, -1);
    ASSERT_FALSE(HasFailure()) << int{status} << " " << int{data1} << " " << int{data2};
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomPerformer, testing::Range(1U, 21U));

}  // namespace
}  // namespace vrel
