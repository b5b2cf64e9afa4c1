// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/json_nodes.h"

#include <bit>
#include <charconv>
#include <optional>
#include <system_error>
#include <utility>

#include "document/json_text.h"
#include "foundation/utf8.h"

namespace vrel {
namespace {

constexpr std::size_t deepestNodes = 200;                 // as json_tree.cpp
constexpr std::size_t mostNodes = std::size_t{1} << 23U;  // far beyond a setlist of a thousand songs

std::optional<unsigned> hexCode(std::string_view digits) {
  unsigned code = 0;
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
  const bool isWhole = digits.size() == 4 && read.ec == std::errc() && read.ptr == digits.data() + digits.size();
  return isWhole ? std::optional(code) : std::nullopt;
}

void appendUtf8(std::string& text, unsigned code) {
  const auto add = [&text](unsigned byte) { text.push_back(static_cast<char>(byte)); };
  const auto addRest = [&](unsigned shift) { add(0x80U | ((code >> shift) & 0x3FU)); };
  if (code < 0x80) {
    add(code);
  } else if (code < 0x800) {
    add(0xC0U | (code >> 6U));
    addRest(0);
  } else if (code < 0x10000) {
    add(0xE0U | (code >> 12U));
    addRest(6);
    addRest(0);
  } else {
    add(0xF0U | (code >> 18U));
    addRest(12);
    addRest(6);
    addRest(0);
  }
}

std::size_t digitsAt(std::string_view text, std::size_t at) {
  const std::size_t begin = at;
  while (at < text.size() && text[at] >= '0' && text[at] <= '9') {
    ++at;
  }
  return at - begin;
}

}  // namespace

const JsonNode* JsonNode::find(std::string_view key) const {
  const JsonNode* found = nullptr;
  for (const JsonNode* name = begin(); name != end();) {
    const JsonNode* const value = name->next();
    if (name->text == key) {
      found = value;
    }
    name = value->next();
  }
  return found;
}

bool JsonNodes::parse(std::string_view text) {
  text_ = text;
  at_ = 0;
  nodes_.clear();
  unescaped_.clear();
  if (!value(0)) {
    return false;
  }
  skipBlanks();
  return at_ == text_.size();
}

void JsonNodes::skipBlanks() {
  while (at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\n' || text_[at_] == '\r' || text_[at_] == '\t')) {
    ++at_;
  }
}

bool JsonNodes::take(char character) {
  skipBlanks();
  if (at_ < text_.size() && text_[at_] == character) {
    ++at_;
    return true;
  }
  return false;
}

bool JsonNodes::add(const JsonNode& node) {
  if (nodes_.size() == mostNodes) {
    return false;
  }
  nodes_.push_back(node);
  return true;
}

bool JsonNodes::word(std::string_view word, JsonNode::Kind kind, bool isTrue) {
  if (text_.substr(at_, word.size()) != word) {
    return false;
  }
  at_ += word.size();
  return add({.kind = kind, .bits = isTrue ? 1U : 0U});
}

bool JsonNodes::value(std::size_t depth) {
  skipBlanks();
  if (at_ == text_.size()) {
    return false;
  }
  switch (text_[at_]) {
    case '{':
      return depth < deepestNodes && object(depth + 1);
    case '[':
      return depth < deepestNodes && array(depth + 1);
    case '"':
      return string();
    case 't':
      return word("true", JsonNode::Kind::boolean, true);
    case 'f':
      return word("false", JsonNode::Kind::boolean, false);
    case 'n':
      return word("null", JsonNode::Kind::null, false);
    default:
      return number();
  }
}

bool JsonNodes::array(std::size_t depth) {
  const std::size_t opened = nodes_.size();
  if (!add({.kind = JsonNode::Kind::array})) {
    return false;
  }
  ++at_;
  if (!take(']')) {
    do {
      if (!value(depth)) {
        return false;
      }
    } while (take(','));
    if (!take(']')) {
      return false;
    }
  }
  nodes_[opened].span = static_cast<std::uint32_t>(nodes_.size() - opened);
  return true;
}

bool JsonNodes::object(std::size_t depth) {
  const std::size_t opened = nodes_.size();
  if (!add({.kind = JsonNode::Kind::object})) {
    return false;
  }
  ++at_;
  if (!take('}')) {
    do {
      skipBlanks();
      if (at_ == text_.size() || text_[at_] != '"' || !string() || !take(':') || !value(depth)) {
        return false;
      }
    } while (take(','));
    if (!take('}')) {
      return false;
    }
  }
  nodes_[opened].span = static_cast<std::uint32_t>(nodes_.size() - opened);
  return true;
}

bool JsonNodes::string() {
  const std::size_t begin = ++at_;
  bool isAscii = true;
  while (true) {
    at_ += plainBytes(text_.substr(at_));
    if (at_ == text_.size()) {
      return false;
    }
    const auto byte = static_cast<unsigned char>(text_[at_]);
    if (byte == '\\') {
      return escapedString(begin);
    }
    if (byte == '"') {
      break;
    }
    if (byte < 0x80) {
      return false;  // a control character
    }
    isAscii = false;
    ++at_;
  }
  const std::string_view text = text_.substr(begin, at_++ - begin);
  return (isAscii || isValidUtf8(text)) && add({.kind = JsonNode::Kind::string, .text = text});
}

bool JsonNodes::escapedString(std::size_t begin) {
  std::string text(text_.substr(begin, at_ - begin));
  while (at_ < text_.size() && text_[at_] != '"') {
    const auto byte = static_cast<unsigned char>(text_[at_]);
    if (byte == '\\') {
      ++at_;
      if (!escape(text)) {
        return false;
      }
    } else if (byte < ' ') {
      return false;
    } else {
      const std::size_t count = byte < 0x80 ? plainBytes(text_.substr(at_)) : 1;
      text.append(text_.substr(at_, count));
      at_ += count;
    }
  }
  if (at_ == text_.size() || !isValidUtf8(text)) {
    return false;
  }
  ++at_;
  return add({.kind = JsonNode::Kind::string, .text = unescaped_.emplace_back(std::move(text))});
}

/// What follows a backslash. A lone surrogate is not taken.
bool JsonNodes::escape(std::string& into) {
  constexpr std::string_view letters = "\"\\/bfnrt";
  constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
  constexpr unsigned firstHigh = 0xD800;
  constexpr unsigned firstLow = 0xDC00;
  constexpr unsigned behindLow = 0xE000;
  if (at_ == text_.size()) {
    return false;
  }
  const char letter = text_[at_++];
  if (letter != 'u') {
    const auto place = letters.find(letter);
    if (place == std::string_view::npos) {
      return false;
    }
    into.push_back(meanings[place]);
    return true;
  }
  auto code = hexCode(text_.substr(at_, 4));
  if (!code) {
    return false;
  }
  at_ += 4;
  if (*code >= firstHigh && *code < behindLow) {
    const bool isPair = *code < firstLow && text_.substr(at_, 2) == "\\u";
    const auto low = isPair ? hexCode(text_.substr(at_ + 2, 4)) : std::nullopt;
    if (!low || *low < firstLow || *low >= behindLow) {
      return false;
    }
    at_ += 6;
    code = 0x10000 + ((*code - firstHigh) << 10U) + (*low - firstLow);
  }
  appendUtf8(into, *code);
  return true;
}

bool JsonNodes::number() {
  const std::size_t begin = at_;
  const bool isNegative = text_[at_] == '-';
  at_ += isNegative ? 1U : 0U;
  const std::size_t digits = digitsAt(text_, at_);
  if (digits == 0 || (digits > 1 && text_[at_] == '0')) {
    return false;
  }
  at_ += digits;
  bool isWhole = true;
  if (at_ < text_.size() && text_[at_] == '.') {
    const std::size_t decimals = digitsAt(text_, at_ + 1);
    if (decimals == 0) {
      return false;
    }
    at_ += 1 + decimals;
    isWhole = false;
  }
  if (at_ < text_.size() && (text_[at_] == 'e' || text_[at_] == 'E')) {
    ++at_;
    at_ += at_ < text_.size() && (text_[at_] == '+' || text_[at_] == '-') ? 1U : 0U;
    const std::size_t exponent = digitsAt(text_, at_);
    if (exponent == 0) {
      return false;
    }
    at_ += exponent;
    isWhole = false;
  }
  const auto reads = [&](auto& number) {
    return std::from_chars(text_.data() + begin, text_.data() + at_, number).ec == std::errc();
  };
  std::int64_t integer = 0;
  if (isWhole && isNegative && reads(integer)) {
    return add({.kind = JsonNode::Kind::integer, .bits = std::bit_cast<std::uint64_t>(integer)});
  }
  std::uint64_t unsignedInteger = 0;
  if (isWhole && !isNegative && reads(unsignedInteger)) {
    return add({.kind = JsonNode::Kind::unsignedInteger, .bits = unsignedInteger});
  }
  double floating = 0;
  return reads(floating) && add({.kind = JsonNode::Kind::floating, .bits = std::bit_cast<std::uint64_t>(floating)});
}

}  // namespace vrel
