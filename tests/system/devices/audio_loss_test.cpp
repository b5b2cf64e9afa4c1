// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "engine/audio_device_settings.h"
#include "engine/graph_mutator.h"
#include "simulation/recording_console.h"
#include "support/devices/jack_peer.h"
#include "system/audio/render_engine.h"
#include "system/devices/output_stage.h"
#include "system/devices/process_count.h"

namespace vrel::system::test {
namespace {

using testing::HasSubstr;

class AudioLoss : public testing::Test {
 protected:
  [[nodiscard]] std::shared_ptr<SystemAudioOutput> makeOutput() {
    return std::make_shared<SystemAudioOutput>(stage.hardware, stage.loop,
                                               [this](const std::string& line) { stage.lost.push_back(line); });
  }

  OutputStage stage;
};

TEST_F(AudioLoss, TheServersDeathIsReportedOnceAndSettingsAppliedAgainBringTheSoundBack) {
  stage.server.start();
  auto output = makeOutput();
  for (int round = 1; round <= 3; ++round) {
    ASSERT_FALSE(output->start(stage.renderer));
    const auto blocks = stage.renderer.blocks.load();
    ASSERT_TRUE(eventually([&] { return stage.renderer.blocks > blocks + 3; }));
    stage.server.kill();
    ASSERT_TRUE(stage.eventuallyOnMain([&] { return stage.lost.size() == static_cast<std::size_t>(round); }));
    EXPECT_EQ(stage.lost.back(), "Audio output device lost: JACK: system: the JACK server was shut down");
    EXPECT_FALSE(output->isRunning());

    // Without a server there is nothing to play on, and that is said.
    output->stop();
    const auto failure = output->start(stage.renderer);
    ASSERT_TRUE(failure);
    EXPECT_THAT(failure->description, HasSubstr("no audio output device"));

    stage.server.start();
    const auto device = stage.hardware.devices().value().at(0);
    ASSERT_EQ(stage.hardware.setCurrentOutputDevice(device), 0);
    ASSERT_EQ(stage.hardware.setBufferFrameSize(device, 128), 0);
    ASSERT_FALSE(output->start(stage.renderer));
    EXPECT_TRUE(output->isRunning());
    Recorder recorder(stage.server.name(), 4800);
    ASSERT_TRUE(eventually([&] { return recorder.recorded() == 4800; }));
    EXPECT_NE(recorder.channel(1).back(), 0) << "sound";
    output->stop();
    stage.loop.runPending();
    EXPECT_EQ(stage.lost.size(), static_cast<std::size_t>(round)) << "reported once";
  }
}

TEST_F(AudioLoss, AServerThatEndsInGoodOrderIsALossToo) {
  stage.server.start();
  auto output = makeOutput();
  ASSERT_FALSE(output->start(stage.renderer));
  stage.server.stop();
  ASSERT_TRUE(stage.eventuallyOnMain([&] { return !stage.lost.empty(); }));
  EXPECT_FALSE(output->isRunning());
}

TEST_F(AudioLoss, AnOutputThatIsGoneIsNotReported) {
  stage.server.start();
  auto output = makeOutput();
  ASSERT_FALSE(output->start(stage.renderer));
  stage.server.kill();
  ASSERT_TRUE(eventually([&] { return !output->isRunning(); }));
  output.reset();
  stage.loop.runPending();
  EXPECT_TRUE(stage.lost.empty());
}

TEST_F(AudioLoss, TheWholeEngineComesBackByItsSettings) {
  stage.server.start();
  auto output = makeOutput();
  audio::RenderEngine engine(output, std::make_shared<audio::RenderCounters>());
  simulation::RecordingConsole console;
  GraphMutator mutator(engine, console);
  AudioDeviceSettings settings(stage.hardware, engine, mutator, console);
  ASSERT_FALSE(engine.start());
  settings.applyAudioSettings(256, std::nullopt, [] {});
  EXPECT_EQ(output->blockFrames(), 256U);
  ASSERT_EQ(settings.availableOutputDevices().size(), 1U);
  EXPECT_EQ(settings.availableOutputDevices()[0].uid, "jack:system");

  stage.server.kill();
  ASSERT_TRUE(stage.eventuallyOnMain([&] { return !stage.lost.empty(); }));
  settings.applyAudioSettings(256, "jack:system", [] {});
  EXPECT_FALSE(engine.isRunning());
  EXPECT_THAT(console.lines,
              testing::Contains(HasSubstr("restart failed after audio settings change: no audio output device")));

  stage.server.start();
  ASSERT_FALSE(engine.start());
  settings.applyAudioSettings(64, "jack:system", [] {});
  EXPECT_TRUE(engine.isRunning());
  EXPECT_TRUE(output->isRunning());
  EXPECT_EQ(output->blockFrames(), 64U);
}

TEST_F(AudioLoss, LossesLeaveNothingBehind) {
  const auto round = [&] {
    stage.server.start();
    auto output = makeOutput();
    ASSERT_FALSE(output->start(stage.renderer));
    stage.server.kill();
    ASSERT_TRUE(eventually([&] { return !output->isRunning(); }));
  };
  round();
  const auto descriptors = openDescriptors();
  const auto threadsBefore = threads();
  for (int count = 0; count < 5; ++count) {
    round();
  }
  EXPECT_LE(openDescriptors(), descriptors);
  EXPECT_LE(threads(), threadsBefore);
}

}  // namespace
}  // namespace vrel::system::test
