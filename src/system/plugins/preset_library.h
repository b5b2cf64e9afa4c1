// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>

#include "foundation/result.h"
#include "platform/plugin_presets.h"
#include "platform/property_list.h"

namespace vrel {

/// Where the data of a preset is.
struct PresetPlace {
  std::string uri;
  std::string file;  // empty: among the data of the plug-in itself

  bool operator==(const PresetPlace&) const = default;
};

/// The presets of one plug-in on this machine. Any thread; requests return at once, and a handler is called once, on
/// any thread, or never when the program ends first.
class PresetLibrary {
 public:
  using PlaceHandler = std::function<void(Result<PresetPlace>)>;

  virtual ~PresetLibrary() = default;

  /// See PluginPresets.
  virtual void list(PluginPresets::ListHandler handler) = 0;

  /// Finds a preset whose data can be read.
  virtual void locate(const std::string& identifier, PlaceHandler handler) = 0;

  /// Writes a state of the plug-in, as `fullStateForDocument` gives it, as a preset of the user.
  virtual void save(PropertyListDictionary state, const std::string& name, bool mayReplace,
                    PluginPresets::SaveHandler handler) = 0;

  virtual void remove(const std::string& identifier, PluginPresets::Handler handler) = 0;
};

}  // namespace vrel
