// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "foundation/result.h"

namespace vrel {

struct PropertyListValue;

using PropertyListData = std::vector<std::uint8_t>;
using PropertyListArray = std::vector<PropertyListValue>;
using PropertyListDictionary = std::map<std::string, PropertyListValue>;

/// One value of a property list, the form of plug-in state.
struct PropertyListValue {
  std::variant<bool, std::int64_t, double, std::string, PropertyListData, PropertyListArray, PropertyListDictionary>
      content;

  bool operator==(const PropertyListValue&) const = default;
};

/// Reads and writes property lists. Any thread.
class NSPropertyListSerialization {
 public:
  virtual ~NSPropertyListSerialization() = default;

  /// The binary form (format 200) of `dictionary`.
  [[nodiscard]] virtual Result<PropertyListData> dataFromPropertyList(const PropertyListDictionary& dictionary) = 0;

  /// The value that `data` holds, in binary or XML form. Fails on anything else, however broken.
  [[nodiscard]] virtual Result<PropertyListValue> propertyListFromData(const PropertyListData& data) = 0;
};

}  // namespace vrel
