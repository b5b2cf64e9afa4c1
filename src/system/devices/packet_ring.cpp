// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/packet_ring.h"

#include <algorithm>
#include <array>
#include <bit>

namespace vrel::system {
namespace {

using Length = std::array<std::uint8_t, sizeof(std::uint32_t)>;

}  // namespace

bool PacketRing::push(std::span<const std::uint8_t> packet) noexcept {
  const std::size_t position = written_.load(std::memory_order_relaxed);
  const std::size_t room = bytes_.size() - (position - taken_.load(std::memory_order_acquire));
  if (room < sizeof(Length) || packet.size() > room - sizeof(Length)) {
    dropped_.fetch_add(1, std::memory_order_relaxed);
    return false;
  }
  write(position, std::bit_cast<Length>(static_cast<std::uint32_t>(packet.size())));
  write(position + sizeof(Length), packet);
  written_.store(position + sizeof(Length) + packet.size(), std::memory_order_release);
  return true;
}

bool PacketRing::pop(std::vector<std::uint8_t>& packet) {
  const std::size_t position = taken_.load(std::memory_order_relaxed);
  if (position == written_.load(std::memory_order_acquire)) {
    return false;
  }
  Length length{};
  read(position, length);
  packet.resize(std::bit_cast<std::uint32_t>(length));
  read(position + sizeof(Length), packet);
  taken_.store(position + sizeof(Length) + packet.size(), std::memory_order_release);
  return true;
}

void PacketRing::write(std::size_t position, std::span<const std::uint8_t> from) noexcept {
  const std::size_t start = position & mask_;
  const std::size_t untilEnd = std::min(from.size(), bytes_.size() - start);
  std::copy_n(from.data(), untilEnd, bytes_.data() + start);
  std::copy_n(from.data() + untilEnd, from.size() - untilEnd, bytes_.data());
}

void PacketRing::read(std::size_t position, std::span<std::uint8_t> to) const {
  const std::size_t start = position & mask_;
  const std::size_t untilEnd = std::min(to.size(), bytes_.size() - start);
  std::copy_n(bytes_.data() + start, untilEnd, to.data());
  std::copy_n(bytes_.data(), to.size() - untilEnd, to.data() + untilEnd);
}

}  // namespace vrel::system
