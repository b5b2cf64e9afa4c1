// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A plug-in's state as values, and its form as a property list:
//
//   "format"        1
//   "uri", "name"   which plug-in it is of, the name for people only
//   "type", "subtype", "manufacturer"   the three codes
//   "ports"         dictionary: control input by symbol, real
//   "properties"    array of what the plug-in stored itself, in its order; of each
//                   "key", "type" URIs, "flags" integer, "value" bytes, and, where the value has URI
//                   numbers in it, "uris": dictionary from number to URI
//   "files"         dictionary: content by name, of the files that the plug-in made itself

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "foundation/result.h"
#include "platform/property_list.h"
#include "system/plugins/lv2/plugin_description.h"

namespace vrel::lv2 {

struct StateProperty {
  std::string key;
  std::string type;
  std::uint32_t flags = 0;
  PropertyListData value;
  std::map<std::uint32_t, std::string> uris;
};

struct StateSnapshot {
  std::map<std::string, float> ports;
  std::vector<StateProperty> properties;
  std::map<std::string, PropertyListData> files;
};

/// The property list of `snapshot`, marked as being of the plug-in described.
[[nodiscard]] PropertyListDictionary toPropertyList(const StateSnapshot& snapshot,
                                                    const PluginDescription& description);

/// The state in `dictionary`. Fails when it is of another plug-in or has not the form above.
[[nodiscard]] Result<StateSnapshot> fromPropertyList(const PropertyListDictionary& dictionary,
                                                     const PluginDescription& description);

}  // namespace vrel::lv2
