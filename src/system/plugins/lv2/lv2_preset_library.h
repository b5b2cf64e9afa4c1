// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "platform/audio_component.h"
#include "system/plugins/lv2/lv2_world.h"
#include "system/plugins/preset_library.h"

namespace vrel::lv2 {

/// The presets of one LV2 plug-in; handlers are called on the world thread, or not at all when the world ends.
class Lv2PresetLibrary final : public PresetLibrary {
 public:
  Lv2PresetLibrary(std::weak_ptr<Lv2World> world, const AudioComponentDescription& codes)
      : world_(std::move(world)), codes_(codes) {}

  void list(PluginPresets::ListHandler handler) override;
  void locate(const std::string& identifier, PlaceHandler handler) override;
  void save(PropertyListDictionary state, const std::string& name, bool mayReplace,
            PluginPresets::SaveHandler handler) override;
  void remove(const std::string& identifier, PluginPresets::Handler handler) override;

 private:
  /// `work` gets the world and the plug-in, or null for one that is not installed.
  void post(std::function<void(Lv2World&, const PluginDescription*)> work) const;

  const std::weak_ptr<Lv2World> world_;
  const AudioComponentDescription codes_;
};

}  // namespace vrel::lv2
