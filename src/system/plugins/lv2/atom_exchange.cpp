// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/atom_exchange.h"

#include <algorithm>
#include <cstring>

namespace vrel::lv2 {
namespace {

constexpr std::size_t portBytes = sizeof(std::uint32_t);

}  // namespace

AtomExchange::AtomExchange() {
  // The block allocates nothing.
  delivered_.reserve(toPluginBytes);
  collected_.resize(fromPluginBytes);
}

bool AtomExchange::send(std::uint32_t port, std::span<const std::uint8_t> atom) {
  sent_.resize(portBytes + atom.size());
  std::memcpy(sent_.data(), &port, portBytes);
  std::copy(atom.begin(), atom.end(), sent_.begin() + portBytes);
  return toPlugin_.push(sent_);
}

void AtomExchange::takeAll(const std::function<void(std::uint32_t, std::span<const std::uint8_t>)>& take) {
  while (fromPlugin_.pop(taken_)) {
    std::uint32_t port = 0;
    std::memcpy(&port, taken_.data(), portBytes);
    take(port, std::span<const std::uint8_t>(taken_).subspan(portBytes));
  }
}

void AtomExchange::forget() {
  while (toPlugin_.pop(delivered_)) {
  }
}

void AtomExchange::deliver(PortBuffers& ports) noexcept {
  while (toPlugin_.pop(delivered_)) {
    std::uint32_t port = 0;
    std::memcpy(&port, delivered_.data(), portBytes);
    (void)ports.appendAtom(port, std::span<const std::uint8_t>(delivered_).subspan(portBytes));
  }
}

void AtomExchange::collect(const PortBuffers& ports) noexcept {
  if (!isWatched_.load(std::memory_order_relaxed)) {
    return;
  }
  ports.forEachOutputAtom([this](std::uint32_t port, std::span<const std::uint8_t> atom) noexcept {
    if (portBytes + atom.size() <= collected_.size()) {
      std::memcpy(collected_.data(), &port, portBytes);
      std::memcpy(collected_.data() + portBytes, atom.data(), atom.size());
      (void)fromPlugin_.push(std::span<const std::uint8_t>(collected_).first(portBytes + atom.size()));
    }
  });
}

}  // namespace vrel::lv2
