// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/audio_device_settings.h"

#include <optional>
#include <string>
#include <vector>

#include "document/app_state.h"
#include "simulation/simulated_components.h"
#include "simulation/simulated_file_manager.h"
#include "simulation/simulated_hardware.h"
#include "simulation/simulated_user_defaults.h"
#include "support/simulated_stage.h"

namespace vrel {
namespace {

class DeviceSettings : public SimulatedStage {
 protected:
  DeviceSettings() {
    hardware.list = {{1, {}, "in", "Microphone"},     {2, {2}, "uid-b", "beta"},
                     {3, {0, 2}, "uid-a", "Alpha"},   {4, {2}, std::nullopt, "No UID"},
                     {5, {2}, "uid-n", std::nullopt}, {6, {0, 0}, "uid-0", "No channels"},
                     {7, {2}, "", "Empty UID"},       {8, {2}, "uid-e", ""}};
    hardware.vanishing = {9};
    hardware.defaultDevice = 2;
    graph().record.clear();
  }

  void apply(std::uint32_t frames, const std::optional<std::string>& uid) {
    settings.applyAudioSettings(frames, uid, [this] { ++preparations; });
  }

  simulation::SimulatedAudioHardware hardware;
  AudioDeviceSettings settings{hardware, graph(), engine->graph(), console};
  int preparations = 0;
};

TEST_F(DeviceSettings, OnlyDevicesWithOutputUidAndNameAreListedSortedByName) {
  EXPECT_EQ(settings.availableOutputDevices(),
            (std::vector<AudioOutputDevice>{{3, "uid-a", "Alpha"}, {2, "uid-b", "beta"}}));
}

TEST_F(DeviceSettings, AListThatFailsIsEmpty) {
  hardware.listFails = true;
  EXPECT_TRUE(settings.availableOutputDevices().empty());
}

TEST_F(DeviceSettings, TheSavedDeviceIsSetAndThenItsBufferOnAStoppedEngine) {
  apply(64, "uid-a");
  EXPECT_EQ(hardware.record, (Lines{"device 3", "frames 64 on 3"}));
  EXPECT_EQ(graph().record, (Lines{"stop", "start"}));
  EXPECT_EQ(preparations, 1);
}

TEST_F(DeviceSettings, ASavedDeviceThatIsNotThereFallsBackToTheDefault) {
  apply(128, "uid-gone");
  EXPECT_EQ(hardware.record, (Lines{"device 2", "frames 128 on 2"}));
}

TEST_F(DeviceSettings, ASavedDeviceThatIsNotThereStaysSavedAndIsTakenWhenItIsBack) {
  simulation::SimulatedUserDefaults defaults;
  simulation::SimulatedComponentManager components;
  simulation::SimulatedFileManager files;
  AppState session({defaults, components, mainQueue, console, files}, "/recent_setlists.json");
  session.audioOutputDeviceUID.set("uid-gone");
  const auto applySaved = [&] { apply(session.audioIOBufferFrameSize.get(), session.audioOutputDeviceUID.get()); };
  applySaved();
  EXPECT_EQ(hardware.record.front(), "device 2");
  EXPECT_EQ(session.audioOutputDeviceUID.get(), "uid-gone");
  hardware.list.push_back({10, {2}, "uid-gone", "Back"});
  hardware.record.clear();
  applySaved();
  EXPECT_EQ(hardware.record.front(), "device 10");
}

TEST_F(DeviceSettings, OfTwoDevicesWithOneUidTheFirstByNameIsTaken) {
  hardware.list = {{2, {2}, "uid", "beta"}, {3, {2}, "uid", "Alpha"}};
  apply(64, "uid");
  EXPECT_EQ(hardware.record.front(), "device 3");
}

TEST_F(DeviceSettings, ADefaultThatIsNotAnOutputSetsNothing) {
  hardware.defaultDevice = 1;
  apply(128, std::nullopt);
  EXPECT_TRUE(hardware.record.empty());
  EXPECT_EQ(graph().record, (Lines{"stop", "start"}));
}

TEST_F(DeviceSettings, TheRestartThatSucceedsClearsTheError) {
  graph().startFailure = Error{"busy"};
  apply(64, "uid-a");
  graph().startFailure = std::nullopt;
  apply(64, "uid-a");
  EXPECT_EQ(engine->lastEngineStartError(), Error{"busy"}) << "what does not run is not started here";
  ASSERT_TRUE(engine->ensureEngineRunning("test"));
  apply(128, "uid-a");
  EXPECT_FALSE(engine->lastEngineStartError().has_value());
  EXPECT_TRUE(graph().isRunning());
}

TEST_F(DeviceSettings, WithoutASavedDeviceTheDefaultIsTaken) {
  apply(256, std::nullopt);
  EXPECT_EQ(hardware.record, (Lines{"device 2", "frames 256 on 2"}));
}

TEST_F(DeviceSettings, AnEmptyListRestartsTheEngineAndSetsNothing) {
  hardware.list.clear();
  apply(128, "uid-a");
  EXPECT_TRUE(hardware.record.empty());
  EXPECT_EQ(graph().record, (Lines{"stop", "start"}));
}

TEST_F(DeviceSettings, ADefaultOfZeroSetsNothing) {
  hardware.defaultDevice = 0;
  apply(128, std::nullopt);
  EXPECT_TRUE(hardware.record.empty());
}

TEST_F(DeviceSettings, AStoppedEngineGetsTheDeviceAndStaysStopped) {
  graph().stop();
  graph().record.clear();
  apply(64, "uid-a");
  EXPECT_EQ(hardware.record, (Lines{"device 3", "frames 64 on 3"}));
  EXPECT_TRUE(graph().record.empty());
  EXPECT_FALSE(graph().isRunning());
  EXPECT_EQ(preparations, 0);
}

TEST_F(DeviceSettings, ARefusedDeviceIsLoggedAndTheBufferStillTried) {
  hardware.deviceStatus = -50;
  hardware.frameSizeStatus = -51;
  apply(64, "uid-a");
  EXPECT_EQ(hardware.record, (Lines{"device 3", "frames 64 on 3"}));
  EXPECT_EQ(console.lines,
            (Lines{"Failed to set audio output device: -50", "Failed to set audio I/O buffer frame size: -51"}));
  EXPECT_TRUE(graph().isRunning());
}

TEST_F(DeviceSettings, AFailedRestartIsLoggedAndLeavesTheEngineStopped) {
  graph().startFailure = Error{"device busy"};
  apply(64, "uid-a");
  EXPECT_EQ(console.lines, Lines{"AVAudioEngine restart failed after audio settings change: device busy"});
  EXPECT_EQ(engine->lastEngineStartError(), Error{"device busy"});
  EXPECT_FALSE(graph().isRunning());
}

TEST_F(DeviceSettings, DevicesCompareAndHashByAllThreeFields) {
  const AudioOutputDevice device{3, "uid-a", "Alpha"};
  const std::hash<AudioOutputDevice> hash;
  EXPECT_EQ(hash(device), hash(AudioOutputDevice{3, "uid-a", "Alpha"}));
  EXPECT_NE(device, (AudioOutputDevice{3, "uid-a", "Other"}));
  EXPECT_NE(hash(device), hash(AudioOutputDevice{3, "uid-a", "Other"}));
  EXPECT_NE(hash(device), hash(AudioOutputDevice{4, "uid-a", "Alpha"}));
}

TEST_F(DeviceSettings, TheEngineAppliesThemWithItsOwnOutputChain) {
  simulation::SimulatedNodeFactory otherNodes;
  const auto other =
      AudioEngine::make({otherNodes, units, mainQueue, queues, clock, propertyLists, console, &hardware, nullptr});
  mainQueue.runAll();
  otherNodes.engine->record.clear();
  EXPECT_EQ(other->availableOutputDevices().size(), 2U);
  other->applyAudioSettings(512, "uid-a");
  EXPECT_EQ(otherNodes.engine->record, (Lines{"stop", "connect main mixer -> output", "start"}));
  EXPECT_EQ(hardware.record, (Lines{"device 3", "frames 512 on 3"}));
}

}  // namespace
}  // namespace vrel
