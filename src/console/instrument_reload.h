// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "foundation/life_token.h"

namespace vrel {

class AppState;
class AudioChannel;
class AudioEngine;
class ConsoleOutput;

/// Loads what a strip's path names: after a crash, and after a load that failed.
///
/// A failure is in the strip's status and in the log; the strip keeps what it had. Main thread.
class InstrumentReload {
 public:
  /// All are borrowed.
  InstrumentReload(AppState& state, AudioEngine& engine, ConsoleOutput& console)
      : state_(state), engine_(engine), console_(console) {}

  /// A plug-in is loaded behind the modal, with the state that is known of it: one that died left its last one, one
  /// that failed on purpose none. Clips and an audio file are loaded with what the strip has of them; for an empty path
  /// the levels are applied.
  void reload(const std::shared_ptr<AudioChannel>& channel);

  /// Lets the strip's instrument fail, as a rehearsal. Nothing where none runs.
  void simulateCrash(AudioChannel& channel);

  /// Whether the strip has an instrument that can fail, and one that is to be brought back.
  [[nodiscard]] static bool canCrash(const AudioChannel& channel);
  [[nodiscard]] static bool canRevive(const AudioChannel& channel);

 private:
  void loadPlugin(const std::shared_ptr<AudioChannel>& channel);

  AppState& state_;
  AudioEngine& engine_;
  ConsoleOutput& console_;
  LifeToken life_;
};

}  // namespace vrel
