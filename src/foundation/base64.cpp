// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/base64.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace vrel {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint32_t noDigit = 0xFF;

constexpr std::array<std::uint8_t, 256> digitValues = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(static_cast<std::uint8_t>(noDigit));
  for (std::size_t value = 0; value < alphabet.size(); ++value) {
    values[static_cast<unsigned char>(alphabet[value])] = static_cast<std::uint8_t>(value);
  }
  return values;
}();

std::uint32_t digit(char character) {
  return digitValues[static_cast<unsigned char>(character)];
}

std::uint8_t byteOf(std::uint32_t group, unsigned shift) {
  return static_cast<std::uint8_t>(group >> shift);
}

}  // namespace

std::string base64Encode(std::span<const std::uint8_t> bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
    std::uint32_t group = 0;
    for (std::size_t index = 0; index < 3; ++index) {
      group = (group << 8U) | (index < count ? bytes[at + index] : 0U);
    }
    for (std::size_t index = 0; index < 4; ++index) {
      text.push_back(index <= count ? alphabet[(group >> (18 - 6 * index)) & 0x3FU] : '=');
    }
  }
  return text;
}

std::optional<std::vector<std::uint8_t>> base64Decode(std::string_view text) {
  if (text.size() % 4 != 0) {
    return std::nullopt;
  }
  const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with("=") ? 1 : 0;
  std::vector<std::uint8_t> bytes;
  bytes.reserve(text.size() / 4 * 3);
  for (std::size_t at = 0; at < text.size(); at += 4) {
    const std::size_t padded = at + 4 == text.size() ? padding : 0;
    std::uint32_t group = 0;
    for (std::size_t index = 0; index < 4; ++index) {
      const std::uint32_t value = index < 4 - padded ? digit(text[at + index]) : 0;
      if (value == noDigit) {
        return std::nullopt;
      }
      group = (group << 6U) | value;
    }
    const std::uint32_t unused = padded == 2 ? 0xFFFFU : padded == 1 ? 0xFFU : 0U;
    if ((group & unused) != 0) {
      return std::nullopt;
    }
    for (std::size_t index = 0; index < 3 - padded; ++index) {
      bytes.push_back(byteOf(group, static_cast<unsigned>(16 - 8 * index)));
    }
  }
  return bytes;
}

}  // namespace vrel
