// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>

#include "support/devices/jack_peer.h"
#include "system/audio/render_engine.h"
#include "system/audio/soft_edges.h"
#include "system/devices/output_stage.h"
#include "system/devices/process_count.h"

namespace vrel::system::test {
namespace {

/// Where in a recording the renderer's frames begin; the recording's length if they do not.
std::size_t firstFrame(const Recorder& recorder) {
  const auto& numbers = recorder.channel(1);
  const auto found = std::find_if(numbers.begin(), numbers.end(), [](float number) { return number != 0; });
  return static_cast<std::size_t>(found - numbers.begin());
}

TEST(AudioOutput, ASineArrivesAtThePlaybackSideSampleForSample) {
  constexpr std::size_t frames = 96000;
  OutputStage stage;
  stage.server.start();
  SystemAudioOutput output(stage.hardware, stage.loop, {});
  EXPECT_EQ(output.sampleRate(), 48000);
  EXPECT_EQ(output.blockFrames(), 128U);
  Recorder recorder(stage.server.name(), 10 * frames);  // a busy machine may take a while to start
  ASSERT_FALSE(output.start(stage.renderer));
  EXPECT_TRUE(output.isRunning());
  EXPECT_TRUE(output.isRealTime());
  std::size_t end = 0;
  ASSERT_TRUE(eventually([&] {
    end = recorder.recorded();
    return end > 0 && recorder.channel(1)[end - 1] >= static_cast<float>(frames);
  }));
  output.stop();

  // Two links are made one after the other, and the sound fades in: from there on all must be there.
  constexpr std::size_t fadeIn = audio::SoftEdges::edgeFrames;
  const std::size_t start = firstFrame(recorder) + fadeIn;
  ASSERT_LT(start + frames / 2, end);
  const auto number = static_cast<std::uint32_t>(recorder.channel(1)[start]);
  for (std::size_t index = start; index < end; ++index) {
    const auto frame = number + static_cast<std::uint32_t>(index - start);
    ASSERT_EQ(recorder.channel(1)[index], static_cast<float>(frame)) << "a gap at " << index;
    ASSERT_EQ(recorder.channel(0)[index], SineRenderer::sample(frame)) << "at " << index;
  }
}

TEST(AudioOutput, AfterStopNoBlockIsAskedFor) {
  OutputStage stage;
  stage.server.start();
  SystemAudioOutput output(stage.hardware, stage.loop, {});
  for (int round = 0; round < 3; ++round) {
    ASSERT_FALSE(output.start(stage.renderer));
    EXPECT_TRUE(output.start(stage.renderer)) << "it runs already";
    const auto before = stage.renderer.blocks.load();
    ASSERT_TRUE(eventually([&] { return stage.renderer.blocks > before + 3; }));
    output.stop();
    EXPECT_FALSE(output.isRunning());
    const auto blocks = stage.renderer.blocks.load();
    Recorder passing(stage.server.name(), 2048);
    ASSERT_TRUE(eventually([&] { return passing.recorded() == 2048; })) << "the server goes on";
    EXPECT_EQ(stage.renderer.blocks, blocks);
    EXPECT_EQ(firstFrame(passing), 2048U) << "silence";
  }
}

TEST(AudioOutput, TheBlockSizeIsSetOnTheDeviceAtTheNextStart) {
  OutputStage stage;
  stage.server.start();
  SystemAudioOutput output(stage.hardware, stage.loop, {});
  const auto device = stage.hardware.defaultOutputDevice().value();
  for (const std::uint32_t frames : {32U, 64U, 128U, 256U, 512U, 1024U}) {
    ASSERT_EQ(stage.hardware.setCurrentOutputDevice(device), 0);
    ASSERT_EQ(stage.hardware.setBufferFrameSize(device, frames), 0);
    ASSERT_FALSE(output.start(stage.renderer));
    EXPECT_EQ(output.blockFrames(), frames);
    EXPECT_TRUE(eventually([&] { return stage.renderer.lastFrameCount == frames; }));
    output.stop();
  }
}

TEST(AudioOutput, ABlockSizeThatAnotherProgramSetsIsFollowed) {
  OutputStage stage;
  stage.server.start();
  SystemAudioOutput output(stage.hardware, stage.loop, {});
  ASSERT_FALSE(output.start(stage.renderer));
  const auto other = joinServer("other", stage.server.name());
  for (const std::uint32_t frames : {512U, 64U}) {
    ASSERT_EQ(jack_set_buffer_size(other.get(), frames), 0);
    EXPECT_TRUE(eventually([&] { return stage.renderer.lastFrameCount == frames; }));
    EXPECT_EQ(output.blockFrames(), frames);
    EXPECT_TRUE(output.isRunning());
  }
}

TEST(AudioOutput, SettingsReachADeviceThatRunsOnWithoutTheGraph) {
  OutputStage stage;
  stage.server.start();
  auto output = std::make_shared<SystemAudioOutput>(stage.hardware, stage.loop, SystemAudioOutput::LineBlock());
  audio::RenderEngine engine(output, std::make_shared<audio::RenderCounters>());
  ASSERT_FALSE(engine.start());
  ASSERT_TRUE(output->isRunning());
  engine.stop();
  EXPECT_TRUE(output->isRunning()) << "on silence";
  const auto device = stage.hardware.defaultOutputDevice().value();
  ASSERT_EQ(stage.hardware.setCurrentOutputDevice(device), 0);
  ASSERT_EQ(stage.hardware.setBufferFrameSize(device, 512), 0);
  ASSERT_FALSE(engine.start());
  EXPECT_TRUE(output->isRunning());
  EXPECT_TRUE(eventually([&] { return output->blockFrames() == 512; }));
}

TEST(AudioOutput, OpeningAndClosingLeavesNothingBehind) {
  OutputStage stage;
  stage.server.start();
  const auto round = [&] {
    SystemAudioOutput output(stage.hardware, stage.loop, {});
    ASSERT_FALSE(output.start(stage.renderer));
    static_cast<void>(stage.hardware.devices());
  };
  round();
  const auto descriptors = openDescriptors();
  const auto threadsBefore = threads();
  for (int count = 0; count < 20; ++count) {
    round();
  }
  EXPECT_TRUE(eventually([&] { return openDescriptors() <= descriptors && threads() <= threadsBefore; }));
}

}  // namespace
}  // namespace vrel::system::test
