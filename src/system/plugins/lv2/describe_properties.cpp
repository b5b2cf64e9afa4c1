// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/describe_properties.h"

#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/patch/patch.h>
#include <lv2/port-groups/port-groups.h>
#include <lv2/units/units.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "foundation/fnv1a64.h"
#include "platform/message_parameters.h"
#include "system/plugins/lv2/describe_parameters.h"
#include "system/plugins/lv2/lilv_pointers.h"

namespace vrel::lv2 {
namespace {

constexpr const char* labelUri = "http://www.w3.org/2000/01/rdf-schema#label";
constexpr const char* rangeUri = "http://www.w3.org/2000/01/rdf-schema#range";

bool isWholeNumber(std::string_view range) {
  return range == LV2_ATOM__Int || range == LV2_ATOM__Long;
}

bool isOfNumbers(std::string_view range) {
  return isWholeNumber(range) || range == LV2_ATOM__Float || range == LV2_ATOM__Double;
}

bool isOfText(std::string_view range) {
  return range == LV2_ATOM__String || range == LV2_ATOM__URI || range == LV2_ATOM__URID;
}

class PropertyReader {
 public:
  PropertyReader(LilvWorld* world, const LilvPlugin* plugin) : world_(world), plugin_(plugin) {}

  /// Those that the plug-in has by this predicate.
  [[nodiscard]] std::vector<PropertyDescription> read(const char* predicate, bool isOutput) const {
    std::vector<PropertyDescription> found;
    const Node term = uri(predicate);
    const Nodes nodes(lilv_world_find_nodes(world_, lilv_plugin_get_uri(plugin_), term.get(), nullptr));
    LILV_FOREACH(nodes, step, nodes.get()) {
      const LilvNode* const node = lilv_nodes_get(nodes.get(), step);
      if (lilv_node_is_uri(node)) {
        if (auto property = readOne(node, isOutput)) {
          found.push_back(*std::move(property));
        }
      }
    }
    return found;
  }

  /// The designated port of the plug-in, or else the first that takes such messages, or any.
  [[nodiscard]] std::optional<std::uint32_t> messagePort(const PluginDescription& description) const {
    const Node message = uri(LV2_PATCH__Message);
    std::optional<std::uint32_t> best;
    int bestRank = 0;
    for (std::uint32_t index = 0; index < description.ports.size(); ++index) {
      const PortDescription& port = description.ports[index];
      if (port.kind != PortKind::atom || !port.isInput) {
        continue;
      }
      const bool takesMessages =
          lilv_port_supports_event(plugin_, lilv_plugin_get_port_by_index(plugin_, index), message.get());
      const int rank = 1 + (takesMessages ? 2 : 0) + (port.isDesignated ? 1 : 0);
      if (rank > bestRank) {
        best = index;
        bestRank = rank;
      }
    }
    return best;
  }

 private:
  [[nodiscard]] Node uri(const char* text) const { return Node(lilv_new_uri(world_, text)); }

  [[nodiscard]] Node get(const LilvNode* subject, const char* predicate) const {
    return Node(lilv_world_get(world_, subject, uri(predicate).get(), nullptr));
  }

  [[nodiscard]] std::string words(const LilvNode* subject, const char* predicate) const {
    const Node node = get(subject, predicate);
    const char* const text = node ? lilv_node_as_string(node.get()) : nullptr;
    return text != nullptr ? text : "";
  }

  [[nodiscard]] std::optional<float> number(const LilvNode* subject, const char* predicate) const {
    const Node node = get(subject, predicate);
    if (!node || !(lilv_node_is_float(node.get()) || lilv_node_is_int(node.get()) || lilv_node_is_bool(node.get()))) {
      return std::nullopt;
    }
    const float value =
        lilv_node_is_bool(node.get()) ? (lilv_node_as_bool(node.get()) ? 1.0F : 0.0F) : lilv_node_as_float(node.get());
    return std::isfinite(value) ? std::optional(value) : std::nullopt;
  }

  [[nodiscard]] std::optional<PropertyDescription> readOne(const LilvNode* node, bool isOutput) const {
    PropertyDescription property;
    property.uri = lilv_node_as_uri(node);
    property.range = words(node, rangeUri);
    AUParameter& parameter = property.parameter;
    const bool isFile = property.range == LV2_ATOM__Path;
    parameter.isToggle = property.range == LV2_ATOM__Bool;
    parameter.isInteger = isWholeNumber(property.range);
    const bool isWords = isOfText(property.range);
    if (!(isFile ? !isOutput : isWords || parameter.isToggle || isOfNumbers(property.range))) {
      return std::nullopt;
    }
    parameter.isOutput = isOutput;
    parameter.identifier = property.uri;
    constexpr AUParameterAddress hashBits = firstTextParameter - firstPathParameter - 1;
    parameter.address = (isWords  ? firstTextParameter
                         : isFile ? firstPathParameter
                                  : firstMessageParameter) +
                        (static_cast<AUParameterAddress>(fnv1a64(property.uri)) & hashBits);
    parameter.displayName = words(node, labelUri);
    if (parameter.displayName.empty()) {
      parameter.displayName = words(node, LV2_CORE__name);
    }
    if (parameter.displayName.empty()) {
      parameter.displayName = property.uri.substr(property.uri.find_last_of("#/:") + 1);
    }
    readBounds(node, parameter);
    if (const Node unit = get(node, LV2_UNITS__unit)) {
      parameter.isMIDINote =
          lilv_node_is_uri(unit.get()) && std::string_view(lilv_node_as_uri(unit.get())) == LV2_UNITS__midiNote;
      parameter.unitName = parameter.isMIDINote ? "" : unitName(world_, unit.get());
    }
    if (const Node group = get(node, LV2_PORT_GROUPS__group)) {
      parameter.groupName = words(group.get(), LV2_CORE__name);
    }
    return property;
  }

  void readBounds(const LilvNode* node, AUParameter& parameter) const {
    setBounds(parameter, number(node, LV2_CORE__minimum), number(node, LV2_CORE__maximum),
              number(node, LV2_CORE__default));
  }

  LilvWorld* world_;
  const LilvPlugin* plugin_;
};

}  // namespace

PropertyDescriptions describeProperties(LilvWorld* world, const LilvPlugin* plugin,
                                        const PluginDescription& description) {
  const PropertyReader reader(world, plugin);
  const auto port = reader.messagePort(description);
  if (!port) {
    return {};
  }
  PropertyDescriptions found{*port, reader.read(LV2_PATCH__writable, false)};
  auto readable = reader.read(LV2_PATCH__readable, true);
  found.all.insert(found.all.end(), readable.begin(), readable.end());
  std::set<AUParameterAddress> known;  // what can be written is not shown as a meter as well
  std::erase_if(found.all, [&](const auto& each) { return !known.insert(each.parameter.address).second; });
  std::sort(found.all.begin(), found.all.end(), [](const auto& one, const auto& other) {
    return std::tie(one.parameter.displayName, one.uri) < std::tie(other.parameter.displayName, other.uri);
  });
  return found;
}

}  // namespace vrel::lv2
