// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/user_defaults/ini_text.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace vrel::system {
namespace {

constexpr std::string_view hexDigits = "0123456789abcdef";

bool isControl(char character) {
  const auto code = static_cast<unsigned char>(character);
  return code < 0x20 || code == 0x7F;
}

/// Appends a byte as a hexadecimal escape.
void appendHex(std::string& text, char character) {
  const auto code = static_cast<unsigned char>(character);
  text += "\\x";
  text += hexDigits[code >> 4U];
  text += hexDigits[code & 0xFU];
}

/// The bytes of the UTF-8 sequence at the front of `text`, 0 if there is none.
std::size_t utf8Length(std::string_view text) {
  const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned lead = byte(0);
  if (lead < 0x80) {
    return 1;
  }
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || length > text.size()) {
    return 0;
  }
  std::uint32_t code = lead & (0x7FU >> length);
  for (std::size_t index = 1; index < length; ++index) {
    if ((byte(index) & 0xC0U) != 0x80) {
      return 0;
    }
    code = code << 6U | (byte(index) & 0x3FU);
  }
  const bool isOverlong = code < (length == 3 ? 0x800U : length == 4 ? 0x10000U : 0x80U);
  return isOverlong || (code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF ? 0 : length;
}

std::string escaped(std::string_view text, bool isKey) {
  std::string result;
  for (std::size_t index = 0; index < text.size();) {
    const char character = text[index];
    const std::size_t length = utf8Length(text.substr(index));
    const bool isEdge = index == 0 || index + 1 == text.size();
    if (length == 0 || (isControl(character) && character != '\n') || (character == ' ' && isEdge)) {
      appendHex(result, character);
    } else if (character == '\n') {
      result += "\\n";
    } else if (character == '\\' ||
               (isKey && (character == '=' || character == '[' || character == ';' || character == '#'))) {
      result += '\\';
      result += character;
    } else {
      result += text.substr(index, length);
    }
    index += length == 0 ? 1 : length;
  }
  return result;
}

/// The character of the escape at the front of `text` (after the backslash), which is taken off.
std::optional<char> takeEscape(std::string_view& text) {
  if (text.empty()) {
    return std::nullopt;
  }
  const char kind = text.front();
  text.remove_prefix(1);
  if (kind == 'n') {
    return '\n';
  }
  if (kind == 'x') {
    const auto high = text.size() < 2 ? std::string_view::npos : hexDigits.find(text[0]);
    const auto low = text.size() < 2 ? std::string_view::npos : hexDigits.find(text[1]);
    if (high == std::string_view::npos || low == std::string_view::npos) {
      return std::nullopt;
    }
    text.remove_prefix(2);
    return static_cast<char>(high << 4U | low);
  }
  constexpr std::string_view literalCharacters = "\\=[;#";
  return literalCharacters.find(kind) == std::string_view::npos ? std::nullopt : std::optional(kind);
}

/// Takes text with its escapes resolved up to `end` (or to the end of `line`); none if it is malformed.
std::optional<std::string> take(std::string_view& line, std::optional<char> end) {
  std::string result;
  while (!line.empty()) {
    const char character = line.front();
    if (end && character == *end) {
      return result;
    }
    const std::size_t length = utf8Length(line);
    if (length == 0 || (isControl(character) && character != '\t')) {
      return std::nullopt;
    }
    if (character == '\\') {
      line.remove_prefix(1);
      const auto meant = takeEscape(line);
      if (!meant) {
        return std::nullopt;
      }
      result += *meant;
      continue;
    }
    result += line.substr(0, length);
    line.remove_prefix(length);
  }
  return end ? std::nullopt : std::optional(std::move(result));
}

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r");
  return first == std::string_view::npos ? std::string_view()
                                         : text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

/// The length without trailing blanks.
std::size_t endWithoutBlanks(std::string_view text) {
  return text.find_last_not_of(" \t") + 1;
}

bool readLine(std::string_view line, std::map<std::string, std::string>& values) {
  if (line.empty() || line.front() == ';' || line.front() == '#') {
    return true;
  }
  if (line.front() == '[') {
    return line.back() == ']';
  }
  std::string_view rest = line;
  auto key = take(rest, '=');
  if (!key) {
    return false;
  }
  // Blanks right before the `=` are not part of the key; those of the key itself are escaped.
  const std::string_view written = line.substr(0, line.size() - rest.size());
  key->resize(key->size() - (written.size() - endWithoutBlanks(written)));
  rest = trimmed(rest.substr(1));
  auto value = take(rest, std::nullopt);
  if (!value) {
    return false;
  }
  values.insert_or_assign(std::move(*key), std::move(*value));
  return true;
}

}  // namespace

IniContent readIni(std::string_view text) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(byteOrderMark)) {
    text.remove_prefix(byteOrderMark.size());
  }
  IniContent content;
  while (!text.empty()) {
    const auto end = text.find('\n');
    if (!readLine(trimmed(text.substr(0, end)), content.values)) {
      content.isDamaged = true;
    }
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return content;
}

std::string writeIni(const std::map<std::string, std::string>& values) {
  std::string text = "[defaults]\n";
  for (const auto& [key, value] : values) {
    text += escaped(key, true) + "=" + escaped(value, false) + "\n";
  }
  return text;
}

}  // namespace vrel::system
