// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "system/devices/output_stage.h"

namespace vrel::system::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

/// A backend as a test lays it out.
class ListedOutputs final : public AudioBackend {
 public:
  ListedOutputs(std::string prefix, std::vector<AudioDeviceDescription> list)
      : prefix_(std::move(prefix)), list_(std::move(list)) {}
  std::string uidPrefix() const override { return prefix_; }
  std::vector<AudioDeviceDescription> devices() override { return list_; }
  Result<std::unique_ptr<OutputStream>> open(const std::string& /*deviceName*/,
                                             std::optional<std::uint32_t> /*frames*/) override {
    return Error{"busy"};
  }

 private:
  const std::string prefix_;
  const std::vector<AudioDeviceDescription> list_;
};

TEST(AudioHardware, TheFirstBackendThatHasAnOutputIsListed) {
  AudioBackends backends;
  backends.push_back(std::make_unique<ListedOutputs>("none", std::vector<AudioDeviceDescription>()));
  backends.push_back(std::make_unique<ListedOutputs>(
      "inputs", std::vector<AudioDeviceDescription>{{.name = "microphone", .title = "Microphone"}}));
  backends.push_back(std::make_unique<ListedOutputs>(
      "cards", std::vector<AudioDeviceDescription>{
                   {.name = "line in", .title = "Line in"},
                   {.name = "first", .title = "First", .outputChannels = 2},
                   {.name = "second", .title = "Second", .outputChannels = 8, .isDefaultOutput = true}}));
  SystemAudioHardware hardware(std::move(backends));

  const auto ids = hardware.devices();
  ASSERT_TRUE(ids);
  ASSERT_EQ(ids.value().size(), 3U);
  EXPECT_EQ(hardware.deviceUID(ids.value()[1]).value(), "cards:first");
  EXPECT_EQ(hardware.deviceName(ids.value()[1]).value(), "First");
  EXPECT_THAT(hardware.outputStreamChannels(ids.value()[0]).value(), IsEmpty());
  EXPECT_THAT(hardware.outputStreamChannels(ids.value()[2]).value(), ElementsAre(8U));
  EXPECT_EQ(hardware.defaultOutputDevice().value(), ids.value()[2]);
  EXPECT_EQ(hardware.devices().value(), ids.value()) << "an id is for the run";
}

TEST(AudioHardware, AnInvalidSettingIsRefused) {
  AudioBackends backends;
  backends.push_back(std::make_unique<ListedOutputs>(
      "cards", std::vector<AudioDeviceDescription>{{.name = "in", .title = "In"},
                                                   {.name = "out", .title = "Out", .outputChannels = 2}}));
  SystemAudioHardware hardware(std::move(backends));
  const auto ids = hardware.devices().value();
  EXPECT_EQ(hardware.setCurrentOutputDevice(ids[0]), SystemAudioHardware::badObject) << "it has no output";
  EXPECT_EQ(hardware.setCurrentOutputDevice(99), SystemAudioHardware::badObject);
  EXPECT_EQ(hardware.setBufferFrameSize(99, 128), SystemAudioHardware::badObject);
  EXPECT_EQ(hardware.setBufferFrameSize(ids[1], 0), SystemAudioHardware::illegalOperation);
  EXPECT_EQ(hardware.setBufferFrameSize(ids[1], 1U << 20U), SystemAudioHardware::illegalOperation);
  EXPECT_EQ(hardware.setCurrentOutputDevice(ids[1]), 0);
  EXPECT_EQ(hardware.setBufferFrameSize(ids[1], 64), 0);
  EXPECT_FALSE(hardware.deviceUID(99));
  EXPECT_FALSE(hardware.deviceName(99));
  EXPECT_FALSE(hardware.outputStreamChannels(99));
}

TEST(AudioHardware, AServersOutputIsListedWhileItRuns) {
  OutputStage stage;
  stage.server.start();
  const auto ids = stage.hardware.devices().value();
  ASSERT_EQ(ids.size(), 1U);
  EXPECT_EQ(stage.hardware.deviceUID(ids[0]).value(), "jack:system");
  EXPECT_EQ(stage.hardware.deviceName(ids[0]).value(), "JACK: system");
  EXPECT_THAT(stage.hardware.outputStreamChannels(ids[0]).value(), ElementsAre(2U));
  EXPECT_EQ(stage.hardware.defaultOutputDevice().value(), ids[0]);

  stage.server.stop();
  std::vector<std::string> uids;
  const auto others = stage.hardware.devices();
  for (const auto id : others.value()) {
    uids.push_back(stage.hardware.deviceUID(id).value());
  }
  EXPECT_THAT(uids, testing::Not(Contains("jack:system")));

  stage.server.start();
  EXPECT_EQ(stage.hardware.devices().value(), ids);
}

TEST(AudioHardware, NothingIsWrittenToTheTerminalWithoutDevices) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  {
    OfflineClock clock;
    OfflineMainLoop loop(clock);
    SystemAudioHardware hardware(makeAudioBackends("vrel-test-no-such-server"));
    SystemAudioOutput output(hardware, loop, {});
    static_cast<void>(hardware.devices());
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(AudioHardware, WithoutADeviceTheOutputSaysSoAndTheRestGoesOn) {
  OfflineClock clock;
  OfflineMainLoop loop(clock);
  SystemAudioHardware hardware{AudioBackends()};
  std::vector<std::string> lines;
  SystemAudioOutput output(hardware, loop, [&](const std::string& line) { lines.push_back(line); });
  EXPECT_TRUE(hardware.devices().value().empty());
  EXPECT_EQ(hardware.defaultOutputDevice().value(), 0U);
  EXPECT_EQ(output.sampleRate(), 48000);
  EXPECT_EQ(output.deviceUID(), "");
  SineRenderer renderer;
  ASSERT_FALSE(output.start(renderer));
  EXPECT_THAT(lines, ElementsAre("No audio output device found"));
  EXPECT_EQ(output.state().get().reason, lines.back());
  output.stop();
  EXPECT_FALSE(output.isRunning());
}

TEST(AudioHardware, ADeviceThatCannotBeOpenedIsNamed) {
  AudioBackends backends;
  backends.push_back(std::make_unique<ListedOutputs>(
      "cards", std::vector<AudioDeviceDescription>{{.name = "out", .title = "Out", .outputChannels = 2}}));
  SystemAudioHardware hardware(std::move(backends));
  OfflineClock clock;
  OfflineMainLoop loop(clock);
  SystemAudioOutput output(hardware, loop, {});
  EXPECT_EQ(output.state().get().reason, "No audio output device cards:out: busy");
}

}  // namespace
}  // namespace vrel::system::test
