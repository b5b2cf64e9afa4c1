// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

namespace vrel {

/// A 128-bit identifier that lives in memory only: it names a record, a strip or an asynchronous
/// session while the program runs, and is never written to a file.
///
/// A default-made Uuid is the nil value; `Uuid::fresh()` gives a random one (RFC 4122, version 4).
class Uuid {
 public:
  Uuid() = default;
  static Uuid fresh();

  /// Upper-case text in groups of 8-4-4-4-12 hexadecimal digits.
  [[nodiscard]] std::string text() const;

  bool operator==(const Uuid&) const = default;
  auto operator<=>(const Uuid&) const = default;

 private:
  friend struct std::hash<Uuid>;
  std::array<std::uint64_t, 2> words_{};
};

}  // namespace vrel

template <>
struct std::hash<vrel::Uuid> {
  std::size_t operator()(const vrel::Uuid& id) const noexcept {
    return static_cast<std::size_t>(id.words_[0] ^ id.words_[1]);
  }
};
