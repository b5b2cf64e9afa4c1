// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "channel/audio_channel.h"
#include "engine/audio_engine.h"
#include "simulation/recording_console.h"
#include "simulation/simulated_audio_files.h"
#include "simulation/simulated_property_lists.h"
#include "simulation/simulated_units.h"
#include "simulation/virtual_time.h"
#include "system/audio/offline_device.h"
#include "system/audio/player_feeder.h"
#include "system/audio/render_node_factory.h"

namespace vrel {
namespace {

constexpr std::uint32_t fileFrames = 48000;

/// A file whose first read waits until it is released.
class HeldFile : public simulation::SimulatedAudioFile {
 public:
  HeldFile()
      : SimulatedAudioFile(
            "/held", {48000, {std::vector<float>(fileFrames, 0.5F), std::vector<float>(fileFrames, 0.5F)}, {}, 0}) {}
  Outcome readIntoBuffer(AVAudioPCMBuffer& buffer, std::uint32_t frameCount) override {
    if (!std::exchange(wasRead_, true)) {
      isReading.count_down();
      released.wait();
    }
    return SimulatedAudioFile::readIntoBuffer(buffer, frameCount);
  }

  std::latch isReading{1};
  std::latch released{1};

 private:
  bool wasRead_ = false;
};

/// A strip that plays a held file on a real player.
class PlaybackPanic : public testing::TestWithParam<bool> {
 protected:
  PlaybackPanic() {
    mainQueue.runAll();
    files.sounds["/click.wav"] = {48000, {std::vector<float>(480, 0.5F), std::vector<float>(480, 0.5F)}, {}, 0};
    ChannelConfig config;
    config.pluginPath = "internal:playback";
    config.playbackFilePath = "/click.wav";
    config.playbackLoop = GetParam();
    engine->playbackLoader().loadPlaybackInstrument(*channel, config);
    channel->playbackFile.set(file);
    channel->playbackFrameCount.set(fileFrames);
    settle();
  }

  void press() { engine->routeMIDI(0x90, 60, 100); }
  void settle() {
    while (mainQueue.runOne() || playerQueue().runOne()) {
    }
  }
  [[nodiscard]] bool sounds() {
    constexpr int blocks = 32;
    bool isHeard = false;
    for (int block = 0; block < blocks; ++block) {
      nodes.playerFeeder().feedBeforeBlock([this] { settle(); });
      const auto& left = device->renderBlock().left;
      isHeard = isHeard || std::any_of(left.begin(), left.end(), [](float sample) { return sample != 0; });
    }
    return isHeard;
  }
  [[nodiscard]] bool isPlaying() const {
    return dynamic_cast<const AVAudioPlayerNode&>(*channel->instrumentNode.get()).isPlaying();
  }
  [[nodiscard]] simulation::CrankedQueue& playerQueue() { return queues.queue("vrel.playback.player"); }

  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  simulation::CrankedQueueFactory queues;
  std::shared_ptr<audio::OfflineDevice> device = std::make_shared<audio::OfflineDevice>(48000, 128);
  audio::RenderNodeFactory nodes{device, std::make_shared<audio::RenderCounters>(), nullptr};
  simulation::ScriptedUnitFactory units;
  simulation::SimulatedPropertyLists propertyLists;
  simulation::RecordingConsole console;
  simulation::SimulatedAudioFiles files;
  std::shared_ptr<AudioEngine> engine =
      AudioEngine::make({nodes, units, mainQueue, queues, clock, propertyLists, console, nullptr, nullptr, &files});
  std::shared_ptr<HeldFile> file = std::make_shared<HeldFile>();
  std::shared_ptr<AudioChannel> channel = engine->addChannel("Click");
};

TEST_P(PlaybackPanic, BeforeAFileHasBegunKeepsItSilent) {
  file->released.count_down();
  press();
  engine->panic();
  EXPECT_FALSE(sounds());
  EXPECT_EQ(channel->playbackIsPlaying.get(), GetParam()) << "a loop is on, in silence, until the next note";
}

TEST_P(PlaybackPanic, WhileTheFirstFramesAreReadKeepsTheFileSilent) {
  press();
  std::thread playerThread([this] { playerQueue().runOne(); });
  file->isReading.wait();
  engine->panic();
  file->released.count_down();
  playerThread.join();
  EXPECT_FALSE(sounds());
  EXPECT_FALSE(isPlaying());
  EXPECT_EQ(channel->playbackIsPlaying.get(), GetParam());
  if (GetParam()) {
    press();
    settle();
  }
  EXPECT_FALSE(channel->playbackIsPlaying.get());
  press();
  settle();
  EXPECT_TRUE(sounds());
}

TEST_P(PlaybackPanic, ANoteThatEndsTheRunWhileItsFirstFramesAreReadKeepsItSilent) {
  press();
  std::thread playerThread([this] { playerQueue().runOne(); });
  file->isReading.wait();
  press();
  file->released.count_down();
  playerThread.join();
  EXPECT_FALSE(isPlaying()) << "before the stop is carried out that the note has asked for";
  settle();
  EXPECT_FALSE(sounds());
  EXPECT_FALSE(channel->playbackIsPlaying.get());
}

INSTANTIATE_TEST_SUITE_P(OnceAndLoop, PlaybackPanic, testing::Bool(),
                         [](const auto& tested) { return std::string(tested.param ? "Loop" : "Once"); });

}  // namespace
}  // namespace vrel
