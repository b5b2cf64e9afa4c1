// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/state_snapshot.h"

#include <charconv>
#include <limits>
#include <optional>
#include <utility>
#include <variant>

namespace vrel::lv2 {
namespace {

constexpr std::int64_t formatVersion = 1;

/// The entry under `key` when it is there and of this kind; null otherwise.
template <typename Kind>
const Kind* entry(const PropertyListDictionary& dictionary, const std::string& key) {
  const auto found = dictionary.find(key);
  return found == dictionary.end() ? nullptr : std::get_if<Kind>(&found->second.content);
}

PropertyListValue toValue(const StateProperty& property) {
  PropertyListDictionary dictionary;
  dictionary["key"] = {property.key};
  dictionary["type"] = {property.type};
  dictionary["flags"] = {std::int64_t{property.flags}};
  dictionary["value"] = {property.value};
  if (!property.uris.empty()) {
    PropertyListDictionary uris;
    for (const auto& [number, uri] : property.uris) {
      uris[std::to_string(number)] = {uri};
    }
    dictionary["uris"] = {std::move(uris)};
  }
  return {std::move(dictionary)};
}

std::optional<std::uint32_t> toNumber(const std::string& text) {
  std::uint32_t number = 0;
  const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isWhole = failed == std::errc() && end == text.data() + text.size();
  return isWhole ? std::optional(number) : std::nullopt;
}

bool readUris(const PropertyListDictionary& dictionary, StateProperty& property) {
  const auto* uris = entry<PropertyListDictionary>(dictionary, "uris");
  if (uris == nullptr) {
    return !dictionary.contains("uris");
  }
  for (const auto& [key, value] : *uris) {
    const std::optional<std::uint32_t> number = toNumber(key);
    const auto* uri = std::get_if<std::string>(&value.content);
    if (!number || uri == nullptr) {
      return false;
    }
    property.uris.emplace(*number, *uri);
  }
  return true;
}

std::optional<StateProperty> toProperty(const PropertyListValue& value) {
  const auto* dictionary = std::get_if<PropertyListDictionary>(&value.content);
  if (dictionary == nullptr) {
    return std::nullopt;
  }
  const auto* key = entry<std::string>(*dictionary, "key");
  const auto* type = entry<std::string>(*dictionary, "type");
  const auto* flags = entry<std::int64_t>(*dictionary, "flags");
  const auto* bytes = entry<PropertyListData>(*dictionary, "value");
  if (key == nullptr || type == nullptr || flags == nullptr || bytes == nullptr || *flags < 0 ||
      *flags > std::numeric_limits<std::uint32_t>::max()) {
    return std::nullopt;
  }
  StateProperty property{*key, *type, static_cast<std::uint32_t>(*flags), *bytes, {}};
  return readUris(*dictionary, property) ? std::optional(std::move(property)) : std::nullopt;
}

bool readPorts(const PropertyListDictionary& dictionary, StateSnapshot& snapshot) {
  const auto* ports = entry<PropertyListDictionary>(dictionary, "ports");
  if (ports == nullptr) {
    return false;
  }
  for (const auto& [symbol, value] : *ports) {
    const auto* number = std::get_if<double>(&value.content);
    if (number == nullptr) {
      return false;
    }
    snapshot.ports.emplace(symbol, static_cast<float>(*number));
  }
  return true;
}

bool readProperties(const PropertyListDictionary& dictionary, StateSnapshot& snapshot) {
  const auto* properties = entry<PropertyListArray>(dictionary, "properties");
  if (properties == nullptr) {
    return false;
  }
  for (const PropertyListValue& value : *properties) {
    std::optional<StateProperty> property = toProperty(value);
    if (!property) {
      return false;
    }
    snapshot.properties.push_back(*std::move(property));
  }
  return true;
}

bool readFiles(const PropertyListDictionary& dictionary, StateSnapshot& snapshot) {
  const auto* files = entry<PropertyListDictionary>(dictionary, "files");
  if (files == nullptr) {
    return false;
  }
  for (const auto& [name, value] : *files) {
    const auto* content = std::get_if<PropertyListData>(&value.content);
    if (content == nullptr) {
      return false;
    }
    snapshot.files.emplace(name, *content);
  }
  return true;
}

}  // namespace

PropertyListDictionary toPropertyList(const StateSnapshot& snapshot, const PluginDescription& description) {
  PropertyListDictionary ports;
  for (const auto& [symbol, value] : snapshot.ports) {
    ports[symbol] = {static_cast<double>(value)};
  }
  PropertyListArray properties;
  for (const StateProperty& property : snapshot.properties) {
    properties.push_back(toValue(property));
  }
  PropertyListDictionary files;
  for (const auto& [name, content] : snapshot.files) {
    files[name] = {content};
  }
  PropertyListDictionary dictionary;
  dictionary["format"] = {formatVersion};
  dictionary["uri"] = {description.uri};
  dictionary["name"] = {description.name};
  dictionary["type"] = {std::int64_t{description.codes.componentType}};
  dictionary["subtype"] = {std::int64_t{description.codes.componentSubType}};
  dictionary["manufacturer"] = {std::int64_t{description.codes.componentManufacturer}};
  dictionary["ports"] = {std::move(ports)};
  dictionary["properties"] = {std::move(properties)};
  dictionary["files"] = {std::move(files)};
  return dictionary;
}

Result<StateSnapshot> fromPropertyList(const PropertyListDictionary& dictionary, const PluginDescription& description) {
  const auto* format = entry<std::int64_t>(dictionary, "format");
  if (format == nullptr || *format != formatVersion) {
    return Error{"state has an unknown format"};
  }
  const auto* uri = entry<std::string>(dictionary, "uri");
  if (uri == nullptr || *uri != description.uri) {
    return Error{"state belongs to another plug-in" + (uri == nullptr ? std::string() : ": " + *uri)};
  }
  StateSnapshot snapshot;
  if (!readPorts(dictionary, snapshot) || !readProperties(dictionary, snapshot) || !readFiles(dictionary, snapshot)) {
    return Error{"state is damaged"};
  }
  return snapshot;
}

}  // namespace vrel::lv2
