// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>

#include "foundation/byte_fifo.h"
#include "foundation/midi_releases.h"
#include "foundation/thread_roles.h"
#include "system/audio/device_event.h"
#include "system/audio/owed_messages.h"

namespace vrel::audio {

/// What one MIDI port brings: first for the block, which routes it to the instruments, then for the main thread, with
/// a mark on each packet that says whether they have it.
///
/// A block gets nothing while the main thread owes the instruments an earlier message of the same sources.
///
/// While the reader takes nothing, the last of the room is for what ends a sound (keys, pedal and wheel released, the
/// messages of a panic). There each of them is taken once that the block has routed, and once that it has not, which is
/// enough: until the reader has taken that one, no block presses a key. So a lane of at least twice `bytesForReleases`
/// loses none that an instrument waits for.
///
/// Threads: `pop` on the reader's; the rest in the port's process callback.
class PacketLane {
 public:
  /// `owed` is shared by all ports that the same sources may be linked to.
  PacketLane(std::size_t fifoBytes, std::shared_ptr<OwedMessages> owed);
  /// What nobody has taken is owed no more.
  ~PacketLane();
  PacketLane(const PacketLane&) = delete;
  PacketLane& operator=(const PacketLane&) = delete;

  /// Begins a block, for which every packet is to come to `add`, ordered by frame.
  void beginBlock() noexcept VREL_AUDIO_THREAD;
  void add(std::uint32_t frame, std::span<const std::uint8_t> packet) noexcept VREL_AUDIO_THREAD;

  /// What the block may route, to be marked; until `beginBlock`.
  [[nodiscard]] std::span<DeviceEvent> events() noexcept VREL_AUDIO_THREAD { return std::span(events_).first(made_); }

  static constexpr std::size_t bytesForReleases = 2 * MidiReleases::count * (ByteFifo::headBytes + 1 + 3);

  /// Hands on the packets of the block, all of them in the same order; or any packet where no block has begun. False
  /// when it is dropped, since the reader has not taken enough.
  [[nodiscard]] bool handOn(std::span<const std::uint8_t> packet) noexcept VREL_AUDIO_THREAD;

  /// Moves the next packet into `packet`; false when there is none.
  [[nodiscard]] bool pop(PlayedPacket& packet);

 private:
  // More than a port of JACK's brings in a period; the main thread routes what is beyond.
  static constexpr std::size_t mostEvents = 4096;

  [[nodiscard]] bool findsRoom(std::span<const std::uint8_t> packet, bool isRouted) noexcept;

  const std::shared_ptr<OwedMessages> owed_;
  ByteFifo packets_;
  const std::size_t reserved_;  // bytes

  // The process callback's.
  bool isRouting_ = false;
  std::size_t made_ = 0;
  std::size_t passed_ = 0;                                       // of those made
  std::array<std::bitset<MidiReleases::count>, 2> inReserve_{};  // those not routed, those routed
  std::array<DeviceEvent, mostEvents> events_{};
};

}  // namespace vrel::audio
