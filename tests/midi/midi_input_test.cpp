// SPDX-License-Identifier: GPL-3.0-or-later
#include "midi/midi_input.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulation/recording_console.h"
#include "simulation/simulated_midi_service.h"
#include "simulation/virtual_time.h"

namespace vrel {
namespace {

using Lines = std::vector<std::string>;

class Input : public testing::Test {
 protected:
  void start() { input->setupMIDI(); }

  Lines received() {
    mainQueue.runAll();
    return std::exchange(routed, {});
  }

  simulation::VirtualClock clock;
  simulation::CrankedMainQueue mainQueue{clock};
  simulation::RecordingConsole console;
  simulation::SimulatedMIDIService service;
  Lines routed;
  std::optional<MidiInput> input{
      std::in_place, service, mainQueue, console, [this](MidiMessage message, bool areInstrumentsServed) {
        routed.push_back(std::to_string(message.status) + " " + std::to_string(message.data1) + " " +
                         std::to_string(message.data2) + (areInstrumentsServed ? " served" : ""));
      }};
};

TEST_F(Input, ThePortThatIsConnectedIsNotLoggedAsAFailure) {
  start();
  EXPECT_EQ(console.infos, Lines{"Connected MIDI port: Disconnected"});
}

TEST_F(Input, APacketOfTwoBytesIsPostedWithAThirdOfZero) {
  start();
  service.send({{0xC3, 0x05}});
  EXPECT_EQ(received(), Lines{"195 5 0"});
}

TEST_F(Input, APacketOfOneByteOrNonePostsNothing) {
  start();
  service.send({{0xF8}, {}});
  EXPECT_EQ(mainQueue.runOne(), false);
}

TEST_F(Input, EachMessageIsReportedBeforeItIsRouted) {
  input->onMessage = [this] { routed.emplace_back("message"); };
  start();
  service.send({{0x90, 60, 1}, {0xF8}, {0x80, 60, 2}});
  EXPECT_EQ(received(), (Lines{"message", "144 60 1", "message", "128 60 2"}));
}

TEST_F(Input, OnlyTheFirstMessageOfAPacketCounts) {
  start();
  service.send({{0x90, 60, 100, 0x90, 64, 101}});
  EXPECT_EQ(received(), Lines{"144 60 100"});
}

TEST_F(Input, AListOfThreePacketsPostsThreeMessagesInOrder) {
  start();
  service.send({{0x90, 60, 1}, {0xB0, 64, 127}, {0x80, 60, 2}});
  EXPECT_EQ(received(), (Lines{"144 60 1", "176 64 127", "128 60 2"}));
}

TEST_F(Input, WhatTheInstrumentsHaveGotAlreadyIsMarked) {
  start();
  service.areInstrumentsServed = true;
  service.send({{0x90, 60, 1}});
  service.areInstrumentsServed = false;
  service.send({{0x80, 60, 2}});
  EXPECT_EQ(received(), (Lines{"144 60 1 served", "128 60 2"}));
}

TEST_F(Input, BytesAreRawAndNothingIsInterpreted) {
  start();
  service.send({{0x45, 0xFF, 0x81}, {0xF0, 0x7E, 0x7F, 0x09}});
  EXPECT_EQ(received(), (Lines{"69 255 129", "240 126 127"}));
}

TEST_F(Input, NothingIsRoutedBeforeTheMainQueueGetsToIt) {
  start();
  service.send({{0x90, 60, 1}});
  EXPECT_TRUE(routed.empty());
}

TEST_F(Input, WithNoSourcesTheNameIsDisconnectedAndItIsLoggedOnce) {
  start();
  EXPECT_EQ(input->currentMidiPortName(), "Disconnected");
  EXPECT_EQ(console.lines, Lines{"Connected MIDI port: Disconnected"});
  EXPECT_EQ(service.record, (Lines{"client VRELMIDIClient", "port VRELMIDIInputPort"}));
}

TEST_F(Input, OfTwoSourcesBothAreConnectedAndTheLastOneNames) {
  service.sources = {"A", "B"};
  start();
  EXPECT_EQ(input->currentMidiPortName(), "B");
  EXPECT_EQ(service.record, (Lines{"client VRELMIDIClient", "port VRELMIDIInputPort", "connect 100", "connect 101"}));
}

TEST_F(Input, ASourceWithoutANameLeavesThePreviousName) {
  service.sources = {"A", std::nullopt};
  service.connectStatus = -1;
  start();
  EXPECT_EQ(input->currentMidiPortName(), "A");
}

TEST_F(Input, ASetupChangeReconnectsAndReportsTheNewNameAtOnce) {
  service.sources = {"A", "B"};
  start();
  Lines names;
  input->onMidiPortNameChanged = [&](const std::string& name) {
    EXPECT_EQ(input->currentMidiPortName(), name);
    EXPECT_EQ(console.lines.back(), names.empty() ? "Connected MIDI port: B" : "Connected MIDI port: A");
    names.push_back(name);
  };
  service.sources = {"A"};
  service.record.clear();
  service.notify({kMIDIMsgSetupChanged});
  mainQueue.runAll();
  service.sources = {};
  service.notify({kMIDIMsgSetupChanged});
  mainQueue.runAll();
  EXPECT_EQ(names, (Lines{"A", "Disconnected"}));
  EXPECT_EQ(service.record, Lines{"connect 100"}) << "nothing is made again";
  EXPECT_EQ(input->currentMidiPortName(), "Disconnected");
}

TEST_F(Input, OtherNotificationsAreIgnored) {
  start();
  service.notify({2});
  service.notify({4});
  EXPECT_FALSE(mainQueue.runOne());
}

TEST_F(Input, AClientThatCannotBeMadeIsLoggedAndThereIsNoPort) {
  service.clientStatus = -10830;
  start();
  EXPECT_EQ(console.lines, Lines{"Error creating MIDI client: -10830"});
  EXPECT_TRUE(console.infos.empty());
  EXPECT_EQ(service.record, Lines{"client VRELMIDIClient"});
  EXPECT_EQ(input->currentMidiPortName(), "Disconnected");
}

TEST_F(Input, APortThatCannotBeMadeIsLogged) {
  service.portStatus = 7;
  service.sources = {"A"};
  start();
  EXPECT_EQ(console.lines, Lines{"Error creating MIDI port: 7"});
  EXPECT_EQ(input->currentMidiPortName(), "Disconnected");
}

TEST_F(Input, WhatIsQueuedWhenTheInputEndsIsDropped) {
  start();
  const auto linesBefore = console.lines;
  service.send({{0x90, 60, 1}});
  service.notify({kMIDIMsgSetupChanged});
  input.reset();
  EXPECT_TRUE(received().empty());
  service.send({{0x90, 60, 1}});
  service.notify({kMIDIMsgSetupChanged});
  EXPECT_FALSE(mainQueue.runOne());
  EXPECT_EQ(console.lines, linesBefore);
}

TEST_F(Input, APacketIsWaitedForUntilItIsRoutedOrDropped) {
  start();
  std::weak_ptr<const void> waiting;
  const auto send = [&](const std::vector<std::uint8_t>& bytes) {
    const auto ticket = std::make_shared<int>();
    waiting = ticket;
    const MIDIPacket packet(bytes);
    MIDIPacketList list(&packet, 1);
    list.untilRouted = ticket;
    service.read(list);
  };
  send({0x90, 60, 1});
  EXPECT_FALSE(waiting.expired());
  mainQueue.runAll();
  EXPECT_TRUE(waiting.expired()) << "routed";
  send({0xF8});
  EXPECT_TRUE(waiting.expired()) << "nothing to route";
  send({0x90, 61, 1});
  input.reset();
  mainQueue.runAll();
  EXPECT_TRUE(waiting.expired()) << "the input has ended";
  send({0x90, 62, 1});
  EXPECT_TRUE(waiting.expired()) << "there is no input";
  EXPECT_EQ(routed, Lines{"144 60 1"});
}

TEST_F(Input, ThePortIsDisposedOfBeforeTheClient) {
  start();
  service.record.clear();
  input.reset();
  EXPECT_EQ(service.record, (Lines{"dispose port 2", "dispose client 1"}));
}

TEST_F(Input, DisposalComesAlsoWhenNothingWasMade) {
  service.clientStatus = -1;
  start();
  service.record.clear();
  input.reset();
  EXPECT_EQ(service.record, (Lines{"dispose port 0", "dispose client 0"}));
}

}  // namespace
}  // namespace vrel
