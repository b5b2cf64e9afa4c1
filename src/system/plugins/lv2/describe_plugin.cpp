// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/describe_plugin.h"

#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/midi/midi.h>
#include <lv2/port-groups/port-groups.h>
#include <lv2/resize-port/resize-port.h>
#include <lv2/state/state.h>
#include <lv2/time/time.h>

#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include "system/plugins/lv2/component_codes.h"
#include "system/plugins/lv2/lilv_pointers.h"

namespace vrel::lv2 {
namespace {

constexpr const char* sideChainProperty = LV2_CORE_PREFIX "isSideChain";
constexpr const char* rdfType = "http://www.w3.org/1999/02/22-rdf-syntax-ns#type";
constexpr const char* doapName = "http://usefulinc.com/ns/doap#name";

std::string text(const LilvNode* node) {
  const char* characters = node != nullptr ? lilv_node_as_string(node) : nullptr;
  return characters != nullptr ? characters : "";
}

std::string path(const LilvNode* node) {
  const HeapText characters(node != nullptr ? lilv_file_uri_parse(lilv_node_as_uri(node), nullptr) : nullptr);
  return characters ? characters.get() : "";
}

/// The number in `node`, NaN when it has none.
float number(const LilvNode* node) {
  const bool isNumber = node != nullptr && (lilv_node_is_float(node) || lilv_node_is_int(node));
  return isNumber ? lilv_node_as_float(node) : std::numeric_limits<float>::quiet_NaN();
}

struct Designation {
  const char* uri;
  HostControl control;
};

constexpr std::array designations{
    Designation{LV2_CORE__freeWheeling, HostControl::freeWheeling},
    Designation{LV2_CORE__enabled, HostControl::enabled},
    Designation{LV2_TIME__speed, HostControl::speed},
    Designation{LV2_TIME__frame, HostControl::frame},
    Designation{LV2_TIME__bar, HostControl::bar},
    Designation{LV2_TIME__barBeat, HostControl::barBeat},
    Designation{LV2_TIME__beat, HostControl::beat},
    Designation{LV2_TIME__beatUnit, HostControl::beatUnit},
    Designation{LV2_TIME__beatsPerBar, HostControl::beatsPerBar},
    Designation{LV2_TIME__beatsPerMinute, HostControl::beatsPerMinute},
};

/// Reads one plug-in; holds what every question needs.
class Reader {
 public:
  Reader(LilvWorld* world, const LilvPlugin* plugin) : world_(world), plugin_(plugin) {}

  [[nodiscard]] PluginDescription read() const {
    PluginDescription description;
    description.uri = text(lilv_plugin_get_uri(plugin_));
    description.name = text(Node(lilv_plugin_get_name(plugin_)).get());
    if (description.name.empty()) {
      description.name = nameFromUri(description.uri);
    }
    description.manufacturerName = manufacturer(description.uri);
    description.bundlePath = path(lilv_plugin_get_bundle_uri(plugin_));
    description.libraryPath = path(lilv_plugin_get_library_uri(plugin_));
    description.isInstrumentClass = lilv_nodes_contains(values(rdfType).get(), uri(LV2_CORE__InstrumentPlugin).get());
    description.wantsDefaultState = lilv_plugin_has_feature(plugin_, uri(LV2_STATE__loadDefaultState).get());
    readRequiredFeatures(description);
    const std::uint32_t portCount = lilv_plugin_get_num_ports(plugin_);
    for (std::uint32_t index = 0; index < portCount; ++index) {
      description.ports.push_back(readPort(index));
    }
    return description;
  }

 private:
  [[nodiscard]] Node uri(const char* address) const { return Node(lilv_new_uri(world_, address)); }
  [[nodiscard]] Nodes values(const char* predicate) const {
    return Nodes(lilv_plugin_get_value(plugin_, uri(predicate).get()));
  }

  [[nodiscard]] std::string manufacturer(const std::string& pluginUri) const {
    std::string name = text(Node(lilv_plugin_get_author_name(plugin_)).get());
    if (!name.empty()) {
      return name;
    }
    if (const Node project{lilv_plugin_get_project(plugin_)}) {
      name = text(Node(lilv_world_get(world_, project.get(), uri(doapName).get(), nullptr)).get());
    }
    return name.empty() ? manufacturerFromUri(pluginUri) : name;
  }

  void readRequiredFeatures(PluginDescription& description) const {
    const Nodes features(lilv_plugin_get_required_features(plugin_));
    for (LilvIter* step = lilv_nodes_begin(features.get()); !lilv_nodes_is_end(features.get(), step);
         step = lilv_nodes_next(features.get(), step)) {
      description.requiredFeatures.push_back(text(lilv_nodes_get(features.get(), step)));
    }
  }

  [[nodiscard]] PortDescription readPort(std::uint32_t index) const {
    const LilvPort* port = lilv_plugin_get_port_by_index(plugin_, index);
    PortDescription description;
    if (port == nullptr) {
      return description;
    }
    description.symbol = text(lilv_port_get_symbol(plugin_, port));
    description.isInput = isA(port, LV2_CORE__InputPort);
    description.isOptional = hasProperty(port, LV2_CORE__connectionOptional);
    description.kind = description.isInput || isA(port, LV2_CORE__OutputPort) ? kindOf(port) : PortKind::unsupported;
    if (description.kind == PortKind::control) {
      readRange(port, description);
      description.hostControl = description.isInput ? hostControlOf(port) : HostControl::none;
    } else if (description.kind == PortKind::atom) {
      readAtomPort(port, description);
    } else if (description.kind == PortKind::audio) {
      description.use = useOf(port, description.isInput);
      description.channelRank = channelRankOf(port);
    }
    return description;
  }

  [[nodiscard]] AudioUse useOf(const LilvPort* port, bool isInput) const {
    const Node group(lilv_port_get(plugin_, port, uri(LV2_PORT_GROUPS__group).get()));
    const Node chained(group ? lilv_world_get(world_, group.get(), uri(LV2_PORT_GROUPS__sideChainOf).get(), nullptr)
                             : nullptr);
    if (chained || hasProperty(port, sideChainProperty)) {
      return AudioUse::sideChain;
    }
    const Nodes mains = values(isInput ? LV2_PORT_GROUPS__mainInput : LV2_PORT_GROUPS__mainOutput);
    const bool isMain = lilv_nodes_size(mains.get()) == 0 || (group && lilv_nodes_contains(mains.get(), group.get()));
    return isMain ? AudioUse::main : AudioUse::spare;
  }

  [[nodiscard]] AudioChannelRank channelRankOf(const LilvPort* port) const {
    const std::string designation = text(Node(lilv_port_get(plugin_, port, uri(LV2_CORE__designation).get())).get());
    if (designation == LV2_PORT_GROUPS__left) {
      return AudioChannelRank::left;
    }
    if (designation == LV2_PORT_GROUPS__right) {
      return AudioChannelRank::right;
    }
    const bool isOther = designation.starts_with(LV2_PORT_GROUPS_PREFIX) && designation != LV2_PORT_GROUPS__center;
    return isOther ? AudioChannelRank::surround : AudioChannelRank::unnamed;
  }

  [[nodiscard]] PortKind kindOf(const LilvPort* port) const {
    if (isA(port, LV2_CORE__AudioPort)) {
      return PortKind::audio;
    }
    if (isA(port, LV2_CORE__ControlPort)) {
      return PortKind::control;
    }
    if (isA(port, LV2_CORE__CVPort)) {
      return PortKind::cv;
    }
    return isA(port, LV2_ATOM__AtomPort) ? PortKind::atom : PortKind::unsupported;
  }

  void readRange(const LilvPort* port, PortDescription& description) const {
    LilvNode* initial = nullptr;
    LilvNode* minimum = nullptr;
    LilvNode* maximum = nullptr;
    lilv_port_get_range(plugin_, port, &initial, &minimum, &maximum);
    const Node owned[] = {Node(initial), Node(minimum), Node(maximum)};
    description.defaultValue = number(initial);
    description.minimum = number(minimum);
    description.maximum = number(maximum);
    description.scalesWithRate = hasProperty(port, LV2_CORE__sampleRate);
  }

  [[nodiscard]] HostControl hostControlOf(const LilvPort* port) const {
    const Node designation(lilv_port_get(plugin_, port, uri(LV2_CORE__designation).get()));
    const auto found = std::find_if(designations.begin(), designations.end(), [&](const Designation& each) {
      return designation && lilv_node_equals(designation.get(), uri(each.uri).get());
    });
    return found == designations.end() ? HostControl::none : found->control;
  }

  void readAtomPort(const LilvPort* port, PortDescription& description) const {
    description.takesMidi =
        description.isInput && lilv_port_supports_event(plugin_, port, uri(LV2_MIDI__MidiEvent).get());
    description.takesTime =
        description.isInput && lilv_port_supports_event(plugin_, port, uri(LV2_TIME__Position).get());
    const Node designation(lilv_port_get(plugin_, port, uri(LV2_CORE__designation).get()));
    description.isDesignated = designation && lilv_node_equals(designation.get(), uri(LV2_CORE__control).get());
    const Node size(lilv_port_get(plugin_, port, uri(LV2_RESIZE_PORT__minimumSize).get()));
    if (size && lilv_node_is_int(size.get()) && lilv_node_as_int(size.get()) > 0) {
      description.minimumBytes = static_cast<std::uint32_t>(lilv_node_as_int(size.get()));
    }
  }

  [[nodiscard]] bool isA(const LilvPort* port, const char* portClass) const {
    return lilv_port_is_a(plugin_, port, uri(portClass).get());
  }
  [[nodiscard]] bool hasProperty(const LilvPort* port, const char* property) const {
    return lilv_port_has_property(plugin_, port, uri(property).get());
  }

  LilvWorld* world_;
  const LilvPlugin* plugin_;
};

}  // namespace

PluginDescription describePlugin(LilvWorld* world, const LilvPlugin* plugin) {
  PluginDescription description = Reader(world, plugin).read();
  description.codes = componentCodes(componentTypeOf(description), description.uri);
  return description;
}

}  // namespace vrel::lv2
