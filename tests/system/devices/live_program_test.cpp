// SPDX-License-Identifier: GPL-3.0-or-later

// The whole program on a real server: what another program plays is heard where the system plays it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <string>

#include "support/devices/jack_peer.h"
#include "support/devices/jack_server.h"
#include "support/devices/live_stage.h"

namespace vrel::system::test {
namespace {

using testing::Contains;

constexpr const char* piano = "http://drobilla.net/plugins/mda/Piano";

bool isSilent(const Recorder& recorder) {
  const auto isZero = [](float sample) { return sample == 0; };
  return std::all_of(recorder.channel(0).begin(), recorder.channel(0).end(), isZero) &&
         std::all_of(recorder.channel(1).begin(), recorder.channel(1).end(), isZero);
}

class LiveProgram : public testing::TestWithParam<bool> {
 protected:
  LiveProgram() { server.start(); }

  void begin() {
    stage = std::make_unique<LiveStage>(LiveStage::Settings{
        .jackServerName = server.name(), .pluginHostProgram = VREL_PLUGIN_HOST_PROGRAM, .sandbox = GetParam()});
    ASSERT_TRUE(stage->engine().engine().isRunning());
    const auto failure = stage->load(piano);
    ASSERT_FALSE(failure) << failure->description;
  }

  [[nodiscard]] bool eventuallyOnMain(const std::function<bool()>& holds) const {
    return eventually([&] {
      stage->loop().runPending();
      return holds();
    });
  }

  /// A new program plays a key until both channels have sounded at the system's playback ports.
  void expectTheKeyIsHeard() const {
    constexpr std::size_t frames = 9600;
    MidiPeer keys(server.name(), "keys");
    keys.addPort("out");
    ASSERT_TRUE(eventuallyOnMain([&] { return keys.isLinked(); }));
    EXPECT_TRUE(eventuallyOnMain([&] { return stage->engine().midiInput()->currentMidiPortName() == "keys:out"; }));
    {
      Recorder before(server.name(), frames);
      ASSERT_TRUE(eventuallyOnMain([&] { return before.recorded() == frames; }));
      EXPECT_TRUE(isSilent(before)) << "nothing is played yet";
    }
    keys.send({{0x90, 60, 100}});
    ASSERT_TRUE(eventuallyOnMain([&] {
      Recorder after(server.name(), frames);
      EXPECT_TRUE(eventuallyOnMain([&] { return after.recorded() == frames; }));
      const auto isLoud = [](float sample) { return std::abs(sample) > 0.01F; };
      return std::any_of(after.channel(0).begin(), after.channel(0).end(), isLoud) &&
             std::any_of(after.channel(1).begin(), after.channel(1).end(), isLoud);
    }));
  }

  JackServer server;
  std::unique_ptr<LiveStage> stage;
};

TEST_P(LiveProgram, AKeyOfAnotherProgramIsHeardAtTheSystemsPlaybackSide) {
  ASSERT_NO_FATAL_FAILURE(begin());
  ASSERT_NO_FATAL_FAILURE(expectTheKeyIsHeard());
  EXPECT_EQ(stage->pluginCounters().droppedEvents, 0U);
}

TEST_P(LiveProgram, OutlivesItsServerAndSoundsAgainByItself) {
  ASSERT_NO_FATAL_FAILURE(begin());
  server.kill();
  ASSERT_TRUE(eventuallyOnMain([&] { return !stage->output().state().get().hasDevice(); }));
  EXPECT_TRUE(eventuallyOnMain([&] {
    return testing::Value(stage->lines(),
                          Contains("Audio output device lost: JACK: system: the JACK server was shut down"));
  }));
  EXPECT_EQ(stage->engine().channels().size(), 1U);
  EXPECT_TRUE(eventuallyOnMain([&] { return stage->engine().midiInput()->currentMidiPortName() == "Disconnected"; }));

  EXPECT_TRUE(stage->engine().engine().isRunning()) << "to nobody";
  server.start();
  ASSERT_TRUE(eventuallyOnMain([&] { return stage->output().state().get().hasDevice(); }));
  ASSERT_NO_FATAL_FAILURE(expectTheKeyIsHeard());
  EXPECT_EQ(stage->pluginCounters().deaths, 0U) << "the instrument is the one that was there before";
}

INSTANTIATE_TEST_SUITE_P(Instruments, LiveProgram, testing::Bool(), [](const auto& parameter) {
  return parameter.param ? std::string("InProcessesOfTheirOwn") : std::string("InThisProcess");
});

}  // namespace
}  // namespace vrel::system::test
