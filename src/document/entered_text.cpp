// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/entered_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

namespace vrel {
namespace {

/// Unicode's white space and line ends, in UTF-8.
constexpr std::array<std::string_view, 25> blanks{" ",
                                                  "\t",
                                                  "\n",
                                                  "\v",
                                                  "\f",
                                                  "\r",
                                                  "\xC2\x85",
                                                  "\xC2\xA0",
                                                  "\xE1\x9A\x80",
                                                  "\xE2\x80\x80",
                                                  "\xE2\x80\x81",
                                                  "\xE2\x80\x82",
                                                  "\xE2\x80\x83",
                                                  "\xE2\x80\x84",
                                                  "\xE2\x80\x85",
                                                  "\xE2\x80\x86",
                                                  "\xE2\x80\x87",
                                                  "\xE2\x80\x88",
                                                  "\xE2\x80\x89",
                                                  "\xE2\x80\x8A",
                                                  "\xE2\x80\xA8",
                                                  "\xE2\x80\xA9",
                                                  "\xE2\x80\xAF",
                                                  "\xE2\x81\x9F",
                                                  "\xE3\x80\x80"};

}  // namespace

std::string_view withoutBlanksAround(std::string_view text) {
  const auto leads = [&text](std::string_view blank) { return text.starts_with(blank); };
  const auto trails = [&text](std::string_view blank) { return text.ends_with(blank); };
  const auto* blank = blanks.end();
  while ((blank = std::find_if(blanks.begin(), blanks.end(), leads)) != blanks.end()) {
    text.remove_prefix(blank->size());
  }
  while ((blank = std::find_if(blanks.begin(), blanks.end(), trails)) != blanks.end()) {
    text.remove_suffix(blank->size());
  }
  return text;
}

std::optional<std::int64_t> enteredInteger(std::string_view text) {
  text = withoutBlanksAround(text);
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) {
      return std::nullopt;
    }
  }
  std::int64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [parsed, error] = std::from_chars(text.data(), end, number);
  return error == std::errc{} && parsed == end ? std::optional(number) : std::nullopt;
}

}  // namespace vrel
