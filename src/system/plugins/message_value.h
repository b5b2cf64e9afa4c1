// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <limits>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "platform/message_parameters.h"

namespace vrel {

/// What a parameter without a port is: a number, or text, such as the path of a file.
struct MessageValue {
  AUParameterAddress address = 0;
  std::variant<double, std::string> value;

  bool operator==(const MessageValue&) const = default;
};

/// What is known of the parameters of one plug-in. Not thread-safe.
class MessageValues {
 public:
  void note(const MessageValue& each) { values_[each.address] = each.value; }

  /// Not a number for one that is not known.
  [[nodiscard]] float number(AUParameterAddress address) const {
    const auto found = values_.find(address);
    const auto* const number = found == values_.end() ? nullptr : std::get_if<double>(&found->second);
    return number != nullptr ? static_cast<float>(*number) : std::numeric_limits<float>::quiet_NaN();
  }
  [[nodiscard]] std::string text(AUParameterAddress address) const {
    const auto found = values_.find(address);
    const auto* const text = found == values_.end() ? nullptr : std::get_if<std::string>(&found->second);
    return text != nullptr ? *text : std::string();
  }

 private:
  std::map<AUParameterAddress, std::variant<double, std::string>> values_;
};

}  // namespace vrel
