// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vrel {

/// A position in a JSON document, as a chain up to the root that lives on the stack. Costs
/// nothing until its text is needed.
class DocumentPlace {
 public:
  DocumentPlace() = default;

  [[nodiscard]] DocumentPlace member(std::string_view key) const { return {this, key, 0}; }
  [[nodiscard]] DocumentPlace element(std::size_t index) const { return {this, {}, index}; }

  /// Such as "songs[2].channels[0].min_note".
  [[nodiscard]] std::string text() const { return parent_ == nullptr ? "the document" : pathText(); }

 private:
  DocumentPlace(const DocumentPlace* parent, std::string_view key, std::size_t index)
      : parent_(parent), key_(key), index_(index) {}

  [[nodiscard]] std::string pathText() const {
    if (parent_ == nullptr) {
      return {};
    }
    const std::string before = parent_->pathText();
    if (key_.data() == nullptr) {
      return before + "[" + std::to_string(index_) + "]";
    }
    return before + (before.empty() ? "" : ".") + std::string(key_);
  }

  const DocumentPlace* parent_ = nullptr;
  std::string_view key_{};
  std::size_t index_ = 0;
};

}  // namespace vrel
