// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vrel {

/// Settings of the user that outlive the program, by key. Main thread. No operation fails: a store that
/// can not be written keeps the values for this run and tells so in a line of the console.
class NSUserDefaults {
 public:
  virtual ~NSUserDefaults() = default;

  /// The text under `key`; none when there is none.
  [[nodiscard]] virtual std::optional<std::string> stringForKey(const std::string& key) = 0;

  /// The whole number under `key`; 0 when there is none or it is no number.
  [[nodiscard]] virtual std::int64_t integerForKey(const std::string& key) = 0;

  virtual void setString(const std::string& key, const std::string& value) = 0;
  virtual void setInteger(const std::string& key, std::int64_t value) = 0;
  virtual void removeObjectForKey(const std::string& key) = 0;
};

}  // namespace vrel
