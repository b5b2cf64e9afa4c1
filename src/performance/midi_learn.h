// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "document/setlist.h"
#include "foundation/life_token.h"
#include "foundation/observable.h"

namespace vrel {

class AppState;
class AudioChannel;
class AudioEngine;
class Tempo;
enum class Language;

/// What the Learn button says, by whether a target waits for its hardware.
[[nodiscard]] std::string midiLearnButtonLabel(Language language, bool isTargetPending);

/// Ties controls of MIDI devices to controls of the console, and moves the latter with the former.
///
/// One visit to learn mode makes one assignment: off -> armed (the Learn button) -> waiting (a click on a control of
/// the console or of a plug-in) -> off (the first message of the hardware). What is learned reaches the instruments all
/// the same. A device's control may stay on several targets, and one that no longer fits the song is kept and ignored.
///
/// Edits: an assignment that is made, assignments that are cleared, what a control of the hardware moves on a strip,
/// and a controller that reaches a plug-in, which may save it. The displays are none.
///
/// Nothing here fails. Main thread.
class MidiLearn {
 public:
  struct BindingOrder {
    bool operator()(const MidiControlBinding& a, const MidiControlBinding& b) const {
      return std::tie(a.statusType, a.midiChannel, a.number) < std::tie(b.statusType, b.midiChannel, b.number);
    }
  };
  using BindingSet = std::set<MidiControlBinding, BindingOrder>;

  /// All are borrowed.
  MidiLearn(AppState& state, AudioEngine& engine, Tempo& tempo) : state_(state), engine_(engine), tempo_(tempo) {}

  /// What the next message of the hardware is tied to.
  Observable<std::optional<MidiControlTarget>> pendingMidiLearnTarget;

  /// The control of a plug-in that waits instead, without a binding yet.
  Observable<std::optional<PluginControlAssignment>> pendingPluginControl;

  /// Emitted for each learned control of a plug-in that the hardware moves. The listener moves it.
  Signal<const PluginControlAssignment&, bool, float> pluginControlMoved;

  /// Emitted for each control of the console that the hardware moves, before it acts.
  Signal<const MidiControlTarget&, bool, float> controlWillAct;

  /// The hardware asks for the projection to be black, or to be shown again.
  Signal<> projectionBlackoutPressed;

  /// The hardware asks for the next song, or with false for the previous one.
  Signal<bool> songStepPressed;

  /// How far down the large notes are to be, 0 to 1.
  Signal<float> notesMoved;

  /// The assigned controllers that are in the upper half now; each fires again only after it left it.
  [[nodiscard]] const BindingSet& activeMidiTriggerBindings() const { return activeMidiTriggerBindings_; }

  /// From now on the engine's traffic comes here. A stopped engine has none.
  void listenToEngine();

  void toggleMidiLearnMode();

  /// A click on a control of the console. Nothing outside learn mode.
  void selectMidiLearnTarget(const MidiControlTarget& target);
  void selectPluginControl(const PluginControlTarget& target, const std::string& controlName);

  /// Leaves learn mode and forgets what is pending and held; what is assigned stays. A control that steps songs counts
  /// as held until it is released: one that is still down in the next song must not step again.
  void cancelMidiLearn();

  /// One message as it came, the MIDI channel in `status`: captured when a target waits, carried out otherwise.
  void handleMidiControlMessage(std::uint8_t status, std::uint8_t data1, std::uint8_t data2);

  /// Puts the assignment in place of the target's earlier one and leaves learn mode. A target that belongs to a song
  /// keeps waiting while none is on stage.
  void saveMidiAssignment(const MidiControlTarget& target, const MidiControlBinding& binding);
  void savePluginControl(const PluginControlAssignment& assignment);

  /// The assignments in force, those of the setlist before those of its song; none while no song is on stage.
  [[nodiscard]] std::vector<MidiControlAssignment> effectiveMidiAssignments() const;

  /// The song whose assignments are in force; null for none.
  [[nodiscard]] const SongConfig* songOnStage() const;

  /// Forgets the assignments of the setlist and of every song. Changes nothing at all when there are none.
  void clearAllMidiLearn();

  /// Carries out one target. Triggers act when pressed, the others take `value`, 0 to 1. One of a strip that there is
  /// not is passed over.
  void performMidiControl(const MidiControlTarget& target, bool isPressed, float value);

 private:
  void endAssignment();
  [[nodiscard]] bool holdsAnyPlugin() const;
  [[nodiscard]] bool stepsSongs(const MidiControlBinding& binding) const;
  [[nodiscard]] AudioChannel* channelAt(const MidiControlTarget& target) const;
  [[nodiscard]] bool isNewPress(const MidiControlBinding& binding, std::uint8_t data2);
  [[nodiscard]] bool acts(const MidiControlTarget& target, bool isPressed) const;
  void toggle(AudioChannel& channel, Observable<bool> AudioChannel::*button);
  void setFader(AudioChannel& channel, Observable<float> AudioChannel::*fader, float value);
  void bend(float value);
  void sendController(std::uint8_t controller, Observable<float>& display, float value);

  AppState& state_;
  AudioEngine& engine_;
  Tempo& tempo_;
  BindingSet activeMidiTriggerBindings_;
  LifeToken life_;
};

}  // namespace vrel
