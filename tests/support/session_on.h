// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <utility>
#include <vector>

#include "document/app_state.h"
#include "performance/channel_builder.h"
#include "performance/console_selection.h"
#include "performance/song_switch.h"
#include "simulation/simulated_file_manager.h"
#include "simulation/simulated_user_defaults.h"

namespace vrel {

/// A session with a song switch on an engine made by a test. The scan finds no plug-ins until the test adds them.
struct SessionOn {
  SessionOn(AudioEngine& engine, MainQueue& mainQueue, const HostClock& clock, ConsoleOutput& console)
      : state({defaults, components, mainQueue, console, files}, "/home/me/recent_setlists.json"),
        builder(state, engine, console),
        songSwitch({state, engine, mainQueue, clock, console, selection, builder}) {}

  void setSongs(std::vector<SongConfig> songs) { state.songs.set(std::move(songs)); }

  class NoComponents : public AVAudioUnitComponentManager {
    std::vector<AVAudioUnitComponent> componentsMatchingDescription(
        const AudioComponentDescription& /*sought*/) override {
      return {};
    }
  };

  simulation::SimulatedUserDefaults defaults;
  NoComponents components;
  simulation::SimulatedFileManager files;
  AppState state;
  ConsoleSelection selection;
  ChannelBuilder builder;
  SongSwitch songSwitch;
};

}  // namespace vrel
