// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lv2/atom/atom.h>
#include <lv2/atom/forge.h>

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "system/plugins/lv2/property_description.h"
#include "system/plugins/lv2/urid_map.h"
#include "system/plugins/message_value.h"

namespace vrel::lv2 {

/// The messages about the parameters of one plug-in that have no port (patch:Set, patch:Put, patch:Get). Atoms are
/// whole, head and body. One thread.
class PatchProperties {
 public:
  PatchProperties(UridMap& urids, PropertyDescriptions described);
  PatchProperties(const PatchProperties&) = delete;
  PatchProperties& operator=(const PatchProperties&) = delete;

  [[nodiscard]] bool isEmpty() const { return described_.all.empty(); }

  /// Of the plug-in, where these messages go.
  [[nodiscard]] std::uint32_t port() const { return described_.port; }

  /// Asks the plug-in for all of them.
  [[nodiscard]] std::vector<std::uint8_t> question() const;

  /// Sets one; numbers are brought inside the bounds. None for one that cannot be set so.
  [[nodiscard]] std::optional<std::vector<std::uint8_t>> setting(const MessageValue& wanted) const;

  /// What an atom of the plug-in says of them; nothing for any other atom, and for a damaged one.
  [[nodiscard]] std::vector<MessageValue> read(std::span<const std::uint8_t> atom) const;

 private:
  struct Known {
    const PropertyDescription* property;
    LV2_URID range;
  };
  struct Types {
    explicit Types(UridMap& urids);
    LV2_URID object, blank, resource, path, text, boolean, integer, longInteger, real, longReal, uri, urid;
    LV2_URID set, put, get, property, value, body;
  };

  void note(LV2_URID key, LV2_URID type, std::span<const std::uint8_t> value, std::vector<MessageValue>& found) const;
  void forgeText(LV2_Atom_Forge& forge, LV2_URID range, const std::string& text) const;
  void forgeNumber(LV2_Atom_Forge& forge, LV2_URID range, double value) const;
  [[nodiscard]] bool isObject(LV2_URID type) const;

  UridMap& urids_;
  const PropertyDescriptions described_;
  const Types types_;
  std::map<LV2_URID, Known> byUrid_;
};

}  // namespace vrel::lv2
