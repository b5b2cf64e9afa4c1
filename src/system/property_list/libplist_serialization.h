// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/property_list.h"

namespace vrel::system {

/// Property lists, through libplist: written in their binary form, read in that and as XML.
///
/// Reading is strict: bytes that are not a valid property list never reach the library's parser, and a value that a
/// PropertyListValue cannot hold (a date, a number beyond 64 bits, a string with a zero in it) fails the whole list
/// instead of being dropped. Stateless; any thread may use it.
class LibplistSerialization final : public NSPropertyListSerialization {
 public:
  [[nodiscard]] Result<PropertyListData> dataFromPropertyList(const PropertyListDictionary& dictionary) override;
  [[nodiscard]] Result<PropertyListValue> propertyListFromData(const PropertyListData& data) override;
};

}  // namespace vrel::system
