// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace vrel {

using Bytes = std::vector<std::uint8_t>;

/// Puts values behind each other, in the machine's own byte order: both ends are the same machine.
class ByteWriter {
 public:
  template <typename Number>
  void number(Number value) {
    static_assert(std::is_arithmetic_v<Number>);
    const auto* raw = reinterpret_cast<const std::uint8_t*>(&value);
    bytes_.insert(bytes_.end(), raw, raw + sizeof value);
  }
  void text(std::string_view text) {
    number(static_cast<std::uint32_t>(text.size()));
    bytes_.insert(bytes_.end(), text.begin(), text.end());
  }
  void data(std::span<const std::uint8_t> data) {
    number(static_cast<std::uint32_t>(data.size()));
    bytes_.insert(bytes_.end(), data.begin(), data.end());
  }
  [[nodiscard]] Bytes take() { return std::move(bytes_); }

 private:
  Bytes bytes_;
};

/// Takes them out again, from bytes that may be anything: what is not there reads as zero or empty, and
/// from then on `ok` is false.
class ByteReader {
 public:
  explicit ByteReader(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

  template <typename Number>
  [[nodiscard]] Number number() {
    static_assert(std::is_arithmetic_v<Number>);
    Number value{};
    if (const auto raw = raws(sizeof value); raw.size() == sizeof value) {
      std::memcpy(&value, raw.data(), sizeof value);
    }
    return value;
  }
  [[nodiscard]] std::string text() {
    const auto raw = raws(number<std::uint32_t>());
    return {raw.begin(), raw.end()};
  }
  [[nodiscard]] Bytes data() {
    const auto raw = raws(number<std::uint32_t>());
    return {raw.begin(), raw.end()};
  }

  [[nodiscard]] bool ok() const { return ok_; }
  [[nodiscard]] bool isAtEnd() const { return rest_.empty(); }
  [[nodiscard]] std::size_t remaining() const { return rest_.size(); }

 private:
  std::span<const std::uint8_t> raws(std::size_t size) {
    if (!ok_ || size > rest_.size()) {
      ok_ = false;
      return {};
    }
    const auto raw = rest_.first(size);
    rest_ = rest_.subspan(size);
    return raw;
  }

  std::span<const std::uint8_t> rest_;
  bool ok_ = true;
};

}  // namespace vrel
