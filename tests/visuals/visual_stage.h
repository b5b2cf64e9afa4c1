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
#include "simulation/simulated_property_lists.h"
#include "simulation/simulated_units.h"
#include "simulation/simulated_video.h"
#include "simulation/virtual_time.h"

namespace vrel {

/// An engine that shows simulated clips, on virtual time. "/a.mov", "/b.mov" and "/c.mov" exist.
class VisualStage : public testing::Test {
 protected:
  VisualStage() {
    videos.paths = {"/a.mov", "/b.mov", "/c.mov"};
    mainQueue.runAll();
  }

  static VisualClipMapping clip(std::uint8_t note, const std::string& path,
                                VisualTriggerMode mode = VisualTriggerMode::hold) {
    VisualClipMapping mapping;
    mapping.note = note;
    mapping.filePath = path;
    mapping.triggerMode = mode;
    return mapping;
  }

  /// A visual strip whose players are still to be built.
  std::shared_ptr<AudioChannel> addUnbuilt(const std::vector<VisualClipMapping>& mappings) {
    auto channel = engine->addChannel("Clips");
    engine->instruments().loadVisualInstrument(*channel, mappings, nullptr);
    return channel;
  }

  std::shared_ptr<AudioChannel> addClips(const std::vector<VisualClipMapping>& mappings) {
    auto channel = addUnbuilt(mappings);
    settle();
    return channel;
  }

  /// Finds the files, and makes the players of those that are there; none is installed yet.
  void answerSearches() {
    while (videos.answerSearch()) {
    }
  }

  void settle() {
    while (mainQueue.runOne() || videos.answerSearch()) {
    }
  }

  void noteOn(std::uint8_t note) { engine->routeMIDI(0x90, note, 100); }
  void noteOff(std::uint8_t note) { engine->routeMIDI(0x80, note, 0); }

  [[nodiscard]] VrelVisualEngine& visuals() { return engine->visualEngine(); }

  /// The player of this note of the channel, or null.
  [[nodiscard]] std::shared_ptr<VrelVisualClipPlayer> playerOf(const AudioChannel& channel, std::uint8_t note) {
    const auto& players = visuals().playersByChannelAndNote();
    const auto found = players.find(VrelVisualEngine::playerKey(channel.id, note));
    return found == players.end() ? nullptr : found->second;
  }

  [[nodiscard]] static simulation::SimulatedQueuePlayer& queuePlayerOf(const VrelVisualClipPlayer& player) {
    return dynamic_cast<simulation::SimulatedQueuePlayer&>(*player.player);
  }

  /// The notes of the clips now shown, the lowest first.
  [[nodiscard]] std::vector<int> shownNotes() {
    std::vector<int> notes;
    for (const auto& player : visuals().activePlayers.get()) {
      notes.push_back(player->note);
    }
    return notes;
  }

  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  simulation::CrankedQueueFactory queues;
  simulation::SimulatedNodeFactory nodes;
  simulation::ScriptedUnitFactory units;
  simulation::SimulatedPropertyLists propertyLists;
  simulation::RecordingConsole console;
  simulation::SimulatedVideos videos;
  std::shared_ptr<AudioEngine> engine = AudioEngine::make(
      {nodes, units, mainQueue, queues, clock, propertyLists, console, nullptr, nullptr, nullptr, &videos});
};

}  // namespace vrel
