// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "support/session_on.h"
#include "support/simulated_stage.h"

namespace vrel {

/// A strip's record, with effects under these paths.
inline ChannelConfig record(const std::string& name, const std::string& path,
                            const std::vector<std::string>& effects = {}) {
  ChannelConfig config;
  config.name = name;
  config.pluginPath = path;
  for (const auto& effect : effects) {
    config.effectSlots.emplace_back().pluginPath = effect;
  }
  return config;
}

/// A session with a song switch on the simulated platform with a piano, an organ and a chorus.
class SimulatedSession : public SimulatedStage, protected SessionOn {
 protected:
  SimulatedSession() : SessionOn(*engine, mainQueue, clock, console) {
    state.scannedPlugins.set({piano, organ});
    state.scannedAudioEffectPlugins.set({chorus});
    files.placeDirectory(state.recentFilesPath.parent_path());
  }

  void addSong(const std::string& name, std::vector<ChannelConfig> channels) {
    state.songs.modify([&](std::vector<SongConfig>& songs) {
      auto& song = songs.emplace_back();
      song.name = name;
      song.channels = std::move(channels);
    });
  }

  [[nodiscard]] const SongConfig& song(std::size_t index) const { return state.songs.get()[index]; }

  void changeSong(std::size_t index, const std::function<void(SongConfig&)>& change) {
    state.songs.modify([&](std::vector<SongConfig>& songs) { change(songs[index]); });
  }

  /// Answers requests until none is left.
  void answerAll() {
    settle();
    while (!units.requests.empty()) {
      if (units.requests[0].isForMIDIInstrument) {
        units.answerWithInstrument();
      } else {
        units.answerWithUnit();
      }
      settle();
    }
  }

  [[nodiscard]] AudioChannel& strip(std::size_t index) { return *engine->channels()[index]; }

  static const Events& eventsOf(const AudioChannel& channel) {
    return dynamic_cast<simulation::ScriptedInstrument&>(*channel.instrumentNode.get()).events;
  }
};

}  // namespace vrel
