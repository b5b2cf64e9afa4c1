// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/describe_parameters.h"

#include <lv2/core/lv2.h>
#include <lv2/port-groups/port-groups.h>
#include <lv2/port-props/port-props.h>
#include <lv2/units/units.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "system/plugins/lv2/describe_properties.h"
#include "system/plugins/lv2/lilv_pointers.h"

namespace vrel::lv2 {
namespace {

constexpr const char* rdfsLabel = "http://www.w3.org/2000/01/rdf-schema#label";

constexpr float largestWholeNumber = 2147483520;  // of 32 bits

struct KnownUnit {
  const char* uri;
  std::string_view name;
};

// The vocabulary's own names are in a bundle that is not always installed.
constexpr std::array knownUnits{
    KnownUnit{LV2_UNITS__bar, "bars"},     KnownUnit{LV2_UNITS__beat, "beats"},
    KnownUnit{LV2_UNITS__bpm, "BPM"},      KnownUnit{LV2_UNITS__cent, "cents"},
    KnownUnit{LV2_UNITS__cm, "cm"},        KnownUnit{LV2_UNITS__coef, ""},
    KnownUnit{LV2_UNITS__db, "dB"},        KnownUnit{LV2_UNITS__degree, "°"},
    KnownUnit{LV2_UNITS__frame, "frames"}, KnownUnit{LV2_UNITS__hz, "Hz"},
    KnownUnit{LV2_UNITS__khz, "kHz"},      KnownUnit{LV2_UNITS__m, "m"},
    KnownUnit{LV2_UNITS__mhz, "MHz"},      KnownUnit{LV2_UNITS__min, "min"},
    KnownUnit{LV2_UNITS__mm, "mm"},        KnownUnit{LV2_UNITS__ms, "ms"},
    KnownUnit{LV2_UNITS__oct, "octaves"},  KnownUnit{LV2_UNITS__pc, "%"},
    KnownUnit{LV2_UNITS__s, "s"},          KnownUnit{LV2_UNITS__semitone12TET, "semitones"},
};

std::string words(const LilvNode* node) {
  const char* characters = node != nullptr ? lilv_node_as_string(node) : nullptr;
  return characters != nullptr ? characters : "";
}

/// Reads the ports of one plug-in; holds the terms that are asked for at each.
class ParameterReader {
 public:
  ParameterReader(LilvWorld* world, const LilvPlugin* plugin, double sampleRate)
      : world_(world), plugin_(plugin), sampleRate_(static_cast<float>(sampleRate)) {}

  [[nodiscard]] AUParameter read(std::uint32_t index, const PortDescription& described) {
    const LilvPort* const port = lilv_plugin_get_port_by_index(plugin_, index);
    AUParameter parameter;
    parameter.address = index;
    parameter.identifier = described.symbol;
    parameter.isOutput = !described.isInput;
    parameter.displayName = words(Node(lilv_port_get_name(plugin_, port)).get());
    if (parameter.displayName.empty()) {
      parameter.displayName = described.symbol;
    }
    readProperties(port, parameter);
    readNames(port, parameter);
    readBounds(described, parameter);
    readUnit(port, parameter);
    parameter.groupName = groupName(port);
    return parameter;
  }

 private:
  [[nodiscard]] Node term(const char* uri) const { return Node(lilv_new_uri(world_, uri)); }

  void readProperties(const LilvPort* port, AUParameter& parameter) const {
    const auto has = [&](const Node& property) { return lilv_port_has_property(plugin_, port, property.get()); };
    parameter.isToggle = has(toggled_);
    parameter.isInteger = has(integer_);
    parameter.isEnumeration = has(enumeration_);
    parameter.isLogarithmic = has(logarithmic_);
    parameter.isTrigger = has(trigger_);
    parameter.isHidden = has(notOnGui_);
    parameter.changesAtEndOfDrag = has(expensive_) || has(causesArtifacts_);
    const Node priority(lilv_port_get(plugin_, port, displayPriority_.get()));
    parameter.displayPriority = priority && lilv_node_is_int(priority.get()) ? lilv_node_as_int(priority.get()) : 0;
  }

  void readNames(const LilvPort* port, AUParameter& parameter) const {
    LilvScalePoints* const points = lilv_port_get_scale_points(plugin_, port);
    for (LilvIter* step = lilv_scale_points_begin(points); !lilv_scale_points_is_end(points, step);
         step = lilv_scale_points_next(points, step)) {
      const LilvScalePoint* const point = lilv_scale_points_get(points, step);
      const LilvNode* const value = lilv_scale_point_get_value(point);
      if (value != nullptr && (lilv_node_is_float(value) || lilv_node_is_int(value))) {
        parameter.valueNames.emplace_back(lilv_node_as_float(value), words(lilv_scale_point_get_label(point)));
      }
    }
    lilv_scale_points_free(points);
    std::sort(parameter.valueNames.begin(), parameter.valueNames.end());
    parameter.isEnumeration = parameter.isEnumeration && !parameter.valueNames.empty();
  }

  void readBounds(const PortDescription& described, AUParameter& parameter) const {
    const float scale = described.scalesWithRate ? sampleRate_ : 1.0F;
    float minimum = described.minimum * scale;
    float maximum = described.maximum * scale;
    if (parameter.isEnumeration) {
      minimum = parameter.valueNames.front().first;
      maximum = parameter.valueNames.back().first;
    }
    const auto ifGiven = [](float number) { return std::isfinite(number) ? std::optional(number) : std::nullopt; };
    setBounds(parameter, ifGiven(minimum), ifGiven(maximum), ifGiven(described.defaultValue));
  }

  void readUnit(const LilvPort* port, AUParameter& parameter) {
    const Node unit(lilv_port_get(plugin_, port, unit_.get()));
    if (!unit) {
      return;
    }
    const std::string uri = words(unit.get());
    parameter.isMIDINote = uri == LV2_UNITS__midiNote;
    const auto [name, isNew] = unitNames_.try_emplace(uri);
    if (isNew && !parameter.isMIDINote) {
      name->second = vrel::lv2::unitName(world_, unit.get());
    }
    parameter.unitName = name->second;
  }

  [[nodiscard]] std::string groupName(const LilvPort* port) {
    const Node group(lilv_port_get(plugin_, port, group_.get()));
    if (!group) {
      return {};
    }
    const auto [name, isNew] = groupNames_.try_emplace(words(group.get()));
    if (isNew) {
      name->second = words(Node(lilv_world_get(world_, group.get(), name_.get(), nullptr)).get());
      if (name->second.empty()) {
        name->second = words(Node(lilv_world_get(world_, group.get(), label_.get(), nullptr)).get());
      }
    }
    return name->second;
  }

  LilvWorld* world_;
  const LilvPlugin* plugin_;
  const float sampleRate_;
  std::map<std::string, std::string> unitNames_;   // by the unit's URI
  std::map<std::string, std::string> groupNames_;  // by the group's
  const Node toggled_ = term(LV2_CORE__toggled);
  const Node integer_ = term(LV2_CORE__integer);
  const Node enumeration_ = term(LV2_CORE__enumeration);
  const Node logarithmic_ = term(LV2_PORT_PROPS__logarithmic);
  const Node trigger_ = term(LV2_PORT_PROPS__trigger);
  const Node notOnGui_ = term(LV2_PORT_PROPS__notOnGUI);
  const Node expensive_ = term(LV2_PORT_PROPS__expensive);
  const Node causesArtifacts_ = term(LV2_PORT_PROPS__causesArtifacts);
  const Node displayPriority_ = term(LV2_PORT_PROPS__displayPriority);
  const Node unit_ = term(LV2_UNITS__unit);
  const Node group_ = term(LV2_PORT_GROUPS__group);
  const Node name_ = term(LV2_CORE__name);
  const Node label_ = term(rdfsLabel);
};

}  // namespace

void setBounds(AUParameter& parameter, std::optional<float> minimum, std::optional<float> maximum,
               std::optional<float> defaultValue) {
  parameter.minValue = 0;
  parameter.maxValue = 1;
  parameter.isUnbounded = !(minimum && maximum) && !parameter.isToggle && !parameter.isTrigger;
  if (parameter.isUnbounded) {
    const float largest = parameter.isInteger ? largestWholeNumber : std::numeric_limits<float>::max();
    parameter.minValue = minimum.value_or(-largest);
    parameter.maxValue = maximum.value_or(largest);
  } else if (!parameter.isToggle && minimum && maximum && *minimum < *maximum) {
    parameter.minValue = *minimum;
    parameter.maxValue = *maximum;
  }
  const float given = defaultValue.value_or(parameter.isUnbounded ? 0.0F : parameter.minValue);
  parameter.defaultValue = std::clamp(given, parameter.minValue, parameter.maxValue);
}

std::string unitName(LilvWorld* world, const LilvNode* unit) {
  const std::string uri = words(unit);
  const auto known =
      std::find_if(knownUnits.begin(), knownUnits.end(), [&](const KnownUnit& each) { return each.uri == uri; });
  if (known != knownUnits.end()) {
    return std::string(known->name);
  }
  const Node symbol(lilv_new_uri(world, LV2_UNITS__symbol));
  return words(Node(lilv_world_get(world, unit, symbol.get(), nullptr)).get());
}

AUParameterTree describeParameters(LilvWorld* world, const LilvPlugin* plugin, const PluginDescription& description,
                                   double sampleRate) {
  AUParameterTree tree;
  ParameterReader reader(world, plugin, sampleRate);
  for (std::uint32_t index = 0; index < description.ports.size(); ++index) {
    const PortDescription& port = description.ports[index];
    if (port.kind == PortKind::control && port.hostControl == HostControl::none) {
      tree.allParameters.push_back(reader.read(index, port));
    }
  }
  for (auto& property : describeProperties(world, plugin, description).all) {
    tree.allParameters.push_back(std::move(property.parameter));
  }
  return tree;
}

}  // namespace vrel::lv2
