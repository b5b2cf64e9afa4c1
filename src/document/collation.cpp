// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/collation.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace vrel {
namespace {

constexpr wchar_t replacementCharacter = 0xFFFD;

/// The scalar value at the front of `text`, which is taken off; a replacement for a byte that is none.
wchar_t takeCharacter(std::string_view& text) {
  const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned lead = byteAt(0);
  const std::size_t length = lead < 0x80   ? 1
                             : lead < 0xC0 ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF8 ? 4
                                           : 0;
  std::uint32_t value = length < 2 ? lead : lead & (0x7FU >> length);
  bool valid = length > 0 && length <= text.size();
  for (std::size_t index = 1; valid && index < length; ++index) {
    valid = (byteAt(index) & 0xC0U) == 0x80;
    value = (value << 6U) | (byteAt(index) & 0x3FU);
  }
  valid = valid && value <= 0x10FFFF && !(value >= 0xD800 && value <= 0xDFFF);
  text.remove_prefix(valid ? length : 1);
  return valid ? static_cast<wchar_t>(value) : replacementCharacter;
}

}  // namespace

std::locale localeNamed(const char* name) {
  try {
    return std::locale(name);
  } catch (const std::runtime_error&) {
    return std::locale::classic();
  }
}

const std::locale& userLocale() {
  static const std::locale locale = localeNamed("");
  return locale;
}

std::wstring caseFolded(std::string_view text, const std::locale& locale) {
  std::wstring characters;
  while (!text.empty()) {
    characters.push_back(takeCharacter(text));
  }
  wchar_t* const begin = characters.data();
  std::use_facet<std::ctype<wchar_t>>(locale).tolower(begin, begin + characters.size());
  return characters;
}

std::wstring collationKey(std::string_view name, const std::locale& locale) {
  const std::wstring characters = caseFolded(name, locale);
  return std::use_facet<std::collate<wchar_t>>(locale).transform(characters.data(),
                                                                 characters.data() + characters.size());
}

}  // namespace vrel
