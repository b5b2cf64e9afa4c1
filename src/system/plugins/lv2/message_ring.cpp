// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/message_ring.h"

#include <algorithm>

namespace vrel::lv2 {

bool MessageRing::write(std::span<const std::byte> message) {
  const std::uint32_t end = end_.load(std::memory_order_relaxed);
  const std::uint32_t used = end - begin_.load(std::memory_order_acquire);
  if (message.size() > maximumMessageBytes || used + sizeof(std::uint32_t) + message.size() > capacityBytes) {
    return false;
  }
  const auto length = static_cast<std::uint32_t>(message.size());
  copyIn(end, std::as_bytes(std::span(&length, 1)));
  copyIn(end + static_cast<std::uint32_t>(sizeof length), message);
  end_.store(end + static_cast<std::uint32_t>(sizeof length) + length, std::memory_order_release);
  return true;
}

std::optional<std::uint32_t> MessageRing::read(std::span<std::byte> out) {
  const std::uint32_t begin = begin_.load(std::memory_order_relaxed);
  if (begin == end_.load(std::memory_order_acquire)) {
    return std::nullopt;
  }
  std::uint32_t length = 0;
  copyOut(begin, std::as_writable_bytes(std::span(&length, 1)));
  copyOut(begin + static_cast<std::uint32_t>(sizeof length), out.first(length));
  begin_.store(begin + static_cast<std::uint32_t>(sizeof length) + length, std::memory_order_release);
  return length;
}

void MessageRing::copyIn(std::uint32_t position, std::span<const std::byte> bytes) {
  const std::size_t start = position % capacityBytes;
  const std::size_t untilEnd = std::min<std::size_t>(bytes.size(), capacityBytes - start);
  std::copy_n(bytes.begin(), untilEnd, storage_.begin() + static_cast<std::ptrdiff_t>(start));
  std::copy(bytes.begin() + static_cast<std::ptrdiff_t>(untilEnd), bytes.end(), storage_.begin());
}

void MessageRing::copyOut(std::uint32_t position, std::span<std::byte> bytes) const {
  const std::size_t start = position % capacityBytes;
  const std::size_t untilEnd = std::min<std::size_t>(bytes.size(), capacityBytes - start);
  std::copy_n(storage_.begin() + static_cast<std::ptrdiff_t>(start), untilEnd, bytes.begin());
  std::copy_n(storage_.begin(), bytes.size() - untilEnd, bytes.begin() + static_cast<std::ptrdiff_t>(untilEnd));
}

}  // namespace vrel::lv2
