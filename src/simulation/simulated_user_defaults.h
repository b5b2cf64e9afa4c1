// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>

#include "platform/user_defaults.h"

namespace vrel::simulation {

/// Settings in memory.
class SimulatedUserDefaults : public NSUserDefaults {
 public:
  std::optional<std::string> stringForKey(const std::string& key) override {
    const auto entry = values.find(key);
    const auto* text = entry == values.end() ? nullptr : std::get_if<std::string>(&entry->second);
    return text != nullptr ? std::optional(*text) : std::nullopt;
  }
  std::int64_t integerForKey(const std::string& key) override {
    const auto entry = values.find(key);
    const auto* number = entry == values.end() ? nullptr : std::get_if<std::int64_t>(&entry->second);
    return number != nullptr ? *number : 0;
  }
  void setString(const std::string& key, const std::string& value) override {
    values[key] = value;
    ++writeCount;
  }
  void setInteger(const std::string& key, std::int64_t value) override {
    values[key] = value;
    ++writeCount;
  }
  void removeObjectForKey(const std::string& key) override {
    values.erase(key);
    ++writeCount;
  }

  std::map<std::string, std::variant<std::string, std::int64_t>> values;
  int writeCount = 0;
};

}  // namespace vrel::simulation
