// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/midi_service.h"

namespace vrel::simulation {

/// MIDI sources defined by a test, which acts as the service's thread by `send` and `notify`.
class SimulatedMIDIService : public MIDIService {
 public:
  OSStatus MIDIClientCreateWithBlock(const std::string& name, NotifyBlock notifyBlock, MIDIClientRef& client) override {
    record.push_back("client " + name);
    notify = std::move(notifyBlock);
    client = clientStatus == 0 ? 1 : 0;
    return clientStatus;
  }
  OSStatus MIDIInputPortCreateWithBlock(MIDIClientRef /*client*/, const std::string& portName, ReadBlock readBlock,
                                        MIDIPortRef& port) override {
    record.push_back("port " + portName);
    read = std::move(readBlock);
    port = portStatus == 0 ? 2 : 0;
    return portStatus;
  }
  std::size_t MIDIGetNumberOfSources() override { return sources.size(); }
  MIDIEndpointRef MIDIGetSource(std::size_t index) override { return static_cast<MIDIEndpointRef>(index + 100); }
  OSStatus MIDIPortConnectSource(MIDIPortRef /*port*/, MIDIEndpointRef source) override {
    record.push_back("connect " + std::to_string(source));
    return connectStatus;
  }
  std::optional<std::string> MIDIObjectGetName(MIDIEndpointRef source) override { return sources.at(source - 100); }
  [[nodiscard]] std::uint64_t droppedMessages() const override { return dropped; }
  void MIDIPortDispose(MIDIPortRef port) override { record.push_back("dispose port " + std::to_string(port)); }
  void MIDIClientDispose(MIDIClientRef client) override {
    record.push_back("dispose client " + std::to_string(client));
  }

  /// Delivers one packet list.
  void send(const std::vector<std::vector<std::uint8_t>>& packets) const {
    const std::vector<MIDIPacket> views(packets.begin(), packets.end());
    MIDIPacketList list(views);
    list.areInstrumentsServed = areInstrumentsServed;
    read(list);
  }

  std::vector<std::optional<std::string>> sources;  // their names; none: unreadable
  bool areInstrumentsServed = false;                // said of all packets
  std::uint64_t dropped = 0;
  OSStatus clientStatus = 0;
  OSStatus portStatus = 0;
  OSStatus connectStatus = 0;
  NotifyBlock notify;
  ReadBlock read;
  std::vector<std::string> record;
};

}  // namespace vrel::simulation
