// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/utf8.h"

#include <cstddef>
#include <cstdint>

namespace vrel {
namespace {

/// Bytes of the sequence that `lead` opens; 0 when no sequence begins so.
std::size_t sequenceLength(std::uint8_t lead) {
  if (lead < 0x80) {
    return 1;
  }
  if (lead >= 0xC2 && lead <= 0xDF) {
    return 2;
  }
  if (lead >= 0xE0 && lead <= 0xEF) {
    return 3;
  }
  return lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
}

/// The second byte is where overlong forms, surrogates and numbers past the end show.
bool secondByteFits(std::uint8_t lead, std::uint8_t second) {
  switch (lead) {
    case 0xE0:
      return second >= 0xA0;
    case 0xED:
      return second < 0xA0;
    case 0xF0:
      return second >= 0x90;
    case 0xF4:
      return second < 0x90;
    default:
      return true;
  }
}

}  // namespace

bool isValidUtf8(std::string_view text) {
  const auto byteAt = [text](std::size_t index) { return static_cast<std::uint8_t>(text[index]); };
  for (std::size_t index = 0; index < text.size();) {
    const std::size_t length = sequenceLength(byteAt(index));
    if (length == 0 || length > text.size() - index) {
      return false;
    }
    for (std::size_t step = 1; step < length; ++step) {
      if ((byteAt(index + step) & 0xC0) != 0x80) {
        return false;
      }
    }
    if (length > 2 && !secondByteFits(byteAt(index), byteAt(index + 1))) {
      return false;
    }
    index += length;
  }
  return true;
}

}  // namespace vrel
