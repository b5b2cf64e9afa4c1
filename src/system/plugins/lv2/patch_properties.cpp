// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/patch_properties.h"

#include <lv2/atom/forge.h>
#include <lv2/patch/patch.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

#include "platform/message_parameters.h"

namespace vrel::lv2 {
namespace {

using AtomBytes = std::span<const std::uint8_t>;

template <typename Value>
std::optional<Value> valueIn(AtomBytes bytes) {
  Value value{};
  if (bytes.size() < sizeof value) {
    return std::nullopt;
  }
  std::memcpy(&value, bytes.data(), sizeof value);
  return value;
}

/// Calls `take(key, type, value)` for each property behind the head of an object, as far as they are whole.
template <typename Take>
void forEachProperty(AtomBytes body, Take take) {
  std::size_t place = sizeof(LV2_Atom_Object_Body);
  while (place + sizeof(LV2_Atom_Property_Body) <= body.size()) {
    const auto head = *valueIn<LV2_Atom_Property_Body>(body.subspan(place));
    place += sizeof head;
    if (head.value.size > body.size() - place) {
      return;
    }
    take(head.key, head.value.type, body.subspan(place, head.value.size));
    place += (std::size_t{head.value.size} + 7U) & ~std::size_t{7};
  }
}

}  // namespace

PatchProperties::Types::Types(UridMap& urids)
    : object(urids.map(LV2_ATOM__Object)),
      blank(urids.map(LV2_ATOM__Blank)),
      resource(urids.map(LV2_ATOM__Resource)),
      path(urids.map(LV2_ATOM__Path)),
      text(urids.map(LV2_ATOM__String)),
      boolean(urids.map(LV2_ATOM__Bool)),
      integer(urids.map(LV2_ATOM__Int)),
      longInteger(urids.map(LV2_ATOM__Long)),
      real(urids.map(LV2_ATOM__Float)),
      longReal(urids.map(LV2_ATOM__Double)),
      uri(urids.map(LV2_ATOM__URI)),
      urid(urids.map(LV2_ATOM__URID)),
      set(urids.map(LV2_PATCH__Set)),
      put(urids.map(LV2_PATCH__Put)),
      get(urids.map(LV2_PATCH__Get)),
      property(urids.map(LV2_PATCH__property)),
      value(urids.map(LV2_PATCH__value)),
      body(urids.map(LV2_PATCH__body)) {}

PatchProperties::PatchProperties(UridMap& urids, PropertyDescriptions described)
    : urids_(urids), described_(std::move(described)), types_(urids) {
  for (const PropertyDescription& each : described_.all) {
    byUrid_.emplace(urids.map(each.uri), Known{&each, urids.map(each.range)});
  }
}

bool PatchProperties::isObject(LV2_URID type) const {
  return type == types_.object || type == types_.blank || type == types_.resource;
}

std::vector<std::uint8_t> PatchProperties::question() const {
  std::vector<std::uint8_t> room(sizeof(LV2_Atom_Object));
  const LV2_Atom_Object object{{sizeof(LV2_Atom_Object_Body), types_.object}, {0, types_.get}};
  std::memcpy(room.data(), &object, sizeof object);
  return room;
}

void PatchProperties::forgeText(LV2_Atom_Forge& forge, LV2_URID range, const std::string& text) const {
  const auto size = static_cast<std::uint32_t>(text.size());
  if (range == types_.path) {
    lv2_atom_forge_path(&forge, text.c_str(), size);
  } else if (range == types_.uri) {
    lv2_atom_forge_uri(&forge, text.c_str(), size);
  } else if (range == types_.urid) {
    lv2_atom_forge_urid(&forge, text.empty() ? 0 : urids_.map(text));
  } else {
    lv2_atom_forge_string(&forge, text.c_str(), size);
  }
}

void PatchProperties::forgeNumber(LV2_Atom_Forge& forge, LV2_URID range, double value) const {
  if (range == types_.boolean) {
    lv2_atom_forge_bool(&forge, value > 0.5);
  } else if (range == types_.integer) {
    lv2_atom_forge_int(&forge, static_cast<std::int32_t>(std::lround(value)));
  } else if (range == types_.longInteger) {
    lv2_atom_forge_long(&forge, std::lround(value));
  } else if (range == types_.longReal) {
    lv2_atom_forge_double(&forge, value);
  } else {
    lv2_atom_forge_float(&forge, static_cast<float>(value));
  }
}

std::optional<std::vector<std::uint8_t>> PatchProperties::setting(const MessageValue& wanted) const {
  const auto found = std::find_if(byUrid_.begin(), byUrid_.end(), [&](const auto& each) {
    return each.second.property->parameter.address == wanted.address;
  });
  if (found == byUrid_.end()) {
    return std::nullopt;
  }
  const auto& [urid, known] = *found;
  const AUParameter& parameter = known.property->parameter;
  const auto* const text = std::get_if<std::string>(&wanted.value);
  const auto* const number = std::get_if<double>(&wanted.value);
  if (parameter.isOutput || isNumber(parameter) != (number != nullptr) ||
      (text != nullptr ? text->size() > longestParameterText : !std::isfinite(*number))) {
    return std::nullopt;
  }
  std::vector<std::uint8_t> room(longestParameterText + 256);
  LV2_Atom_Forge forge;
  lv2_atom_forge_init(&forge, urids_.mapFeature());
  lv2_atom_forge_set_buffer(&forge, room.data(), room.size());
  LV2_Atom_Forge_Frame object;
  lv2_atom_forge_object(&forge, &object, 0, types_.set);
  lv2_atom_forge_key(&forge, types_.property);
  lv2_atom_forge_urid(&forge, urid);
  lv2_atom_forge_key(&forge, types_.value);
  if (text != nullptr) {
    forgeText(forge, known.range, *text);
  } else {
    forgeNumber(forge, known.range,
                std::clamp(*number, static_cast<double>(parameter.minValue), static_cast<double>(parameter.maxValue)));
  }
  lv2_atom_forge_pop(&forge, &object);
  room.resize(forge.offset);
  return room;
}

void PatchProperties::note(LV2_URID key, LV2_URID type, AtomBytes value, std::vector<MessageValue>& found) const {
  const auto known = byUrid_.find(key);
  if (known == byUrid_.end()) {
    return;
  }
  const AUParameter& parameter = known->second.property->parameter;
  if (!isNumber(parameter)) {
    if (type == types_.path || type == types_.text || type == types_.uri) {
      const auto end = std::find(value.begin(), value.end(), std::uint8_t{0});
      found.push_back({parameter.address, std::string(value.begin(), end).substr(0, longestParameterText)});
    } else if (type == types_.urid) {
      const auto number = valueIn<LV2_URID>(value);
      const char* const text = number ? urids_.unmap(*number) : nullptr;
      found.push_back({parameter.address, std::string(text != nullptr ? text : "").substr(0, longestParameterText)});
    }
    return;
  }
  std::optional<double> number;
  if (type == types_.real) {
    number = valueIn<float>(value);
  } else if (type == types_.longReal) {
    number = valueIn<double>(value);
  } else if (type == types_.integer || type == types_.boolean) {
    number = valueIn<std::int32_t>(value);
  } else if (type == types_.longInteger) {
    if (const auto whole = valueIn<std::int64_t>(value)) {
      number = static_cast<double>(*whole);
    }
  }
  if (number && std::isfinite(*number)) {
    found.push_back({parameter.address, *number});
  }
}

std::vector<MessageValue> PatchProperties::read(AtomBytes atom) const {
  const auto head = valueIn<LV2_Atom_Object>(atom);
  std::vector<MessageValue> found;
  if (!head || !isObject(head->atom.type) || head->atom.size > atom.size() - sizeof(LV2_Atom)) {
    return found;
  }
  const AtomBytes body = atom.subspan(sizeof(LV2_Atom), head->atom.size);
  if (head->body.otype == types_.set) {
    LV2_URID property = 0;
    LV2_URID type = 0;
    AtomBytes value;
    forEachProperty(body, [&](LV2_URID key, LV2_URID ofType, AtomBytes of) {
      if (key == types_.property && ofType == types_.urid) {
        property = valueIn<LV2_URID>(of).value_or(0);
      } else if (key == types_.value) {
        type = ofType;
        value = of;
      }
    });
    note(property, type, value, found);
  } else if (head->body.otype == types_.put) {
    forEachProperty(body, [&](LV2_URID key, LV2_URID type, AtomBytes value) {
      if (key == types_.body && isObject(type)) {
        forEachProperty(value, [&](LV2_URID of, LV2_URID ofType, AtomBytes is) { note(of, ofType, is, found); });
      }
    });
  }
  return found;
}

}  // namespace vrel::lv2
