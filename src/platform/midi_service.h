// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "platform/audio_hardware.h"

namespace vrel {

using MIDIClientRef = std::uint32_t;
using MIDIPortRef = std::uint32_t;
using MIDIEndpointRef = std::uint32_t;

/// The bytes of one packet as the source sent them.
using MIDIPacket = std::span<const std::uint8_t>;

/// Packets that arrived together, in order. Borrowed for the call.
struct MIDIPacketList : std::span<const MIDIPacket> {
  using std::span<const MIDIPacket>::span;

  bool areInstrumentsServed = false;  // the instruments have them already; see AVAudioEngine::setInstrumentRoutes
  std::shared_ptr<const void> untilRouted{};  // to be kept until they are routed; the service waits for its release
};

struct MIDINotification {
  std::int32_t messageID = 0;
};

/// Sources were added or removed.
inline constexpr std::int32_t kMIDIMsgSetupChanged = 1;

/// The system's MIDI. The operations are for the main thread; the blocks are called on a thread of
/// the service, and no longer once their client or port is disposed of.
class MIDIService {
 public:
  using NotifyBlock = std::function<void(const MIDINotification&)>;
  using ReadBlock = std::function<void(MIDIPacketList)>;

  virtual ~MIDIService() = default;

  /// Status 0 on success, with the new reference in the last argument.
  [[nodiscard]] virtual OSStatus MIDIClientCreateWithBlock(const std::string& name, NotifyBlock notifyBlock,
                                                           MIDIClientRef& client) = 0;
  [[nodiscard]] virtual OSStatus MIDIInputPortCreateWithBlock(MIDIClientRef client, const std::string& portName,
                                                              ReadBlock readBlock, MIDIPortRef& port) = 0;

  /// The current sources, by index.
  [[nodiscard]] virtual std::size_t MIDIGetNumberOfSources() = 0;
  [[nodiscard]] virtual MIDIEndpointRef MIDIGetSource(std::size_t index) = 0;

  /// Connects the port to this source, too. No effect when it is connected already.
  virtual OSStatus MIDIPortConnectSource(MIDIPortRef port, MIDIEndpointRef source) = 0;

  /// The source's name (kMIDIPropertyName); none when it cannot be read.
  [[nodiscard]] virtual std::optional<std::string> MIDIObjectGetName(MIDIEndpointRef source) = 0;

  /// Messages that were dropped because nobody took them in time.
  [[nodiscard]] virtual std::uint64_t droppedMessages() const { return 0; }

  virtual void MIDIPortDispose(MIDIPortRef port) = 0;
  virtual void MIDIClientDispose(MIDIClientRef client) = 0;
};

}  // namespace vrel
