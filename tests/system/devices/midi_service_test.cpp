// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "system/devices/system_midi_service.h"

namespace vrel::system::test {
namespace {

using testing::ElementsAre;

/// A backend as a test lays it out; the test plays its thread.
class ListedMidi final : public MidiBackend {
 public:
  explicit ListedMidi(bool canBeBridged) : canBeBridged_(canBeBridged) {}

  void begin(const std::string& clientName, const std::string& portName, Listener theListener) override {
    names = clientName + ":" + portName;
    listener = std::move(theListener);
  }
  void end() override { listener = {}; }
  std::vector<MidiSource> sources() override { return list; }
  bool canBeBridged() const override { return canBeBridged_; }
  std::uint64_t dropped() const override { return lost; }
  Outcome connect(const std::string& key) override {
    connected.push_back(key);
    return key == "refuses" ? Outcome(Error{"no"}) : Outcome();
  }
  void disconnect() override { connected.clear(); }

  std::uint64_t lost = 0;
  std::vector<MidiSource> list;
  std::vector<std::string> connected;
  std::string names;
  Listener listener;

 private:
  const bool canBeBridged_;
};

class MidiServiceOnLists : public testing::Test {
 protected:
  MidiServiceOnLists() {
    MidiBackends backends;
    backends.push_back(std::make_unique<ListedMidi>(false));
    backends.push_back(std::make_unique<ListedMidi>(true));
    jack = static_cast<ListedMidi*>(backends[0].get());
    alsa = static_cast<ListedMidi*>(backends[1].get());
    service = std::make_unique<SystemMidiService>(std::move(backends));
    jack->list = {{.key = "j1", .name = "Keys"}};
    alsa->list = {{.key = "a1", .name = "Pad"}, {.key = "refuses", .name = ""}};
  }

  void makePort() {
    ASSERT_EQ(service->MIDIClientCreateWithBlock(
                  "Client", [this](const MIDINotification& notice) { notices.push_back(notice.messageID); }, client),
              0);
    const auto read = [this](MIDIPacketList list) {
      for (const auto& packet : list) {
        packets.emplace_back(packet.begin(), packet.end());
      }
    };
    ASSERT_EQ(service->MIDIInputPortCreateWithBlock(client, "Port", read, port), 0);
  }

  ListedMidi* jack = nullptr;
  ListedMidi* alsa = nullptr;
  std::unique_ptr<SystemMidiService> service;
  MIDIClientRef client = 0;
  MIDIPortRef port = 0;
  std::vector<std::int32_t> notices;
  std::vector<std::vector<std::uint8_t>> packets;
};

TEST_F(MidiServiceOnLists, WhatAllBackendsHaveDroppedIsCounted) {
  jack->lost = 3;
  alsa->lost = 4;
  EXPECT_EQ(service->droppedMessages(), 7U);
}

TEST_F(MidiServiceOnLists, SourcesOfAllBackendsAreListedTogether) {
  makePort();
  EXPECT_EQ(jack->names, "Client:Port");
  ASSERT_EQ(service->MIDIGetNumberOfSources(), 3U);
  const auto keys = service->MIDIGetSource(0);
  const auto pad = service->MIDIGetSource(1);
  const auto nameless = service->MIDIGetSource(2);
  EXPECT_EQ(service->MIDIObjectGetName(keys), "Keys");
  EXPECT_EQ(service->MIDIObjectGetName(pad), "Pad");
  EXPECT_EQ(service->MIDIObjectGetName(nameless), std::nullopt);
  EXPECT_EQ(service->MIDIPortConnectSource(port, keys), 0);
  EXPECT_EQ(service->MIDIPortConnectSource(port, pad), 0);
  EXPECT_NE(service->MIDIPortConnectSource(port, nameless), 0);
  EXPECT_NE(service->MIDIPortConnectSource(port, 4711), 0);
  EXPECT_NE(service->MIDIPortConnectSource(port + 1, keys), 0);
  EXPECT_THAT(jack->connected, ElementsAre("j1"));
  EXPECT_THAT(alsa->connected, ElementsAre("a1", "refuses"));
  EXPECT_EQ(service->MIDIGetSource(3), 0U);
  EXPECT_EQ(service->MIDIObjectGetName(4711), std::nullopt);
}

TEST_F(MidiServiceOnLists, AReferenceIsTheSourcesOwnForAsLongAsItLives) {
  makePort();
  ASSERT_EQ(service->MIDIGetNumberOfSources(), 3U);
  const auto pad = service->MIDIGetSource(1);
  jack->list.clear();
  ASSERT_EQ(service->MIDIGetNumberOfSources(), 2U);
  EXPECT_EQ(service->MIDIGetSource(0), pad);
  alsa->list.clear();
  ASSERT_EQ(service->MIDIGetNumberOfSources(), 0U);
  EXPECT_EQ(service->MIDIObjectGetName(pad), std::nullopt);
}

TEST_F(MidiServiceOnLists, WhatIsBridgedDoesNotPlayTwice) {
  makePort();
  jack->list.push_back({.key = "j2", .name = "Pad through JACK", .isBridged = true});
  ASSERT_EQ(service->MIDIGetNumberOfSources(), 2U);
  EXPECT_EQ(service->MIDIObjectGetName(service->MIDIGetSource(1)), "Pad through JACK");
}

TEST_F(MidiServiceOnLists, WhatABridgeShowsLaterIsNoLongerReadDirectly) {
  makePort();
  ASSERT_EQ(service->MIDIGetNumberOfSources(), 3U);
  ASSERT_EQ(service->MIDIPortConnectSource(port, service->MIDIGetSource(0)), 0);
  ASSERT_EQ(service->MIDIPortConnectSource(port, service->MIDIGetSource(1)), 0);
  ASSERT_THAT(alsa->connected, ElementsAre("a1"));
  jack->list.push_back({.key = "j2", .name = "Pad through JACK", .isBridged = true});
  ASSERT_EQ(service->MIDIGetNumberOfSources(), 2U);
  EXPECT_THAT(alsa->connected, ElementsAre());
  EXPECT_THAT(jack->connected, ElementsAre("j1"));
}

TEST_F(MidiServiceOnLists, BlocksComeUntilTheirOwnerIsDisposedOf) {
  makePort();
  const auto fromJack = jack->listener;
  fromJack.packet({.bytes = {0x90, 60, 100}});
  fromJack.packet({.bytes = {0xF8}});
  fromJack.setupChanged();
  EXPECT_THAT(packets, ElementsAre(ElementsAre(0x90, 60, 100), ElementsAre(0xF8)));
  EXPECT_THAT(notices, ElementsAre(kMIDIMsgSetupChanged));
  service->MIDIPortDispose(port);
  fromJack.packet({.bytes = {0x80, 60, 0}});
  EXPECT_EQ(packets.size(), 2U);
  EXPECT_EQ(service->MIDIGetNumberOfSources(), 0U);
  service->MIDIClientDispose(client);
  fromJack.setupChanged();
  EXPECT_EQ(notices.size(), 1U);
  service->MIDIPortDispose(port);
  service->MIDIClientDispose(client);
  makePort();
  EXPECT_EQ(service->MIDIGetNumberOfSources(), 3U) << "and again";
}

TEST_F(MidiServiceOnLists, APacketThatNobodyReadsIsNotWaitedFor) {
  makePort();
  const auto fromJack = jack->listener;
  service->MIDIPortDispose(port);
  auto waiting = std::make_shared<int>();
  fromJack.packet({.bytes = {0x90, 60, 100}, .untilRouted = waiting});
  EXPECT_EQ(waiting.use_count(), 1);
}

TEST_F(MidiServiceOnLists, ThereIsOneClientWithOnePort) {
  MIDIPortRef none = 1;
  EXPECT_NE(service->MIDIInputPortCreateWithBlock(1, "Port", {}, none), 0);
  EXPECT_EQ(none, 0U);
  makePort();
  MIDIClientRef second = 1;
  EXPECT_NE(service->MIDIClientCreateWithBlock("Second", {}, second), 0);
  EXPECT_EQ(second, 0U);
  EXPECT_NE(service->MIDIInputPortCreateWithBlock(client, "Second", {}, none), 0);
  EXPECT_EQ(none, 0U);
}

}  // namespace
}  // namespace vrel::system::test
