// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/property_list/xml_form_guard.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <system_error>
#include <vector>

#include "system/property_list/binary_form_guard.h"

namespace vrel::system {
namespace {

constexpr std::string_view blanks = " \t\r\n";
constexpr std::string_view base64Characters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/= \t\r\n";

std::string_view textOf(std::span<const std::uint8_t> data) {
  return {reinterpret_cast<const char*>(data.data()), data.size()};
}

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(blanks);
  return first == std::string_view::npos ? std::string_view()
                                         : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool isContainer(std::string_view name) {
  return name == "plist" || name == "array" || name == "dict";
}

bool isLeaf(std::string_view name) {
  constexpr std::array<std::string_view, 7> leaves{"key", "string", "integer", "real", "true", "false", "data"};
  return std::find(leaves.begin(), leaves.end(), name) != leaves.end();
}

/// The elements of the document, one after the other.
class XmlWalk {
 public:
  explicit XmlWalk(std::string_view text) : rest_(text) {}

  Outcome run() {
    while (!failure_) {
      const auto tag = rest_.find('<');
      if (tag == std::string_view::npos) {
        break;
      }
      content_ = rest_.substr(0, tag);
      rest_.remove_prefix(tag);
      step();
    }
    if (!failure_ && (!open_.empty() || elements_ == 0)) {
      fail("property list ends early");
    }
    return failure_;
  }

 private:
  struct Element {
    std::string_view name;
    std::size_t children;
  };

  void step() {
    if (rest_.starts_with("<!--")) {
      skipBehind("-->");
    } else if (rest_.starts_with("<![CDATA[")) {
      skipBehind("]]>");
    } else if (rest_.starts_with("<?")) {
      skipBehind("?>");
    } else if (rest_.starts_with("<!")) {
      const std::string_view declaration = take(">");
      if (!declaration.starts_with("<!DOCTYPE") || declaration.find('[') != std::string_view::npos) {
        fail("property list declares entities");
      }
    } else if (rest_.starts_with("</")) {
      close(trimmed(take(">").substr(2)));
    } else {
      open(take(">").substr(1));
    }
  }

  /// What is before `end`, which is passed, too.
  std::string_view take(std::string_view end) {
    const auto found = rest_.find(end);
    if (found == std::string_view::npos) {
      fail("property list ends early");
      rest_ = {};
      return "  ";
    }
    const std::string_view taken = rest_.substr(0, found);
    rest_.remove_prefix(found + end.size());
    return taken;
  }
  void skipBehind(std::string_view end) { take(end); }

  void open(std::string_view tag) {
    const bool isEmpty = tag.ends_with('/');
    const std::string_view name = tag.substr(0, std::min(tag.find_first_of(blanks), tag.size() - (isEmpty ? 1 : 0)));
    if (!isContainer(name) && !isLeaf(name)) {
      return fail("property list holds a value of an unknown kind");
    }
    if (!mayFollow(name)) {
      return fail("property list is damaged");
    }
    if (++elements_ > maximumPropertyListValues) {
      return fail("property list holds too many values");
    }
    if (open_.size() > static_cast<std::size_t>(maximumPropertyListDepth)) {
      return fail("property list is nested too deeply");
    }
    if (isEmpty && (name == "integer" || name == "real")) {
      return fail("property list holds a number that is damaged");
    }
    if (!isEmpty) {
      open_.push_back({name, 0});
    }
  }

  /// Whether the element may be the next one here: one value at the top, keys and values alternately in a dictionary.
  bool mayFollow(std::string_view name) {
    if (open_.empty()) {
      return name == "plist" && elements_ == 0;
    }
    Element& parent = open_.back();
    const bool isKey = parent.name == "dict" && parent.children % 2 == 0;
    const bool hasRoom = parent.name != "plist" || parent.children == 0;
    ++parent.children;
    return isContainer(parent.name) && hasRoom && name != "plist" && isKey == (name == "key");
  }

  void close(std::string_view name) {
    if (open_.empty() || open_.back().name != name) {
      return fail("property list is damaged");
    }
    const std::size_t children = open_.back().children;
    if ((name == "plist" && children == 0) || (name == "dict" && children % 2 != 0) ||
        (name == "data" && content_.find_first_not_of(base64Characters) != std::string_view::npos)) {
      return fail("property list is damaged");
    }
    if (name == "integer" && !isInteger(trimmed(content_))) {
      return fail("property list holds a number that is damaged or too large");
    }
    open_.pop_back();
  }

  static bool isInteger(std::string_view text) {
    std::int64_t number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    return read.ec == std::errc() && read.ptr == text.data() + text.size();
  }

  void fail(const char* reason) {
    if (!failure_) {
      failure_ = Error{reason};
    }
  }

  std::string_view rest_;
  std::string_view content_;  // before the present tag
  std::vector<Element> open_;
  std::uint64_t elements_ = 0;
  Outcome failure_;
};

}  // namespace

bool isXmlForm(std::span<const std::uint8_t> data) {
  const std::string_view text = textOf(data);
  const auto first = text.find_first_not_of(blanks);
  return first != std::string_view::npos && text[first] == '<';
}

Outcome checkXmlForm(std::span<const std::uint8_t> data) {
  const std::string_view text = textOf(data);
  if (text.size() > maximumPropertyListBytes) {
    return Error{"property list is too large"};
  }
  if (text.find('\0') != std::string_view::npos) {
    return Error{"property list is damaged"};
  }
  return XmlWalk(text).run();
}

}  // namespace vrel::system
