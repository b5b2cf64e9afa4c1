// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/atom_urids.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace vrel::lv2 {

/// One pass over a value. Everything is read and written through copies: the bytes may be at any
/// address, and may come from a file.
///
/// The walk goes by the numbers that come out of the translation: at a save they are the same as
/// before it, and at a restore only they mean anything here.
struct AtomUrids::Walk {
  const AtomUrids& types;
  const Translation& translation;

  static constexpr int maximumDepth = 32;
  using Bytes = std::span<std::uint8_t>;

  static std::uint32_t word(Bytes bytes, std::size_t offset) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
  }

  /// Translates the number at `offset` and returns what is there now. Zero stays zero.
  LV2_URID replace(Bytes bytes, std::size_t offset) const {
    const LV2_URID before = word(bytes, offset);
    const LV2_URID after = before == 0 ? 0 : translation(before);
    std::memcpy(bytes.data() + offset, &after, sizeof after);
    return after;
  }

  bool value(LV2_URID type, Bytes body, int depth) const {
    if (depth > maximumDepth) {
      return false;
    }
    if (type == types.uridType_) {
      return body.size() == sizeof(LV2_URID) && (replace(body, 0), true);
    }
    if (type == types.literal_) {
      return body.size() >= sizeof(LV2_Atom_Literal_Body) && (replace(body, 0), replace(body, 4), true);
    }
    if (type == types.tuple_) {
      return atoms(body, 0, 0, depth);
    }
    if (type == types.vector_) {
      return vector(body, depth);
    }
    if (type == types.sequence_) {
      return body.size() >= sizeof(LV2_Atom_Sequence_Body) && (replace(body, 0), true) &&
             atoms(body.subspan(sizeof(LV2_Atom_Sequence_Body)), 8, 0, depth);
    }
    if (type == types.object_) {
      return body.size() >= sizeof(LV2_Atom_Object_Body) && (replace(body, 0), replace(body, 4), true) &&
             atoms(body.subspan(sizeof(LV2_Atom_Object_Body)), 8, 2, depth);
    }
    return true;
  }

  /// A run of atoms, each behind `lead` bytes of which the first `leadUrids` words are URI numbers,
  /// and each padded to eight bytes.
  bool atoms(Bytes bytes, std::size_t lead, std::size_t leadUrids, int depth) const {
    while (!bytes.empty()) {
      const std::size_t head = lead + sizeof(LV2_Atom);
      if (bytes.size() < head || word(bytes, lead) > bytes.size() - head) {
        return false;
      }
      for (std::size_t index = 0; index < leadUrids; ++index) {
        replace(bytes, index * sizeof(LV2_URID));
      }
      const std::size_t size = word(bytes, lead);
      const LV2_URID type = replace(bytes, lead + offsetof(LV2_Atom, type));
      if (!value(type, bytes.subspan(head, size), depth + 1)) {
        return false;
      }
      const std::size_t padded = head + ((size + 7U) & ~std::size_t{7});
      bytes = bytes.subspan(std::min(padded, bytes.size()));
    }
    return true;
  }

  bool vector(Bytes body, int depth) const {
    constexpr std::size_t head = sizeof(LV2_Atom_Vector_Body);
    if (body.size() < head) {
      return false;
    }
    const std::size_t childBytes = word(body, offsetof(LV2_Atom_Vector_Body, child_size));
    const LV2_URID childType = replace(body, offsetof(LV2_Atom_Vector_Body, child_type));
    if (childBytes == 0 || (body.size() - head) % childBytes != 0) {
      return body.size() == head;
    }
    for (std::size_t offset = head; offset < body.size(); offset += childBytes) {
      if (!value(childType, body.subspan(offset, childBytes), depth + 1)) {
        return false;
      }
    }
    return true;
  }
};

AtomUrids::AtomUrids(UridMap& urids)
    : uridType_(urids.map(LV2_ATOM__URID)),
      tuple_(urids.map(LV2_ATOM__Tuple)),
      object_(urids.map(LV2_ATOM__Object)),
      vector_(urids.map(LV2_ATOM__Vector)),
      sequence_(urids.map(LV2_ATOM__Sequence)),
      literal_(urids.map(LV2_ATOM__Literal)) {}

bool AtomUrids::translate(LV2_URID type, std::span<std::uint8_t> body, const Translation& translation) const {
  return Walk{*this, translation}.value(type, body, 0);
}

}  // namespace vrel::lv2
