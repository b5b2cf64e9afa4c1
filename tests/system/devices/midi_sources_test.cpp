// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "midi/midi_input.h"
#include "simulation/recording_console.h"
#include "support/devices/jack_peer.h"
#include "support/devices/jack_server.h"
#include "system/devices/jack_audio_backend.h"
#include "system/devices/jack_midi_backend.h"
#include "system/devices/process_count.h"
#include "system/devices/system_midi_service.h"
#include "system/dispatch/offline_main_loop.h"

namespace vrel::system::test {
namespace {

using Message = MidiPeer::Message;

/// The service on a server of the test's, with a port that connects all there is at each change.
class MidiSources : public testing::Test {
 protected:
  ~MidiSources() override { service.MIDIClientDispose(client); }

  void begin() {
    ASSERT_EQ(service.MIDIClientCreateWithBlock(
                  "VRELMIDIClient", [this](const auto&) { ++notices; }, client),
              0);
    const auto read = [this](MIDIPacketList list) {
      const std::lock_guard lock(mutex);
      lengths.push_back(list.size());
      for (const auto& packet : list) {
        packets.emplace_back(packet.begin(), packet.end());
      }
    };
    ASSERT_EQ(service.MIDIInputPortCreateWithBlock(client, "VRELMIDIInputPort", read, port), 0);
    connectAll();
  }

  void connectAll() {
    for (std::size_t index = 0; index < service.MIDIGetNumberOfSources(); ++index) {
      service.MIDIPortConnectSource(port, service.MIDIGetSource(index));
    }
  }

  [[nodiscard]] std::vector<std::string> names() {
    std::vector<std::string> result;
    for (std::size_t index = 0; index < service.MIDIGetNumberOfSources(); ++index) {
      result.push_back(service.MIDIObjectGetName(service.MIDIGetSource(index)).value_or("?"));
    }
    return result;
  }

  /// Waits for a notice later than those seen, and connects.
  [[nodiscard]] bool eventuallyNoticed(int seen) {
    const bool isNoticed = eventually([&] { return notices > seen; });
    connectAll();
    return isNoticed;
  }

  [[nodiscard]] std::vector<Message> received() {
    const std::lock_guard lock(mutex);
    return packets;
  }

  JackServer server;
  std::mutex mutex;
  std::vector<Message> packets;      // guarded by mutex
  std::vector<std::size_t> lengths;  // guarded by mutex
  std::atomic<int> notices{0};
  SystemMidiService service{makeMidiBackends(server.name())};
  MIDIClientRef client = 0;
  MIDIPortRef port = 0;
};

std::vector<Message> manyMessages() {
  std::vector<Message> messages;
  for (std::uint8_t number = 0; number < 120; ++number) {
    messages.push_back({0x90, number, 100});
    messages.push_back({0xC3, number});
    messages.push_back({0xF8});
    messages.push_back({0xE1, number, 127});
    if (number % 10 == 0) {
      Message exclusive(300, number);
      exclusive.front() = 0xF0;
      exclusive.back() = 0xF7;
      messages.push_back(exclusive);
    }
    messages.push_back({0xFE});
    messages.push_back({0x80, number, 0});
  }
  return messages;
}

TEST_F(MidiSources, MessagesOfAnotherProgramArriveInOrderByteForByte) {
  server.start();
  MidiPeer peer(server.name(), "keys");
  peer.addPort("out");
  begin();
  EXPECT_THAT(names(), testing::ElementsAre("keys:out"));
  EXPECT_TRUE(eventually([&] { return peer.isLinked(); }));
  const auto messages = manyMessages();
  peer.send(messages);
  ASSERT_TRUE(eventually([&] { return received().size() >= messages.size(); }));
  EXPECT_EQ(received(), messages);
  EXPECT_EQ(lengths, std::vector<std::size_t>(messages.size(), 1)) << "one packet a list";
}

TEST_F(MidiSources, TwoSourcesDeliverSideBySide) {
  server.start();
  MidiPeer left(server.name(), "left");
  MidiPeer right(server.name(), "right");
  left.addPort("out");
  right.addPort("out");
  begin();
  EXPECT_THAT(names(), testing::UnorderedElementsAre("left:out", "right:out"));
  left.send({{0x90, 1, 1}});
  right.send({{0x90, 2, 2}});
  ASSERT_TRUE(eventually([&] { return received().size() == 2; }));
  EXPECT_THAT(received(), testing::UnorderedElementsAre(Message{0x90, 1, 1}, Message{0x90, 2, 2}));
}

TEST_F(MidiSources, AnotherProgramMayLinkToThePortItself) {
  server.start();
  begin();
  const auto other = joinServer("patchbay", server.name());
  const auto* const ourPort = jack_port_by_name(other.get(), "VRELMIDIClient:VRELMIDIInputPort");
  ASSERT_NE(ourPort, nullptr);
  EXPECT_STREQ(jack_port_type(ourPort), JACK_DEFAULT_MIDI_TYPE);
}

TEST_F(MidiSources, ASourceThatComesAndGoesAHundredTimesIsNoticedAndLeavesNothingBehind) {
  server.start();
  MidiPeer peer(server.name(), "keys");
  begin();
  std::size_t descriptors = 0;
  std::size_t threadsBefore = 0;
  const auto portsOf = [&] {
    const auto observer = joinServer("observer", server.name());
    const char** const ports = jack_get_ports(observer.get(), "VRELMIDIClient", nullptr, 0);
    std::size_t count = 0;
    while (ports != nullptr && ports[count] != nullptr) {
      ++count;
    }
    jack_free(static_cast<void*>(ports));
    return count;
  };
  for (std::uint8_t round = 0; round < 100; ++round) {
    int seen = notices;
    peer.addPort("out");
    ASSERT_TRUE(eventuallyNoticed(seen)) << "appearing, round " << int{round};
    ASSERT_EQ(service.MIDIGetNumberOfSources(), 1U);
    ASSERT_TRUE(eventually([&] { return peer.isLinked(); }));
    peer.send({{0x90, round, 1}});
    ASSERT_TRUE(eventually([&] { return received().size() == std::size_t{round} + 1; })) << received().size();
    seen = notices;
    peer.removePort();
    ASSERT_TRUE(eventuallyNoticed(seen)) << "vanishing, round " << int{round};
    ASSERT_EQ(service.MIDIGetNumberOfSources(), 0U);
    if (round == 4) {
      descriptors = openDescriptors();
      threadsBefore = threads();
    }
  }
  EXPECT_TRUE(eventually([&] { return openDescriptors() <= descriptors && threads() <= threadsBefore; }));
  EXPECT_EQ(portsOf(), 1U);
}

TEST_F(MidiSources, ProgramsThatComeAndGoLeaveNothingBehind) {
  server.start();
  begin();
  std::size_t descriptors = 0;
  for (int round = 0; round < 20; ++round) {
    int seen = notices;
    {
      MidiPeer peer(server.name(), "keys");
      peer.addPort("out");
      ASSERT_TRUE(eventuallyNoticed(seen));
      ASSERT_TRUE(eventually([&] {
        connectAll();
        return peer.isLinked();
      }));
      seen = notices;
    }
    ASSERT_TRUE(eventuallyNoticed(seen));
    ASSERT_TRUE(eventually([&] { return service.MIDIGetNumberOfSources() == 0; }));
    if (round == 2) {
      descriptors = openDescriptors();
    }
  }
  EXPECT_TRUE(eventually([&] { return openDescriptors() <= descriptors; }));
}

TEST_F(MidiSources, TheServerMayStartLaterDieAndComeBack) {
  begin();
  EXPECT_EQ(service.MIDIGetNumberOfSources(), 0U);
  for (std::uint8_t round = 0; round < 3; ++round) {
    int seen = notices;
    server.start();
    ASSERT_TRUE(eventuallyNoticed(seen)) << "the server is there";
    {
      MidiPeer peer(server.name(), "keys");
      seen = notices;
      peer.addPort("out");
      ASSERT_TRUE(eventuallyNoticed(seen));
      ASSERT_TRUE(peer.isLinked());
      peer.send({{0x90, round, 1}});
      ASSERT_TRUE(eventually([&] { return received().size() == std::size_t{round} + 1; }));
    }
    ASSERT_TRUE(eventually([&] { return service.MIDIGetNumberOfSources() == 0; }));
    seen = notices;
    server.kill();
    ASSERT_TRUE(eventuallyNoticed(seen)) << "the server is gone";
    EXPECT_EQ(service.MIDIGetNumberOfSources(), 0U);
  }
}

TEST_F(MidiSources, WithoutAServerNothingIsWrittenToTheTerminal) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  begin();
  EXPECT_EQ(service.MIDIGetNumberOfSources(), 0U);
  service.MIDIClientDispose(client);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(MidiSources, TheProgramsInputConnectsItselfAndShowsTheName) {
  server.start();
  OfflineClock clock;
  OfflineMainLoop loop(clock);
  simulation::RecordingConsole console;
  std::vector<Message> routed;
  MidiInput input(service, loop, console, [&](MidiMessage message, bool) {
    routed.push_back({message.status, message.data1, message.data2});
  });
  input.setupMIDI();
  EXPECT_EQ(input.currentMidiPortName(), "Disconnected");
  const auto eventuallyOnMain = [&](const std::function<bool()>& holds) {
    return eventually([&] {
      loop.runPending();
      return holds();
    });
  };
  {
    MidiPeer peer(server.name(), "keys");
    peer.addPort("out");
    ASSERT_TRUE(eventuallyOnMain([&] { return input.currentMidiPortName() == "keys:out"; }));
    peer.send({{0x90, 60, 100}, {0xF8}, {0xC0, 5}});
    ASSERT_TRUE(eventuallyOnMain([&] { return routed.size() == 2; }));
    EXPECT_EQ(routed, (std::vector<Message>{{0x90, 60, 100}, {0xC0, 5, 0}}));
  }
  EXPECT_TRUE(eventuallyOnMain([&] { return input.currentMidiPortName() == "Disconnected"; }));
}

/// Plays silence, and leaves what comes with its blocks to the main thread.
class IdleRenderer final : public audio::BlockRenderer {
 public:
  void render(float* left, float* right, std::uint32_t frameCount) noexcept override {
    std::fill_n(left, frameCount, 0.0F);
    std::fill_n(right, frameCount, 0.0F);
  }
  void pump() override {}
};

TEST(PlayingClients, ComeAndGoWithoutLosingRepeatingOrReorderingWhatIsPlayed) {
  JackServer server;
  server.start();
  const auto inlet = std::make_shared<JackMidiInlet>();
  JackMidiBackend midi(server.name(), inlet);
  JackAudioBackend sound(server.name(), inlet);
  IdleRenderer renderer;
  MidiPeer peer(server.name(), "keys");
  peer.addPort("out");
  std::mutex mutex;
  std::vector<Message> heard;  // guarded by mutex
  const auto hear = [&](const audio::PlayedPacket& packet) {
    const std::lock_guard lock(mutex);
    heard.push_back(packet.bytes);
  };
  const auto count = [&] {
    const std::lock_guard lock(mutex);
    return heard.size();
  };
  midi.begin("VRELMIDIClient", "VRELMIDIInputPort", {.packet = hear, .setupChanged = [] {}});
  ASSERT_FALSE(midi.connect("jack:keys:out"));
  std::vector<Message> messages;
  for (int number = 0; number < 4000; ++number) {
    messages.push_back({0xE0, static_cast<std::uint8_t>(number % 128), static_cast<std::uint8_t>(number / 128)});
  }
  std::thread player([&] { peer.send(messages); });
  const auto playOn = [&] {
    const std::size_t before = count();
    return eventually([&] { return count() > before + 200; });
  };
  const auto start = [&] {
    auto opened = sound.open("system", std::nullopt);
    const bool isPlaying = opened && !opened.value()->start(renderer);
    EXPECT_TRUE(isPlaying);
    EXPECT_TRUE(playOn());
    return isPlaying ? std::move(opened.value()) : nullptr;
  };
  for (int round = 0; round < 2; ++round) {
    auto first = start();
    auto second = start();
    first.reset();
    EXPECT_TRUE(playOn());
    second.reset();
    EXPECT_TRUE(playOn());
  }
  EXPECT_TRUE(eventually([&] { return count() >= messages.size(); }));
  player.join();
  midi.end();
  EXPECT_EQ(heard, messages);
}

TEST(PlayingClients, OneThatTakesTheNameOfAnEarlierOneBeforeTheReaderLooksIsHeard) {
  JackServer server;
  server.start();
  const auto inlet = std::make_shared<JackMidiInlet>();
  JackMidiBackend midi(server.name(), inlet);
  JackAudioBackend sound(server.name(), inlet);
  IdleRenderer renderer;
  MidiPeer peer(server.name(), "keys");
  peer.addPort("out");
  std::mutex mutex;
  std::size_t heard = 0;  // guarded by mutex
  const auto hear = [&](const audio::PlayedPacket&) {
    const std::lock_guard lock(mutex);
    ++heard;
  };
  midi.begin("VRELMIDIClient", "VRELMIDIInputPort", {.packet = hear, .setupChanged = [] {}});
  ASSERT_FALSE(midi.connect("jack:keys:out"));
  const auto isHeard = [&] {
    const auto before = [&] {
      const std::lock_guard lock(mutex);
      return heard;
    };
    const std::size_t count = before();
    peer.send({{0x90, 60, 1}});
    peer.passBlocks();
    return before() > count;
  };
  auto first = sound.open("system", std::nullopt);
  ASSERT_TRUE(first && !first.value()->start(renderer));
  ASSERT_TRUE(eventually(isHeard));
  std::unique_ptr<OutputStream> second;
  {
    const std::lock_guard readerIsHeldUp(mutex);
    peer.send({{0x90, 61, 1}});
    first.value().reset();
    auto opened = sound.open("system", std::nullopt);
    ASSERT_TRUE(opened && !opened.value()->start(renderer));
    second = std::move(opened.value());
  }
  EXPECT_TRUE(eventually(isHeard));
  second.reset();
  EXPECT_TRUE(eventually(isHeard));
  midi.end();
}

}  // namespace
}  // namespace vrel::system::test
