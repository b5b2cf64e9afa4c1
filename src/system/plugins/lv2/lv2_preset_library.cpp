// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/lv2_preset_library.h"

#include <utility>

#include "system/plugins/lv2/preset_files.h"
#include "system/plugins/lv2/preset_list.h"

namespace vrel::lv2 {
namespace {

const Error notInstalled{"component not installed"};

}  // namespace

void Lv2PresetLibrary::post(std::function<void(Lv2World&, const PluginDescription*)> work) const {
  if (const auto world = world_.lock()) {
    // A strong hold in the work would let the world end on its own thread.
    world->thread().post([weak = world_, codes = codes_, work = std::move(work)] {
      if (const auto held = weak.lock()) {
        work(*held, held->find(codes).get());
      }
    });
  }
}

void Lv2PresetLibrary::list(PluginPresets::ListHandler handler) {
  post([handler = std::move(handler)](Lv2World& world, const PluginDescription* description) {
    handler(description == nullptr ? std::vector<AUAudioUnitPreset>() : listPresets(world, *description));
  });
}

void Lv2PresetLibrary::locate(const std::string& identifier, PlaceHandler handler) {
  post([identifier, handler = std::move(handler)](Lv2World& world, const PluginDescription* description) {
    if (description != nullptr) {
      (void)world.libraryPlugin(description->uri);  // reads the bundles with its presets
    }
    handler(locatePreset(world, identifier));
  });
}

void Lv2PresetLibrary::save(PropertyListDictionary state, const std::string& name, bool mayReplace,
                            PluginPresets::SaveHandler handler) {
  post([state = std::move(state), name, mayReplace, handler = std::move(handler)](
           Lv2World& world, const PluginDescription* description) {
    if (description == nullptr) {
      handler(notInstalled);
      return;
    }
    const auto snapshot = fromPropertyList(state, *description);
    handler(snapshot ? savePreset(world, *description, snapshot.value(), name, mayReplace)
                     : Result<AUAudioUnitPreset>(snapshot.error()));
  });
}

void Lv2PresetLibrary::remove(const std::string& identifier, PluginPresets::Handler handler) {
  post([identifier, handler = std::move(handler)](Lv2World& world, const PluginDescription* description) {
    handler(description == nullptr ? Outcome(notInstalled) : deletePreset(world, *description, identifier));
  });
}

}  // namespace vrel::lv2
