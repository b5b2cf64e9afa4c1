// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace vrel {

/// A long text that never changes: the state of a plug-in in a record. All copies share it, so that a setlist can be
/// copied as a whole, and compared with an earlier copy, in no time. Any thread.
class SharedText {
 public:
  /// Where a text comes from that may take its time. Any thread.
  class Source {
   public:
    virtual ~Source() = default;
    /// The text, or none if there turned out to be none; waits until that is known. Always the same.
    [[nodiscard]] virtual const std::optional<std::string>& text() const = 0;
  };

  SharedText() : source_(nothing()) {}
  explicit SharedText(std::shared_ptr<const Source> source) : source_(std::move(source)) {}
  // NOLINTBEGIN(google-explicit-constructor): a text and its shared form are one
  SharedText(std::string text) : source_(text.empty() ? nothing() : std::make_shared<Known>(std::move(text))) {}
  SharedText(const char* text) : SharedText(std::string(text)) {}
  operator const std::string&() const { return text(); }
  // NOLINTEND(google-explicit-constructor)

  /// Empty where there turned out to be none.
  [[nodiscard]] const std::string& text() const {
    static const std::string none;
    const auto& text = source_->text();
    return text ? *text : none;
  }
  /// Its source, if it is a T; null otherwise.
  template <typename T>
  [[nodiscard]] const T* sourceAs() const {
    return dynamic_cast<const T*>(source_.get());
  }
  [[nodiscard]] bool isThere() const { return source_->text().has_value(); }
  [[nodiscard]] std::size_t size() const { return text().size(); }

  friend bool operator==(const SharedText& one, const SharedText& other) {
    return one.source_ == other.source_ || one.source_->text() == other.source_->text();
  }
  friend bool operator==(const SharedText& one, const std::string& other) { return one.text() == other; }
  friend bool operator==(const SharedText& one, const char* other) { return one.text() == other; }

 private:
  class Known final : public Source {
   public:
    explicit Known(std::string text) : text_(std::move(text)) {}
    [[nodiscard]] const std::optional<std::string>& text() const override { return text_; }

   private:
    const std::optional<std::string> text_;
  };

  static const std::shared_ptr<const Source>& nothing() {
    static const std::shared_ptr<const Source> shared = std::make_shared<Known>(std::string());
    return shared;
  }

  std::shared_ptr<const Source> source_;
};

}  // namespace vrel
