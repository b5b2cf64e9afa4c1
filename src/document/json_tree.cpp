// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/json_tree.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vrel {
namespace {

using nlohmann::json;

// Far beyond what a setlist needs, and far below what could harm.
constexpr std::size_t deepestNesting = 200;
constexpr std::size_t longestLibraryText = 200;

/// The code of the escape \uXXXX at `position`; none if there is none.
std::optional<unsigned> escapedCode(std::string_view text, std::size_t position) {
  constexpr std::size_t escapeLength = 6;
  const std::string_view escape = text.substr(std::min(position, text.size()), escapeLength);
  if (escape.size() != escapeLength || !escape.starts_with("\\u")) {
    return std::nullopt;
  }
  unsigned code = 0;
  const char* const end = escape.data() + escape.size();
  return std::from_chars(escape.data() + 2, end, code, 16).ptr == end ? std::optional(code) : std::nullopt;
}

/// A JSON text without escapes of lone surrogates, and the strings that had some, keys included, by their number.
struct Repaired {
  std::string text;
  std::vector<std::size_t> strings;
};

Repaired withoutLoneSurrogates(std::string_view bytes) {
  constexpr unsigned firstHigh = 0xD800;
  constexpr unsigned firstLow = 0xDC00;
  constexpr unsigned behindLow = 0xE000;
  Repaired repaired{std::string(bytes), {}};
  std::size_t number = 0;
  bool isInString = false;
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    if (bytes[at] == '"') {
      number += isInString ? 1U : 0U;
      isInString = !isInString;
    }
    if (!isInString || bytes[at] != '\\') {
      continue;
    }
    const auto code = escapedCode(bytes, at);
    const auto next = escapedCode(bytes, at + 6);
    if (!code) {
      at += 1;
    } else if (*code < firstHigh || *code >= behindLow) {
      at += 5;
    } else if (*code < firstLow && next && *next >= firstLow && *next < behindLow) {
      at += 11;
    } else {
      repaired.text.replace(at + 2, 4, "fffd");
      repaired.strings.push_back(number);
      at += 5;
    }
  }
  return repaired;
}

/// Builds the tree of a document, as the library's own builder does, but ends at a nesting that only
/// a hostile file has, and keeps the reason of a failure instead of throwing it.
class TreeBuilder final : public json::json_sax_t {
 public:
  /// The strings with these numbers, in rising order, become binary values.
  TreeBuilder(json& root, const std::vector<std::size_t>& unusableStrings)
      : root_(root), unusableStrings_(unusableStrings) {}

  bool null() override { return add(nullptr); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(number_integer_t value) override { return add(value); }
  bool number_unsigned(number_unsigned_t value) override { return add(value); }
  bool number_float(number_float_t value, const string_t&) override { return add(value); }
  // Copied, not moved: the scanner goes on using its buffer, and the copy is no larger than the text.
  bool string(string_t& value) override {
    const bool isUnusable = std::binary_search(unusableStrings_.begin(), unusableStrings_.end(), stringCount_++);
    return isUnusable ? add(json::binary({})) : add(value);
  }
  bool binary(binary_t&) override { return false; }
  bool start_object(std::size_t) override { return open(json::object()); }
  bool start_array(std::size_t) override { return open(json::array()); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }

  bool key(string_t& name) override {
    ++stringCount_;
    member_ = &(*open_.back())[name];
    return true;
  }

  bool parse_error(std::size_t position, const std::string&, const json::exception& reason) override {
    failure_ = Error{"byte " + std::to_string(position) + ": " + libraryText(reason.what())};
    return false;
  }

  /// Why the parse ended early, if it did.
  [[nodiscard]] const Error& failure() const { return failure_; }

 private:
  json& place(json value) {
    if (open_.empty()) {
      return root_ = std::move(value);
    }
    if (open_.back()->is_array()) {
      return open_.back()->emplace_back(std::move(value));
    }
    return *member_ = std::move(value);
  }

  bool add(json value) {
    place(std::move(value));
    return true;
  }

  bool open(json container) {
    if (open_.size() == deepestNesting) {
      failure_ = Error{"the document is nested deeper than " + std::to_string(deepestNesting) + " levels"};
      return false;
    }
    open_.push_back(&place(std::move(container)));
    return true;
  }

  bool close() {
    open_.pop_back();
    return true;
  }

  // The library quotes what it read last, be it megabytes of anything.
  static std::string libraryText(std::string_view what) {
    if (const auto prefix = what.find("] "); prefix != std::string_view::npos) {
      what.remove_prefix(prefix + 2);
    }
    std::string text(what.substr(0, longestLibraryText));
    for (char& character : text) {
      if (character < ' ' || character > '~') {
        character = '?';
      }
    }
    return text;
  }

  json& root_;
  const std::vector<std::size_t>& unusableStrings_;
  std::size_t stringCount_ = 0;
  std::vector<json*> open_;
  json* member_ = nullptr;
  Error failure_;
};

Outcome parse(std::string_view bytes, const std::vector<std::size_t>& unusableStrings, json& tree) {
  tree = nullptr;
  TreeBuilder builder(tree, unusableStrings);
  if (!json::sax_parse(bytes.begin(), bytes.end(), &builder)) {
    return builder.failure();
  }
  return {};
}

}  // namespace

Outcome parseJson(std::string_view bytes, json& tree) {
  // The scanner takes a zero byte for the end of its input and would pass over what follows.
  if (const auto zero = bytes.find('\0'); zero != std::string_view::npos) {
    return Error{"byte " + std::to_string(zero + 1) + ": unexpected zero byte"};
  }
  auto failure = parse(bytes, {}, tree);
  if (!failure) {
    return {};
  }
  // The library refuses a lone surrogate wherever it is.
  const Repaired repaired = withoutLoneSurrogates(bytes);
  return repaired.strings.empty() ? failure : parse(repaired.text, repaired.strings, tree);
}

}  // namespace vrel
