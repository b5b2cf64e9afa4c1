// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vrel {

/// The user's persistent settings, by key. Main thread. No operation fails: a store that cannot be written
/// keeps the values for this run and logs the failure.
class NSUserDefaults {
 public:
  virtual ~NSUserDefaults() = default;

  /// The string under `key`; none when there is none.
  [[nodiscard]] virtual std::optional<std::string> stringForKey(const std::string& key) = 0;

  /// The integer under `key`; 0 when there is none or it is not a number.
  [[nodiscard]] virtual std::int64_t integerForKey(const std::string& key) = 0;

  virtual void setString(const std::string& key, const std::string& value) = 0;
  virtual void setInteger(const std::string& key, std::int64_t value) = 0;
  virtual void removeObjectForKey(const std::string& key) = 0;
};

}  // namespace vrel
