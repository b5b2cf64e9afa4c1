// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace vrel {

/// A failure in words a person can act on. Failures are values here; exceptions of a library
/// stop in its adaptor.
struct Error {
  std::string description;

  bool operator==(const Error&) const = default;
};

/// The outcome of an operation that has no result but may fail: empty means success.
using Outcome = std::optional<Error>;

/// Either the value asked for or the reason why there is none.
template <typename T>
class Result {
 public:
  Result(T value) : content_(std::in_place_index<0>, std::move(value)) {}
  Result(Error error) : content_(std::in_place_index<1>, std::move(error)) {}

  [[nodiscard]] bool ok() const { return content_.index() == 0; }
  explicit operator bool() const { return ok(); }

  /// The value; asking for it in a failed result is a programming fault.
  [[nodiscard]] const T& value() const& { return std::get<0>(content_); }
  [[nodiscard]] T& value() & { return std::get<0>(content_); }
  [[nodiscard]] T&& value() && { return std::get<0>(std::move(content_)); }

  /// The reason; asking for it in a successful result is a programming fault.
  [[nodiscard]] const Error& error() const { return std::get<1>(content_); }

 private:
  std::variant<T, Error> content_;
};

}  // namespace vrel
