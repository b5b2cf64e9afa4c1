// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/atom_packing.h"

#include <lv2/atom/atom.h>

#include <cstring>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace vrel::lv2 {
namespace {

using PackedBytes = std::vector<std::uint8_t>;

// More than any editor's message names.
constexpr std::uint32_t mostUris = 4096;

void appendNumber(PackedBytes& bytes, std::uint32_t number) {
  const auto* const raw = reinterpret_cast<const std::uint8_t*>(&number);
  bytes.insert(bytes.end(), raw, raw + sizeof number);
}

std::optional<std::uint32_t> takeNumber(std::span<const std::uint8_t>& rest) {
  std::uint32_t number = 0;
  if (rest.size() < sizeof number) {
    return std::nullopt;
  }
  std::memcpy(&number, rest.data(), sizeof number);
  rest = rest.subspan(sizeof number);
  return number;
}

/// The head of an atom that is as long as it says; none for any other.
std::optional<LV2_Atom> headOf(std::span<const std::uint8_t> atom) {
  LV2_Atom head{};
  if (atom.size() < sizeof head) {
    return std::nullopt;
  }
  std::memcpy(&head, atom.data(), sizeof head);
  return head.size == atom.size() - sizeof head ? std::optional(head) : std::nullopt;
}

/// Puts what `translation` makes of each number in its place. False for a damaged atom.
bool renumber(PackedBytes& atom, LV2_Atom head, const AtomUrids& inside, const AtomUrids::Translation& translation) {
  head.type = head.type == 0 ? 0 : translation(head.type);
  std::memcpy(atom.data(), &head, sizeof head);
  return inside.translate(head.type, std::span(atom).subspan(sizeof head), translation);
}

}  // namespace

std::optional<PackedBytes> AtomPacking::pack(std::span<const std::uint8_t> atom) const {
  const auto head = headOf(atom);
  PackedBytes copy(atom.begin(), atom.end());
  std::set<LV2_URID> used;
  const auto note = [&used](LV2_URID urid) {
    used.insert(urid);
    return urid;
  };
  if (!head || !renumber(copy, *head, inside_, note) || used.size() > mostUris) {
    return std::nullopt;
  }
  PackedBytes packed;
  appendNumber(packed, static_cast<std::uint32_t>(used.size()));
  for (const LV2_URID urid : used) {
    const char* const uri = urids_.unmap(urid);
    const std::string_view text = uri != nullptr ? uri : "";
    appendNumber(packed, urid);
    appendNumber(packed, static_cast<std::uint32_t>(text.size()));
    packed.insert(packed.end(), text.begin(), text.end());
  }
  packed.insert(packed.end(), atom.begin(), atom.end());
  return packed;
}

std::optional<PackedBytes> AtomPacking::unpack(std::span<const std::uint8_t> packed) const {
  auto rest = packed;
  const auto count = takeNumber(rest);
  if (!count || *count > mostUris) {
    return std::nullopt;
  }
  std::map<LV2_URID, LV2_URID> own;
  for (std::uint32_t index = 0; index < *count; ++index) {
    const auto urid = takeNumber(rest);
    const auto length = takeNumber(rest);
    if (!urid || !length || *length > rest.size()) {
      return std::nullopt;
    }
    const std::string uri(rest.begin(), rest.begin() + *length);
    rest = rest.subspan(*length);
    own.emplace(*urid, uri.empty() ? 0 : urids_.map(uri));
  }
  const auto head = headOf(rest);
  PackedBytes atom(rest.begin(), rest.end());
  const auto translation = [&own](LV2_URID urid) {
    const auto found = own.find(urid);
    return found == own.end() ? 0 : found->second;
  };
  return head && renumber(atom, *head, inside_, translation) ? std::optional(std::move(atom)) : std::nullopt;
}

}  // namespace vrel::lv2
