// SPDX-License-Identifier: GPL-3.0-or-later

// A note of another program sounds at its frame, whatever the main thread does.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/devices/jack_peer.h"
#include "support/devices/jack_server.h"
#include "support/devices/live_stage.h"
#include "support/devices/note_probe.h"

namespace vrel::system::test {
namespace {

constexpr const char* timedPiano = "http://drobilla.net/plugins/mda/Piano";

class NoteTiming : public testing::TestWithParam<bool> {
 protected:
  void begin() {
    server.start();
    stage = std::make_unique<LiveStage>(LiveStage::Settings{
        .jackServerName = server.name(), .pluginHostProgram = VREL_PLUGIN_HOST_PROGRAM, .sandbox = GetParam()});
    const auto failure = stage->load(timedPiano);
    ASSERT_FALSE(failure) << failure->description;
  }

  [[nodiscard]] bool eventuallyOnMain(const std::function<bool()>& holds) const {
    return eventually([&] {
      stage->loop().runPending();
      return holds();
    });
  }

  /// Whether the strip is silent for a tenth of a second from now.
  [[nodiscard]] bool isSilent() const {
    constexpr float inaudible = 0.0005F;
    AudioChannel& strip = *stage->engine().channels().front();
    {
      const MutexLock lock(strip.meterLock);
      strip.rawMeterPeakL = 0;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const MutexLock lock(strip.meterLock);
    return strip.rawMeterPeakL < inaudible;
  }

  JackServer server;
  std::unique_ptr<LiveStage> stage;
};

TEST_P(NoteTiming, WhileTheMainThreadIsHeldUpForTwoSecondsNotesGoOnAtTheirFrame) {
  ASSERT_NO_FATAL_FAILURE(begin());
  NoteProbe probe(server.name(), 1);
  ASSERT_TRUE(eventuallyOnMain([&] { return probe.link(0, "vrel", "vrel"); }));
  std::vector<int> seen;
  stage->engine().midiCallbacks.onMidiNoteActivity = [&](std::uint8_t note, bool isOn) {
    seen.push_back(isOn ? note : -note);
  };
  // This thread is the main thread, and runs nothing of its queue meanwhile.
  std::size_t played = 0;
  std::size_t atTheirFrame = 0;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  for (std::uint8_t key = 60; std::chrono::steady_clock::now() < end; ++key) {
    const std::uint64_t missedBlocks = stage->pluginCounters().lateBlocks;
    const auto latency = probe.play(key).front();
    ASSERT_TRUE(latency) << "the note was not heard";
    ++played;
    // A plug-in in a process of its own that gets no processor in time plays a note with its next block.
    if (stage->pluginCounters().lateBlocks == missedBlocks) {
      EXPECT_EQ(*latency, 0U);
      ++atTheirFrame;
    }
  }
  EXPECT_TRUE(seen.empty());
  EXPECT_GT(atTheirFrame, 0U);
  EXPECT_TRUE(eventuallyOnMain([&] { return seen.size() == 2 * played; }));
  std::vector<int> expected;
  for (int key = 60; expected.size() < seen.size(); ++key) {
    expected.insert(expected.end(), {key, -key});
  }
  EXPECT_EQ(seen, expected) << "the main thread gets all of it afterwards, in order";
}

TEST_P(NoteTiming, SixteenSourcesWithFiftyThousandMessagesASecondLoseNoReleaseAndNoPanic) {
  ASSERT_NO_FATAL_FAILURE(begin());
  std::vector<std::unique_ptr<MidiPeer>> peers;
  for (int source = 0; source < 16; ++source) {
    peers.push_back(std::make_unique<MidiPeer>(server.name(), "keys" + std::to_string(source)));
    peers.back()->addPort("out");
    peers.back()->mostInPeriod = 9;  // 54,000 a second, with periods of 128 frames at 48 kHz
  }
  ASSERT_TRUE(
      eventuallyOnMain([&] { return std::ranges::all_of(peers, [](const auto& peer) { return peer->isLinked(); }); }));
  constexpr int notes = 500;
  std::vector<int> held(128);
  int activities = 0;
  stage->engine().midiCallbacks.onMidiNoteActivity = [&](std::uint8_t note, bool isOn) {
    held[note] += isOn ? 1 : -1;
    ++activities;
  };
  // A string that the pedal holds: it rings on for seconds, unless a panic raises the pedal.
  constexpr int struck = 2;
  peers.front()->send({{0xB0, 64, 127}, {0x90, 28, 127}, {0x80, 28, 0}});
  ASSERT_TRUE(eventuallyOnMain([&] { return activities >= struck; }));
  std::vector<std::thread> players;
  for (std::uint8_t source = 0; source < 16; ++source) {
    players.emplace_back([&peer = *peers[source], source] {
      std::vector<MidiPeer::Message> messages;
      for (int note = 0; note < notes; ++note) {
        const auto key = static_cast<std::uint8_t>(30 + source * 4 + note % 4);
        messages.push_back({static_cast<std::uint8_t>(0x90 + source), key, 1});
        messages.push_back({static_cast<std::uint8_t>(0x80 + source), key, 0});
      }
      peer.send(messages);
    });
  }
  EXPECT_TRUE(eventuallyOnMain([&] { return activities >= 16 * notes / 2; })) << activities;
  stage->engine().panic();
  EXPECT_TRUE(eventuallyOnMain([&] { return activities >= struck + 16 * notes * 2; })) << activities;
  for (auto& player : players) {
    player.join();
  }
  stage->loop().runPending();
  EXPECT_EQ(activities, struck + 16 * notes * 2) << "each message once";
  EXPECT_EQ(held, std::vector<int>(128));
  EXPECT_TRUE(eventually([this] { return isSilent(); }, std::chrono::seconds(3))) << "the panic was lost";
  EXPECT_EQ(stage->midi().droppedMessages(), 0U);
  EXPECT_EQ(stage->pluginCounters().droppedEvents, 0U);
  EXPECT_EQ(stage->engine().channels().front()->midiInstrument()->droppedEvents(), 0U);
}

TEST_P(NoteTiming, ASourceThatIsLinkedToBothPortsIsHeardOnce) {
  ASSERT_NO_FATAL_FAILURE(begin());
  MidiPeer peer(server.name(), "keys");
  peer.addPort("out");
  const auto other = joinServer("patchbay", server.name());
  const auto* const source = jack_port_by_name(other.get(), "keys:out");
  ASSERT_TRUE(eventuallyOnMain([&] { return jack_port_connected_to(source, "vrel:VRELMIDIInputPort") != 0; }));
  ASSERT_EQ(jack_connect(other.get(), "keys:out", "VRELMIDIClient:VRELMIDIInputPort"), 0);
  peer.passBlocks();
  std::vector<int> seen;
  stage->engine().midiCallbacks.onMidiNoteActivity = [&](std::uint8_t note, bool isOn) {
    seen.push_back(isOn ? note : -note);
  };
  peer.send({{0x90, 60, 100}, {0x80, 60, 0}});
  peer.passBlocks();
  peer.send({{0x90, 72, 100}, {0x80, 72, 0}});
  peer.passBlocks();
  ASSERT_TRUE(eventuallyOnMain([&] { return std::ranges::count(seen, -72) > 0; }));
  EXPECT_EQ(seen, (std::vector<int>{60, -60, 72, -72}));
}

INSTANTIATE_TEST_SUITE_P(Instruments, NoteTiming, testing::Bool(), [](const auto& parameter) {
  return parameter.param ? std::string("InProcessesOfTheirOwn") : std::string("InThisProcess");
});

}  // namespace
}  // namespace vrel::system::test
