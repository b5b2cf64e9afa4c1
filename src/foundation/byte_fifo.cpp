// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/byte_fifo.h"

#include <algorithm>
#include <array>
#include <bit>

namespace vrel {
namespace {

using Head = std::array<std::uint8_t, ByteFifo::headBytes>;  // the message's length

}  // namespace

ByteFifo::ByteFifo(std::size_t capacityBytes) : bytes_(capacityBytes), mask_(capacityBytes - 1) {}

bool ByteFifo::push(std::span<const std::uint8_t> first, std::span<const std::uint8_t> second) noexcept {
  const std::size_t length = first.size() + second.size();
  const std::size_t position = written_.load(std::memory_order_relaxed);
  const std::size_t free = room();
  if (free < headBytes || length > free - headBytes) {
    dropped_.fetch_add(1, std::memory_order_relaxed);
    return false;
  }
  copyIn(position, std::bit_cast<Head>(static_cast<std::uint32_t>(length)));
  copyIn(position + headBytes, first);
  copyIn(position + headBytes + first.size(), second);
  written_.store(position + headBytes + length, std::memory_order_release);
  return true;
}

bool ByteFifo::pop(std::vector<std::uint8_t>& message) {
  const std::size_t position = read_.load(std::memory_order_relaxed);
  if (position == written_.load(std::memory_order_acquire)) {
    return false;
  }
  Head head{};
  copyOut(position, head);
  message.resize(std::bit_cast<std::uint32_t>(head));
  copyOut(position + headBytes, message);
  read_.store(position + headBytes + message.size(), std::memory_order_release);
  return true;
}

void ByteFifo::copyIn(std::size_t position, std::span<const std::uint8_t> from) noexcept {
  const std::size_t start = position & mask_;
  const std::size_t untilEnd = std::min(from.size(), bytes_.size() - start);
  std::copy_n(from.data(), untilEnd, bytes_.data() + start);
  std::copy_n(from.data() + untilEnd, from.size() - untilEnd, bytes_.data());
}

void ByteFifo::copyOut(std::size_t position, std::span<std::uint8_t> to) const {
  const std::size_t start = position & mask_;
  const std::size_t untilEnd = std::min(to.size(), bytes_.size() - start);
  std::copy_n(bytes_.data() + start, untilEnd, to.data());
  std::copy_n(bytes_.data(), to.size() - untilEnd, to.data() + untilEnd);
}

}  // namespace vrel
