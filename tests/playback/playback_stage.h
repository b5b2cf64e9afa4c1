// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/audio_engine.h"
#include "simulation/recording_console.h"
#include "simulation/simulated_audio_engine.h"
#include "simulation/simulated_audio_files.h"
#include "simulation/simulated_property_lists.h"
#include "simulation/simulated_units.h"
#include "simulation/virtual_time.h"

namespace vrel {

/// An engine that reads simulated files, on virtual time. "/click.wav" has 48000 frames of two channels.
class PlaybackStage : public testing::Test {
 protected:
  PlaybackStage() {
    files.sounds["/click.wav"] = {48000, {std::vector<float>(48000, 0.5F), std::vector<float>(48000, -0.25F)}, {}, 0};
    mainQueue.runAll();
  }

  static ChannelConfig record(bool loops = false, const PlaybackStopMode& stopMode = StopMode::toggle) {
    ChannelConfig config;
    config.pluginPath = "internal:playback";
    config.playbackFilePath = "/click.wav";
    config.playbackLoop = loops;
    config.playbackStopMode = stopMode;
    return config;
  }

  std::shared_ptr<AudioChannel> addPlayback(const ChannelConfig& config) {
    auto channel = engine->addChannel("Click");
    engine->playbackLoader().loadPlaybackInstrument(*channel, config);
    return channel;
  }

  [[nodiscard]] static simulation::SimulatedPlayer& playerOf(const AudioChannel& channel) {
    return dynamic_cast<simulation::SimulatedPlayer&>(*channel.instrumentNode.get());
  }

  void noteOn(std::uint8_t note = 60) { engine->routeMIDI(0x90, note, 100); }
  [[nodiscard]] simulation::CrankedQueue& playerQueue() { return queues.queue("vrel.playback.player"); }

  /// Runs both queues until neither has work.
  void settle() {
    while (mainQueue.runOne() || playerQueue().runOne()) {
    }
  }

  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  simulation::CrankedQueueFactory queues;
  simulation::SimulatedNodeFactory nodes;
  simulation::ScriptedUnitFactory units;
  simulation::SimulatedPropertyLists propertyLists;
  simulation::RecordingConsole console;
  simulation::SimulatedAudioFiles files;
  std::shared_ptr<AudioEngine> engine =
      AudioEngine::make({nodes, units, mainQueue, queues, clock, propertyLists, console, nullptr, nullptr, &files});
};

using Lines = std::vector<std::string>;

}  // namespace vrel
