// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/audio/packet_lane.h"

#include <algorithm>

namespace vrel::audio {
namespace {

/// Whether the packet is more than a single byte, as all that is routed.
bool isMessage(std::span<const std::uint8_t> packet) {
  return packet.size() >= 2;
}

}  // namespace

PacketLane::PacketLane(std::size_t fifoBytes, std::shared_ptr<OwedMessages> owed)
    : owed_(std::move(owed)), packets_(fifoBytes), reserved_(std::min(bytesForReleases, fifoBytes / 2)) {}

PacketLane::~PacketLane() {
  PlayedPacket rest;
  while (pop(rest)) {
  }
}

void PacketLane::beginBlock() noexcept {
  made_ = 0;
  passed_ = 0;
  isRouting_ = !owed_->any();
}

void PacketLane::add(std::uint32_t frame, std::span<const std::uint8_t> packet) noexcept {
  if (isRouting_ && isMessage(packet) && made_ < events_.size()) {
    events_[made_++] = {frame, {packet[0], packet[1], packet.size() > 2 ? packet[2] : std::uint8_t{0}}};
  }
}

bool PacketLane::findsRoom(std::span<const std::uint8_t> packet, bool isRouted) noexcept {
  if (packets_.room() >= reserved_ + ByteFifo::headBytes + 1 + packet.size()) {
    inReserve_ = {};
    return true;
  }
  const auto release = packet.size() == 3 ? MidiReleases::numberOf({packet[0], packet[1], packet[2]}) : std::nullopt;
  auto& taken = inReserve_[isRouted ? 1 : 0];
  if (!release || taken.test(*release)) {
    return false;
  }
  taken.set(*release);
  return true;
}

bool PacketLane::handOn(std::span<const std::uint8_t> packet) noexcept {
  bool isRouted = false;
  if (isMessage(packet) && passed_ < made_) {
    isRouted = events_[passed_++].isRouted;
  }
  const bool isOwed = isMessage(packet) && !isRouted;
  if (isOwed) {
    owed_->add();
  }
  const std::uint8_t mark = isRouted ? 1 : 0;
  const bool isTaken = findsRoom(packet, isRouted) && packets_.push({&mark, 1}, packet);
  if (isOwed && !isTaken) {
    owed_->settle();
  }
  return isTaken;
}

bool PacketLane::pop(PlayedPacket& packet) {
  packet.untilRouted.reset();
  if (!packets_.pop(packet.bytes)) {
    return false;
  }
  packet.areInstrumentsServed = packet.bytes.front() != 0;
  packet.bytes.erase(packet.bytes.begin());
  if (isMessage(packet.bytes) && !packet.areInstrumentsServed) {
    packet.untilRouted = OwedMessages::untilRouted(owed_);
  }
  return true;
}

}  // namespace vrel::audio
