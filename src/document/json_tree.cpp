// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/json_tree.h"

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

namespace vrel {
namespace {

using nlohmann::json;

// Far beyond what a setlist needs, and far below what could harm.
constexpr std::size_t deepestNesting = 200;
constexpr std::size_t longestLibraryText = 200;

/// Builds the tree of a document, as the library's own builder does, but ends at a nesting that only
/// a hostile file has, and keeps the reason of a failure instead of throwing it.
class TreeBuilder final : public json::json_sax_t {
 public:
  explicit TreeBuilder(json& root) : root_(root) {}

  bool null() override { return add(nullptr); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(number_integer_t value) override { return add(value); }
  bool number_unsigned(number_unsigned_t value) override { return add(value); }
  bool number_float(number_float_t value, const string_t&) override { return add(value); }
  // Copied, not moved: the scanner goes on using its buffer, and the copy is no larger than the text.
  bool string(string_t& value) override { return add(value); }
  bool binary(binary_t&) override { return false; }
  bool start_object(std::size_t) override { return open(json::object()); }
  bool start_array(std::size_t) override { return open(json::array()); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }

  bool key(string_t& name) override {
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
  std::vector<json*> open_;
  json* member_ = nullptr;
  Error failure_;
};

}  // namespace

Outcome parseJson(std::string_view bytes, json& tree) {
  // The scanner takes a zero byte for the end of its input and would pass over what follows.
  if (const auto zero = bytes.find('\0'); zero != std::string_view::npos) {
    return Error{"byte " + std::to_string(zero + 1) + ": unexpected zero byte"};
  }
  tree = nullptr;
  TreeBuilder builder(tree);
  if (!json::sax_parse(bytes.begin(), bytes.end(), &builder)) {
    return builder.failure();
  }
  return {};
}

}  // namespace vrel
