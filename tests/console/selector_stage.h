// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>

#include "console/instrument_selector.h"
#include "console/window/console_stage.h"

namespace vrel {

/// Two songs with two empty strips each, the first on stage.
class SelectorStage : public window::ConsoleStage {
 protected:
  SelectorStage() {
    addSong("One", {record("A", ""), record("B", "")});
    addSong("Two", {record("C", ""), record("D", "")});
    appear();
    content.songSwitch().applySong(0);
    answerAll();
    state.isDirty.set(false);
  }

  [[nodiscard]] InstrumentSelector& selector() { return content.instrumentSelector(); }
  [[nodiscard]] bool isOpen() { return selector().channel() != nullptr; }

  void pickAndLoad(std::size_t index, const std::string& key) {
    selector().open(strip(index));
    selector().pick(key);
    answerAll();
  }

  static simulation::ScriptedUnitCore& coreOf(AudioChannel& channel) {
    return dynamic_cast<simulation::ScriptedInstrument&>(*channel.instrumentNode.get()).core;
  }

  static inline const AVAudioUnitComponent harp{"Harp", "Maker", {componentTypeMusicDevice, 12, 20}};
};

}  // namespace vrel
