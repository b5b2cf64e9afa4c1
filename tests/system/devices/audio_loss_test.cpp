// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "engine/audio_device_settings.h"
#include "engine/graph_mutator.h"
#include "simulation/recording_console.h"
#include "support/devices/jack_peer.h"
#include "system/audio/render_engine.h"
#include "system/devices/jack_audio_backend.h"
#include "system/devices/output_stage.h"
#include "system/devices/process_count.h"
#include "system/devices/scripted_outputs.h"

namespace vrel::system::test {
namespace {

class AudioLoss : public testing::Test {
 protected:
  [[nodiscard]] std::shared_ptr<SystemAudioOutput> makeOutput() {
    return std::make_shared<SystemAudioOutput>(stage.hardware, stage.loop,
                                               [this](const std::string& line) { stage.lost.push_back(line); });
  }

  /// Whether another program hears the output in the end. A server that has just started may pass some blocks over.
  [[nodiscard]] bool isHeard() {
    return stage.eventuallyOnMain([this] {
      Recorder recorder(stage.server.name(), 4800);
      return eventually([&] { return recorder.recorded() == 4800; }) && recorder.channel(1).back() != 0;
    });
  }

  OutputStage stage;
};

TEST_F(AudioLoss, TheServersDeathIsReportedOnceAndItsReturnIsHeardByItself) {
  stage.server.start();
  auto output = makeOutput();
  ASSERT_FALSE(output->start(stage.renderer));
  for (int round = 1; round <= 3; ++round) {
    auto blocks = stage.renderer.blocks.load();
    ASSERT_TRUE(eventually([&] { return stage.renderer.blocks > blocks + 3; }));
    stage.server.kill();
    ASSERT_TRUE(stage.eventuallyOnMain([&] { return !output->state().get().hasDevice(); }));
    EXPECT_EQ(stage.lost.back(), "Audio output device lost: JACK: system: the JACK server was shut down");
    EXPECT_EQ(output->state().get(),
              (OutputState{.awaited = "JACK: system", .reason = "the JACK server was shut down"}));
    EXPECT_TRUE(output->isRunning());
    blocks = stage.renderer.blocks.load();
    EXPECT_TRUE(eventually([&] { return stage.renderer.blocks > blocks + 10; })) << "the blocks go on";

    stage.server.start();
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(stage.eventuallyOnMain([&] { return output->state().get().hasDevice(); }));
    const auto taken = std::chrono::steady_clock::now() - start;
    RecordProperty("millisecondsToReturn" + std::to_string(round),
                   static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(taken).count()));
    ASSERT_TRUE(isHeard());
    stage.loop.runPending();
    EXPECT_EQ(stage.lost.size(), static_cast<std::size_t>(2 * round)) << "one line for the loss, one for the return";
  }
}

TEST_F(AudioLoss, AServerThatEndsInGoodOrderIsALossToo) {
  stage.server.start();
  auto output = makeOutput();
  ASSERT_FALSE(output->start(stage.renderer));
  stage.server.stop();
  ASSERT_TRUE(stage.eventuallyOnMain([&] { return !stage.lost.empty(); }));
  EXPECT_FALSE(output->state().get().hasDevice());
}

TEST_F(AudioLoss, AServerThatStartsAfterTheProgramIsPlayedOn) {
  auto output = makeOutput();
  ASSERT_FALSE(output->start(stage.renderer));
  EXPECT_FALSE(output->state().get().hasDevice());
  stage.server.start();
  ASSERT_TRUE(stage.eventuallyOnMain([&] { return output->state().get().device == "JACK: system"; }));
}

TEST_F(AudioLoss, AServerThatHangsIsBridgedAndGoesOnWhenItAnswersAgain) {
  stage.server.start();
  auto output = makeOutput();
  ASSERT_FALSE(output->start(stage.renderer));
  stage.server.hang();
  ASSERT_TRUE(stage.eventuallyOnMain([&] { return !output->state().get().hasDevice(); }));
  EXPECT_EQ(output->state().get().reason, "it asks for no more sound");
  const auto blocks = stage.renderer.blocks.load();
  EXPECT_TRUE(eventually([&] { return stage.renderer.blocks > blocks + 100; })) << "the blocks go on";
  stage.server.wakeUp();
  ASSERT_TRUE(stage.eventuallyOnMain([&] { return output->state().get().hasDevice(); }));
  EXPECT_TRUE(isHeard());
}

TEST_F(AudioLoss, AnotherBackendIsChosenAtOnceWhileTheServerHangs) {
  constexpr auto atOnce = std::chrono::milliseconds(1900);  // the server that hangs would be waited for two seconds
  ScriptedOutputs cards;
  cards.speakers["card"] = std::make_shared<ScriptedSpeaker>();
  AudioBackends backends;
  backends.push_back(std::make_unique<JackAudioBackend>(stage.server.name()));
  backends.push_back(std::make_unique<ScriptedBackend>(cards, "cards"));
  SystemAudioHardware hardware(std::move(backends));
  stage.server.start();
  SystemAudioOutput output(hardware, stage.loop, {});
  ASSERT_FALSE(output.start(stage.renderer));
  EXPECT_EQ(output.deviceUID(), "jack:system");
  stage.server.hang();
  ASSERT_TRUE(stage.eventuallyOnMain([&] { return !output.state().get().hasDevice(); }));

  const auto start = std::chrono::steady_clock::now();
  const auto ids = hardware.devices().value();
  ASSERT_EQ(ids.size(), 1U);
  hardware.preferOutputDevice(hardware.deviceUID(ids[0]).value());
  ASSERT_EQ(hardware.setCurrentOutputDevice(ids[0]), 0);
  ASSERT_FALSE(output.prepare());
  ASSERT_FALSE(output.start(stage.renderer));
  ASSERT_TRUE(eventually([&] { return !cards.speakers["card"]->left().empty(); }));
  const auto taken = std::chrono::steady_clock::now() - start;
  EXPECT_LT(taken, atOnce);
  RecordProperty("millisecondsToChoose",
                 static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(taken).count()));
  EXPECT_EQ(output.state().get().device, "Stage: card");

  stage.server.wakeUp();
  ASSERT_TRUE(eventually([&] { return !hardware.isAvoided("jack:system"); }));
  ASSERT_TRUE(
      eventually([&] { return hardware.deviceUID(hardware.devices().value().at(0)).value() == "jack:system"; }));
}

TEST_F(AudioLoss, AMachineThatWasSuspendedSoundsAgainByItself) {
  stage.server.start();
  auto output = makeOutput();
  ASSERT_FALSE(output->start(stage.renderer));
  for (const int milliseconds : {100, 3000}) {
    ASSERT_TRUE(stage.eventuallyOnMain([&] { return output->state().get().hasDevice(); }));
    stage.server.suspendBoth(std::chrono::milliseconds(milliseconds));
    ASSERT_TRUE(isHeard());
  }
}

TEST_F(AudioLoss, AnOutputThatIsGoneReportsNothing) {
  stage.server.start();
  auto output = makeOutput();
  ASSERT_FALSE(output->start(stage.renderer));
  stage.server.kill();
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  output.reset();
  stage.loop.runPending();
  EXPECT_TRUE(stage.lost.empty());
}

TEST_F(AudioLoss, TheWholeEnginePlaysOnAndKeepsItsSettings) {
  stage.server.start();
  auto output = makeOutput();
  audio::RenderEngine engine(output, std::make_shared<audio::RenderCounters>());
  simulation::RecordingConsole console;
  GraphMutator mutator(engine, console);
  AudioDeviceSettings settings(stage.hardware, engine, mutator, console);
  ASSERT_FALSE(engine.start());
  settings.applyAudioSettings(256, "jack:system", [] {});
  EXPECT_EQ(output->blockFrames(), 256U);
  ASSERT_EQ(settings.availableOutputDevices().size(), 1U);
  EXPECT_EQ(settings.availableOutputDevices()[0].uid, "jack:system");

  stage.server.kill();
  ASSERT_TRUE(stage.eventuallyOnMain([&] { return !output->state().get().hasDevice(); }));
  settings.applyAudioSettings(256, "jack:system", [] {});
  EXPECT_TRUE(engine.isRunning()) << "to nobody";
  mutator.performGraphMutation("a change", [] {});
  EXPECT_TRUE(engine.isRunning());
  EXPECT_THAT(console.lines, testing::IsEmpty());

  stage.server.start();
  ASSERT_TRUE(stage.eventuallyOnMain([&] { return output->state().get().hasDevice(); }));
  EXPECT_EQ(output->blockFrames(), 256U);
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
    ASSERT_TRUE(stage.eventuallyOnMain([&] { return !output->state().get().hasDevice(); }));
  };
  round();
  const auto descriptors = openDescriptors();
  const auto threadsBefore = threads();
  for (int count = 0; count < 5; ++count) {
    round();
  }
  EXPECT_TRUE(eventually([&] { return openDescriptors() <= descriptors && threads() <= threadsBefore; }));
}

}  // namespace
}  // namespace vrel::system::test
