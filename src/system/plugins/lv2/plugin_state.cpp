// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/plugin_state.h"

#include <lilv/lilv.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "foundation/mutex.h"
#include "system/plugins/lv2/atom_urids.h"

namespace vrel::lv2 {
namespace {

constexpr std::uint32_t stateFlags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;

/// What the plug-in's callbacks write to during a save.
struct Saving {
  UridMap& urids;
  AtomUrids atoms;
  std::vector<StateProperty> properties;
};

LV2_State_Status store(LV2_State_Handle handle, std::uint32_t key, const void* value, std::size_t size,
                       std::uint32_t type, std::uint32_t flags) {
  auto& saving = *static_cast<Saving*>(handle);
  const char* keyUri = saving.urids.unmap(key);
  const char* typeUri = saving.urids.unmap(type);
  if (keyUri == nullptr || (value == nullptr && size > 0)) {
    return LV2_STATE_ERR_UNKNOWN;
  }
  if (typeUri == nullptr) {
    return LV2_STATE_ERR_BAD_TYPE;
  }
  if ((flags & LV2_STATE_IS_POD) == 0) {
    return LV2_STATE_ERR_BAD_FLAGS;
  }
  const auto* bytes = static_cast<const std::uint8_t*>(value);
  StateProperty property{keyUri, typeUri, flags, PropertyListData(bytes, bytes + size), {}};
  PropertyListData probe = property.value;
  const bool isSound = saving.atoms.translate(type, probe, [&saving, &property](LV2_URID urid) {
    if (const char* uri = saving.urids.unmap(urid)) {
      property.uris.emplace(urid, uri);
    }
    return urid;
  });
  if (!isSound) {
    property.uris.clear();  // bytes of no known form: they are kept as they are
  }
  std::erase_if(saving.properties, [&property](const StateProperty& earlier) { return earlier.key == property.key; });
  saving.properties.push_back(std::move(property));
  return LV2_STATE_SUCCESS;
}

struct Restoring {
  UridMap& urids;
  std::vector<StateProperty> properties;  // with the numbers of this process in their values
};

const void* retrieve(LV2_State_Handle handle, std::uint32_t key, std::size_t* size, std::uint32_t* type,
                     std::uint32_t* flags) {
  auto& restoring = *static_cast<Restoring*>(handle);
  const char* keyUri = restoring.urids.unmap(key);
  const auto& all = restoring.properties;
  const auto found = std::find_if(all.begin(), all.end(), [keyUri](const StateProperty& property) {
    return keyUri != nullptr && property.key == keyUri;
  });
  const bool isThere = found != all.end();
  if (size != nullptr) {
    *size = isThere ? found->value.size() : 0;
  }
  if (type != nullptr) {
    *type = isThere ? restoring.urids.map(found->type) : 0;
  }
  if (flags != nullptr) {
    *flags = isThere ? found->flags : 0;
  }
  return isThere ? found->value.data() : nullptr;
}

void captureControls(HostedPlugin& plugin, StateSnapshot& snapshot) {
  const auto& ports = plugin.description().ports;
  for (std::uint32_t index = 0; index < ports.size(); ++index) {
    if (ports[index].isSetting()) {
      snapshot.ports.emplace(ports[index].symbol, plugin.ports().control(index));
    }
  }
}

void restoreControls(HostedPlugin& plugin, const StateSnapshot& snapshot) {
  plugin.ports().forgetControlChanges();  // they were of the earlier state
  const auto& ports = plugin.description().ports;
  for (std::uint32_t index = 0; index < ports.size(); ++index) {
    const auto value = snapshot.ports.find(ports[index].symbol);
    if (ports[index].isSetting() && value != snapshot.ports.end()) {
      plugin.ports().setControl(index, value->second);
    }
  }
}

/// The plug-in's own part. The caller holds the gate and the work mutex.
Outcome restoreProperties(HostedPlugin& plugin, const StateSnapshot& snapshot) {
  Result<std::vector<StateProperty>> properties = inThisProcess(plugin.urids(), snapshot.properties);
  if (!properties) {
    return properties.error();
  }
  if (const Outcome failure = plugin.files().placeFiles(snapshot.files)) {
    return failure;
  }
  Restoring restoring{plugin.urids(), std::move(properties).value()};
  const LV2_State_Status status =
      plugin.stateInterface()->restore(plugin.handle(), &retrieve, &restoring, stateFlags, plugin.features());
  if (status != LV2_STATE_SUCCESS) {
    return Error{"the plug-in could not read the state"};
  }
  return std::nullopt;
}

/// The caller holds the work mutex.
StateSnapshot capture(HostedPlugin& plugin) {
  StateSnapshot snapshot;
  captureControls(plugin, snapshot);
  if (plugin.stateInterface() == nullptr || plugin.stateInterface()->save == nullptr) {
    return snapshot;
  }
  Saving saving{plugin.urids(), AtomUrids(plugin.urids()), {}};
  plugin.files().beginSave();
  const LV2_State_Status status =
      plugin.stateInterface()->save(plugin.handle(), &store, &saving, stateFlags, plugin.features());
  std::string leftOut;
  snapshot.files = plugin.files().endSave(leftOut);
  snapshot.properties = std::move(saving.properties);
  if (status != LV2_STATE_SUCCESS) {
    plugin.log().write("could not save all of its state");
  }
  if (!leftOut.empty()) {
    plugin.log().write("files left out of its state: " + leftOut);
  }
  return snapshot;
}

/// Beside the plug-in's own, as the library calls it: the paths in a preset are the library's to find.
struct PresetRestoring {
  HostedPlugin& plugin;
  bool hasProperties = false;
  LV2_State_Status status = LV2_STATE_SUCCESS;
};

LV2_State_Status restoreFromPreset(LV2_Handle handle, LV2_State_Retrieve_Function read, LV2_State_Handle state,
                                   std::uint32_t flags, const LV2_Feature* const* features) {
  auto& restoring = *static_cast<PresetRestoring*>(handle);
  const LV2_State_Interface* const own = restoring.plugin.stateInterface();
  if (restoring.hasProperties && own != nullptr && own->restore != nullptr) {
    restoring.status = own->restore(restoring.plugin.handle(), read, state, flags, features);
  }
  return restoring.status;
}

const void* presetExtension(const char* uri) {
  static const LV2_State_Interface interface { nullptr, &restoreFromPreset };
  return std::string_view(uri) == LV2_STATE__interface ? &interface : nullptr;
}

std::vector<const LV2_Feature*> withoutPaths(const LV2_Feature* const* features) {
  std::vector<const LV2_Feature*> kept;
  for (; *features != nullptr; ++features) {
    const std::string_view uri = (*features)->URI;
    if (uri != LV2_STATE__mapPath && uri != LV2_STATE__freePath) {
      kept.push_back(*features);
    }
  }
  kept.push_back(nullptr);
  return kept;
}

/// Both the plug-in's own part and its controls. The caller holds the gate and the work mutex.
Outcome applyPreset(HostedPlugin& plugin, const LilvState* preset) {
  PresetRestoring restoring{plugin, lilv_state_get_num_properties(preset) > 0};
  const LV2_Descriptor descriptor{
      plugin.description().uri.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &presetExtension};
  LilvInstance stand{&descriptor, &restoring, nullptr};
  const auto features = withoutPaths(plugin.features());
  lilv_state_restore(preset, &stand, nullptr, nullptr, stateFlags, features.data());
  if (restoring.status != LV2_STATE_SUCCESS) {
    return Error{"the plug-in refused it"};
  }
  plugin.ports().forgetControlChanges();
  lilv_state_emit_port_values(preset, &HostedPlugin::setStoredControl, &plugin);
  return std::nullopt;
}

}  // namespace

Result<std::vector<StateProperty>> inThisProcess(UridMap& urids, const std::vector<StateProperty>& stored) {
  const AtomUrids atoms(urids);
  std::vector<StateProperty> properties = stored;
  for (StateProperty& property : properties) {
    if (property.uris.empty()) {
      continue;
    }
    bool isKnown = true;
    const bool isSound = atoms.translate(urids.map(property.type), property.value, [&](LV2_URID urid) {
      const auto uri = property.uris.find(urid);
      isKnown = isKnown && uri != property.uris.end();
      return uri == property.uris.end() ? LV2_URID{0} : urids.map(uri->second);
    });
    if (!isKnown || !isSound) {
      return Error{"state has a damaged value under " + property.key};
    }
  }
  return properties;
}

StateSnapshot captureState(HostedPlugin& plugin) {
  const MutexLock lock(plugin.worker().workMutex());
  return capture(plugin);
}

Outcome restoreState(HostedPlugin& plugin, const StateSnapshot& snapshot) {
  const MutexLock lock(plugin.worker().workMutex());
  Outcome failure;
  if (plugin.stateInterface() != nullptr && plugin.stateInterface()->restore != nullptr) {
    const StateSnapshot before = capture(plugin);
    failure = restoreProperties(plugin, snapshot);
    if (failure && restoreProperties(plugin, before)) {
      plugin.log().write("could not restore its own state");
    }
  }
  if (!failure) {
    restoreControls(plugin, snapshot);
  }
  plugin.settle();
  plugin.ports().showControls();
  return failure;
}

Outcome restorePreset(HostedPlugin& plugin, const LilvState* preset) {
  const MutexLock lock(plugin.worker().workMutex());
  const bool hasOwnState = plugin.stateInterface() != nullptr && plugin.stateInterface()->restore != nullptr;
  const StateSnapshot before = hasOwnState ? capture(plugin) : StateSnapshot{};
  const Outcome failure = applyPreset(plugin, preset);
  if (failure && hasOwnState && restoreProperties(plugin, before)) {
    plugin.log().write("could not restore its own state");
  }
  plugin.settle();
  plugin.ports().showControls();
  return failure;
}

}  // namespace vrel::lv2
