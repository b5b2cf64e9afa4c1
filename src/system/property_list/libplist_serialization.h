// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/property_list.h"

namespace vrel::system {

/// Property lists in their binary form, through libplist.
///
/// Reading is strict: bytes that are no sound binary property list never reach the library, and a
/// value that a PropertyListValue can not hold (a date, a number past 64 bits, text with a zero in
/// it) makes the whole list fail rather than go missing. Holds no state; any thread may use it.
class LibplistSerialization final : public NSPropertyListSerialization {
 public:
  [[nodiscard]] Result<PropertyListData> dataFromPropertyList(const PropertyListDictionary& dictionary) override;
  [[nodiscard]] Result<PropertyListValue> propertyListFromData(const PropertyListData& data) override;
};

}  // namespace vrel::system
