// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "support/devices/child_process.h"
#include "system/audio/soft_edges.h"
#include "system/devices/output_stage.h"
#include "system/devices/rt_audio_stream.h"

namespace vrel::system::test {
namespace {

namespace fs = std::filesystem;

/// A PulseAudio server of the test's own, whose loudspeaker is a pipe.
class PulseOutput : public testing::Test {
 protected:
  PulseOutput() {
    std::string folder = testing::TempDir() + "vrel_pulse_XXXXXX";
    root = ::mkdtemp(folder.data());
    // The library looks nowhere else for the server, and starts none by itself.
    setVariable("PULSE_SERVER", "unix:" + (root / "native").string());
    setVariable("PULSE_RUNTIME_PATH", root);
    setVariable("PULSE_STATE_PATH", root);
    setVariable("PULSE_COOKIE", root / "cookie");
    for (auto& backend : makeAudioBackends("vrel-test-no-such-server")) {
      if (backend->uidPrefix() == "pulse") {
        backends.push_back(std::move(backend));
      }
    }
  }
  ~PulseOutput() override {
    server.end(SIGKILL);
    fs::remove_all(root);
  }

  static void setVariable(const char* name, const std::string& value) {
    ASSERT_EQ(::setenv(name, value.c_str(), 1), 0);  // NOLINT(concurrency-mt-unsafe): no other thread yet
  }

  void startServer() {
    fs::remove(root / "pid");
    fs::remove(root / "native");
    fs::remove(root / "loudspeaker");
    server.start({"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--disallow-exit", "--use-pid-file=no",
                  "-L", "module-native-protocol-unix auth-anonymous=1 socket=" + (root / "native").string(), "-L",
                  "module-pipe-sink sink_name=stage format=float32le rate=48000 channels=2 file=" +
                      (root / "loudspeaker").string()},
                 root / "log");
    ASSERT_TRUE(eventually([this] { return fs::exists(root / "loudspeaker") || !server.isRunning(); }));
    ASSERT_TRUE(server.isRunning()) << "no PulseAudio server can be started here: " << log();
  }

  [[nodiscard]] std::string log() const {
    std::ifstream file(root / "log");
    return {std::istreambuf_iterator<char>(file), {}};
  }

  fs::path root;
  ChildProcess server;
  AudioBackends backends;
  OfflineClock clock;
  OfflineMainLoop loop{clock};
  SineRenderer renderer;
};

bool listsStage(SystemAudioHardware& hardware) {
  const auto devices = hardware.devices();
  return devices && !devices.value().empty();
}

/// Reads from the pipe until `count` frames of the renderer have come; left and right in turn.
std::vector<float> readFrames(const fs::path& pipe, std::size_t count) {
  const int file = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  std::vector<float> values;
  std::vector<float> part(4096);
  std::size_t sounding = 0;
  const auto isEnough = [&] {
    const auto got = std::max<ssize_t>(0, ::read(file, part.data(), part.size() * sizeof(float)));
    const auto end = part.begin() + got / static_cast<ssize_t>(sizeof(float));
    values.insert(values.end(), part.begin(), end);
    sounding += static_cast<std::size_t>(std::count_if(part.begin(), end, [](float value) { return value != 0; }));
    return sounding >= 2 * count + 100;  // a few samples of the sine are zero themselves
  };
  EXPECT_TRUE(eventually(isEnough));
  ::close(file);
  return values;
}

TEST_F(PulseOutput, ASineArrivesAtTheLoudspeakerAndTheServersDeathIsReported) {
  ASSERT_NO_FATAL_FAILURE(startServer());
  testing::internal::CaptureStderr();
  SystemAudioHardware hardware(std::move(backends));
  std::vector<std::string> lost;
  SystemAudioOutput output(hardware, loop, [&](const std::string& line) { lost.push_back(line); });
  const auto device = hardware.defaultOutputDevice().value();
  EXPECT_THAT(hardware.deviceUID(device).value(), testing::StartsWith("pulse:"));
  ASSERT_EQ(hardware.setCurrentOutputDevice(device), 0);
  ASSERT_EQ(hardware.setBufferFrameSize(device, 256), 0);
  ASSERT_FALSE(output.start(renderer));
  EXPECT_EQ(output.sampleRate(), 48000);
  EXPECT_EQ(output.blockFrames(), 256U);

  constexpr std::size_t frames = 9600;
  const auto values = readFrames(root / "loudspeaker", frames);
  // The pipe is emptied faster than sound is played, so there is silence in between; no frame may be lost for it.
  std::uint32_t frame = 0;
  for (std::size_t index = 0; index + 1 < values.size(); index += 2) {
    if (values[index + 1] != 0) {
      ++frame;
      constexpr std::uint32_t edge = audio::SoftEdges::edgeFrames;
      const float fadeIn = frame > edge ? 1.0F : audio::fadeInAt(frame - 1, edge);
      ASSERT_EQ(values[index + 1], fadeIn * static_cast<float>(frame)) << "at " << index;
      ASSERT_EQ(values[index], fadeIn * SineRenderer::sample(frame)) << "at " << index;
    }
  }
  EXPECT_GE(frame, frames);
  EXPECT_EQ(renderer.lastFrameCount, 256U);

  server.end(SIGKILL);
  ASSERT_TRUE(eventually([&] {
    loop.runPending();
    return !lost.empty();
  }));
  EXPECT_THAT(lost, testing::ElementsAre(testing::StartsWith("Audio output device lost: ")));
  EXPECT_FALSE(output.state().get().hasDevice());
  output.stop();
  ASSERT_FALSE(output.start(renderer)) << "to nobody";

  ASSERT_NO_FATAL_FAILURE(startServer());
  ASSERT_TRUE(eventually([&] {
    loop.runPending();
    return output.state().get().hasDevice();
  })) << "by itself";
  static_cast<void>(readFrames(root / "loudspeaker", 960));
  output.stop();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "the terminal stays clean";
}

TEST_F(PulseOutput, AServerThatHangsHoldsNothingUp) {
  ASSERT_NO_FATAL_FAILURE(startServer());
  SystemAudioHardware hardware(std::move(backends));
  std::vector<std::string> lost;
  SystemAudioOutput output(hardware, loop, [&](const std::string& line) { lost.push_back(line); });
  ASSERT_FALSE(output.start(renderer));
  static_cast<void>(readFrames(root / "loudspeaker", 960));

  server.signal(SIGSTOP);
  ASSERT_TRUE(eventually([&] {
    loop.runPending();
    return !lost.empty();
  }));
  output.stop();
  const auto blocks = renderer.blocks.load();
  EXPECT_FALSE(listsStage(hardware)) << "it is stuck";

  server.end(SIGKILL);
  ASSERT_NO_FATAL_FAILURE(startServer());
  ASSERT_TRUE(eventually([&] { return listsStage(hardware); })) << "what hung has ended";
  EXPECT_EQ(renderer.blocks, blocks) << "nothing was rendered after the stop";
  ASSERT_FALSE(output.start(renderer));
  ASSERT_TRUE(eventually([&] {
    loop.runPending();
    return output.state().get().hasDevice();
  })) << "by itself";
  output.stop();
}

TEST_F(PulseOutput, AServerThatHangsWhileADeviceIsOpenedIsLeftBehind) {
  ASSERT_NO_FATAL_FAILURE(startServer());
  const auto library = std::make_shared<RtAudioLibrary>(RtAudio::LINUX_PULSE);
  auto stream = std::make_unique<RtAudioStream>(library, 0);
  server.signal(SIGSTOP);
  const auto failure = stream->open("stage", 256);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->description, "it does not respond");
  EXPECT_TRUE(library->isStuck);
  stream.reset();
  server.end(SIGKILL);
  EXPECT_TRUE(eventually([&] { return library.use_count() == 1; })) << "what hung has ended";
}

}  // namespace
}  // namespace vrel::system::test
