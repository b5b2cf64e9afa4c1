// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "platform/property_list.h"

namespace vrel::simulation {

/// Property lists without a format: the bytes are a key to a value kept here. Failures on demand.
class SimulatedPropertyLists : public NSPropertyListSerialization {
 public:
  Result<PropertyListData> dataFromPropertyList(const PropertyListDictionary& dictionary) override {
    ++encodings;
    if (failure) {
      return *failure;
    }
    return ticketFor({dictionary});
  }

  Result<PropertyListValue> propertyListFromData(const PropertyListData& data) override {
    const auto entry = values_.find(data);
    if (entry == values_.end()) {
      return Error{"not a property list"};
    }
    return entry->second;
  }

  /// The bytes of any value, a dictionary or not. Equal values have equal bytes.
  PropertyListData ticketFor(const PropertyListValue& value) {
    for (const auto& [ticket, known] : values_) {
      if (known == value) {
        return ticket;
      }
    }
    PropertyListData ticket{'p', 'l', static_cast<std::uint8_t>(values_.size())};
    values_.emplace(ticket, value);
    return ticket;
  }

  /// When set, every encoding fails with this.
  std::optional<Error> failure;
  int encodings = 0;

 private:
  std::map<PropertyListData, PropertyListValue> values_;
};

}  // namespace vrel::simulation
