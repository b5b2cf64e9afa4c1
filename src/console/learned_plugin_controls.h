// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "document/setlist.h"
#include "platform/audio_unit.h"

namespace vrel {

class AppState;
class AudioEngine;
class MainQueue;
class MidiLearn;

/// Learns controls of plug-ins, and moves them when their hardware moves: a knob along the control's own travel, while
/// a key flips a switch and presses a trigger.
///
/// A learned control is found by the place of its plug-in, which EffectRack keeps up to date. Where the plug-in or the
/// control is missing, nothing happens, and it stays learned. What is moved is an edit of the setlist. A song switch
/// drops what has not reached its plug-in yet, which the next song may use in the same place. Main thread.
class LearnedPluginControls {
 public:
  /// All are borrowed.
  LearnedPluginControls(AppState& state, AudioEngine& engine, MidiLearn& midiLearn, MainQueue& mainQueue);

  /// Lets this control wait for its hardware. Nothing outside learn mode, and for what hardware cannot move.
  void select(const std::shared_ptr<AVAudioUnit>& unit, const AUParameter& parameter);

  /// The same for one that was turned in the plug-in's own editor, as soon as the plug-in's controls are known.
  void touch(const std::shared_ptr<AVAudioUnit>& unit, AUParameterAddress address);

  /// Which of the plug-in's controls waits for its hardware, by its index in allParameters.
  [[nodiscard]] std::optional<std::size_t> waitingControl(const std::shared_ptr<AVAudioUnit>& unit,
                                                          const AUParameterTree& tree) const;

  /// Whether all plug-ins that were asked for their controls have answered.
  [[nodiscard]] bool areControlsKnown() const;

 private:
  struct Controls {
    std::shared_ptr<const AUParameterTree> tree;  // null until it is there
    bool hasAnswered = false;
    std::map<std::string, std::function<void()>>
        waiting;             // by control, of one that was touched by none: what comes before the answer
    bool isWatched = false;  // what it reports of parameters without a port
    std::map<AUParameterAddress, int> delayedMoves;  // how many have come
  };

  [[nodiscard]] std::optional<PluginControlTarget> placeOf(const AVAudioUnit& unit) const;
  [[nodiscard]] std::shared_ptr<AVAudioUnit> unitAt(const PluginControlTarget& target) const;
  [[nodiscard]] std::shared_ptr<Controls> controlsOf(const std::shared_ptr<AVAudioUnit>& unit);
  void askForControls();
  void dropMoves();
  void watchOnly(const std::vector<std::shared_ptr<AVAudioUnit>>& learned);
  [[nodiscard]] static float valueNow(AVAudioUnit& unit, Controls& controls, const AUParameter& parameter);
  void move(const PluginControlAssignment& assignment, bool isPressed, float value);
  void moveLater(const std::shared_ptr<Controls>& controls, const std::shared_ptr<AVAudioUnit>& unit,
                 AUParameterAddress address, float value);

  AppState& state_;
  AudioEngine& engine_;
  MidiLearn& midiLearn_;
  MainQueue& mainQueue_;
  std::map<std::weak_ptr<AVAudioUnit>, std::shared_ptr<Controls>, std::owner_less<>> known_;
  std::vector<std::shared_ptr<void>> connections_;
};

}  // namespace vrel
