// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "document/plugin_path.h"
#include "document/setlist.h"
#include "engine/plugin_pool.h"
#include "foundation/base64.h"
#include "system/plugins/sandbox/sandbox_stage.h"
#include "system/property_list/libplist_serialization.h"

namespace vrel {

inline constexpr const char* sineUri = "urn:vrel:zoo:sine";
inline constexpr const char* stateUri = "urn:vrel:zoo:state";
inline constexpr const char* gainUri = "urn:vrel:zoo:gain";

/// A state as a setlist holds it.
inline std::string textOf(const PropertyListDictionary& state) {
  const auto bytes = system::LibplistSerialization().dataFromPropertyList(state);
  EXPECT_TRUE(bytes.ok());
  return bytes.ok() ? base64Encode(bytes.value()) : "";
}

enum class Place { inProcess, sandboxed };

class RealPlugins : public sandbox::SandboxStage {
 protected:
  [[nodiscard]] AudioUnitFactory& factoryIn(Place place) {
    return place == Place::inProcess ? static_cast<AudioUnitFactory&>(*inProcess_.factory) : *factory_;
  }
  [[nodiscard]] AVAudioUnitComponent component(const char* uri) const { return inProcess_.component(uri); }

  [[nodiscard]] PluginComponentResolver resolver() const {
    return [components = all()](const std::string& key) { return resolvePluginPath(key, components); };
  }
  [[nodiscard]] std::vector<AVAudioUnitComponent> all() const {
    return {component(sineUri), component(stateUri), component(gainUri)};
  }

  /// The state plug-in's state with a number below 100 in it, and a file that says another from 100.
  [[nodiscard]] std::string keptState(std::uint8_t number, std::uint8_t inFile) const {
    lv2::Player player(inProcess_.make(stateUri).unit);
    player.send(0x90, number, 1);
    player.send(0x90, inFile, 1);
    player.block(1);
    return textOf(player.unit().auAudioUnit().fullStateForDocument().value_or(PropertyListDictionary{}));
  }

  [[nodiscard]] AudioPluginSlot gainSlot(double gain) const {
    auto state = inProcess_.make(gainUri).unit->auAudioUnit().fullStateForDocument().value_or(PropertyListDictionary{});
    std::get<PropertyListDictionary>(state["ports"].content)["gain"] = {gain};
    AudioPluginSlot slot;
    slot.pluginPath = pluginKey(component(gainUri));
    slot.stateBase64 = textOf(state);
    return slot;
  }
};

}  // namespace vrel
