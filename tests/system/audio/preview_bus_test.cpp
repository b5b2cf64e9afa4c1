// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/preview_bus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "simulation/simulated_audio_files.h"
#include "simulation/virtual_time.h"
#include "system/audio/offline_device.h"

namespace vrel::audio::test {
namespace {

constexpr std::uint32_t previewBlockFrames = 128;

/// An engine that plays 0.25 to the left and -0.25 to the right.
class SteadyEngine : public BlockRenderer {
 public:
  void render(float* left, float* right, std::uint32_t frameCount) noexcept override {
    std::fill_n(left, frameCount, 0.25F);
    std::fill_n(right, frameCount, -0.25F);
  }
  void pump() override { ++pumps; }

  int pumps = 0;
};

float rampSampleAt(std::int64_t frame) {
  return static_cast<float>(frame) / 65536.0F;
}

class Preview : public testing::Test {
 protected:
  Preview() {
    auto& ramp = files.sounds["/ramp.wav"];
    ramp.channels.resize(1);
    for (int frame = 0; frame < 48000; ++frame) {
      ramp.channels[0].push_back(rampSampleAt(frame));
    }
    EXPECT_FALSE(bus->start(engine));
  }

  void run() { queues.queue("vrel.preview").runAll(); }

  OfflineDevice::Block block(std::uint32_t frames = previewBlockFrames) {
    bus->playerFeeder().feedBeforeBlock([] {});
    return device->renderBlock(frames);
  }

  simulation::SimulatedAudioFiles files;
  simulation::CrankedQueueFactory queues;
  SteadyEngine engine;
  std::shared_ptr<OfflineDevice> device = std::make_shared<OfflineDevice>(48000, previewBlockFrames);
  std::shared_ptr<RenderCounters> counters = std::make_shared<RenderCounters>();
  std::shared_ptr<PreviewBus> bus =
      std::make_shared<PreviewBus>(PreviewBus::Collaborators{device, files, queues, nullptr, counters});
};

TEST_F(Preview, WithoutAPlayerTheEngineIsHeardAsItIs) {
  const auto heard = block();
  EXPECT_EQ(std::count(heard.left.begin(), heard.left.end(), 0.25F), previewBlockFrames);
  EXPECT_EQ(std::count(heard.right.begin(), heard.right.end(), -0.25F), previewBlockFrames);
  EXPECT_EQ(engine.pumps, 1);
}

TEST_F(Preview, APlayerIsAddedToTheEngineFromItsPlaceInTheFile) {
  auto made = bus->makePlayer("/ramp.wav");
  ASSERT_TRUE(made);
  made.value()->setCurrentTime(0.5);
  made.value()->prepareToPlay();
  made.value()->play();
  run();
  for (std::int64_t from = 24000; from < 24000 + 3 * 3000; from += 3000) {
    const auto heard = block(3000);  // larger than a block of the graph
    for (std::int64_t frame = 0; frame < 3000; ++frame) {
      ASSERT_EQ(heard.left[static_cast<std::size_t>(frame)], 0.25F + rampSampleAt(from + frame));
      ASSERT_EQ(heard.right[static_cast<std::size_t>(frame)], -0.25F + rampSampleAt(from + frame));
    }
  }
  EXPECT_EQ(counters->underrunBlocks.load(), 0U);
}

TEST_F(Preview, AStoppedPlayerIsSilentButForAShortRamp) {
  auto made = bus->makePlayer("/ramp.wav");
  made.value()->setCurrentTime(0.5);
  made.value()->play();
  run();
  (void)block();
  made.value()->stop();
  (void)block();
  const auto heard = block();
  EXPECT_EQ(std::count(heard.left.begin(), heard.left.end(), 0.25F), previewBlockFrames);
}

TEST_F(Preview, AStopBeforeThePlayIsCarriedOutIsSilence) {
  auto made = bus->makePlayer("/ramp.wav");
  made.value()->setCurrentTime(0.5);
  made.value()->play();
  made.value()->stop();
  run();
  const auto heard = block();
  EXPECT_EQ(std::count(heard.left.begin(), heard.left.end(), 0.25F), previewBlockFrames);
}

TEST_F(Preview, EndsWithItsPlayer) {
  auto made = bus->makePlayer("/ramp.wav");
  made.value()->setCurrentTime(0.5);
  made.value()->play();
  run();
  (void)block();
  std::move(made).value().reset();
  run();
  (void)block();
  const auto heard = block();
  EXPECT_EQ(std::count(heard.left.begin(), heard.left.end(), 0.25F), previewBlockFrames);
}

TEST_F(Preview, PlacesOutsideTheFileAreSilent) {
  auto made = bus->makePlayer("/ramp.wav");
  for (const double seconds : {1.0, 9.0, 1e300}) {
    made.value()->setCurrentTime(seconds);
    made.value()->play();
    run();
    EXPECT_EQ(block().left[0], 0.25F) << seconds;
  }
  made.value()->setCurrentTime(-1);
  made.value()->play();
  run();
  EXPECT_EQ(block().left[1], 0.25F + rampSampleAt(1));
}

TEST_F(Preview, AFileThatCannotBeReadHasNoPlayer) {
  EXPECT_FALSE(bus->makePlayer("/none.wav"));
}

}  // namespace
}  // namespace vrel::audio::test
