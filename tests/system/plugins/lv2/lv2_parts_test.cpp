// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <lv2/atom/atom.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "system/plugins/lv2/atom_packing.h"
#include "system/plugins/lv2/atom_urids.h"
#include "system/plugins/lv2/urid_map.h"
#include "system/plugins/midi_record.h"

namespace vrel::lv2 {
namespace {

TEST(MidiRecord, LengthFollowsFromTheStatus) {
  EXPECT_EQ(midiMessageBytes(0x00), 0U);
  EXPECT_EQ(midiMessageBytes(0x7F), 0U);
  EXPECT_EQ(midiMessageBytes(0x80), 3U);
  EXPECT_EQ(midiMessageBytes(0xBF), 3U);
  EXPECT_EQ(midiMessageBytes(0xC0), 2U);
  EXPECT_EQ(midiMessageBytes(0xDF), 2U);
  EXPECT_EQ(midiMessageBytes(0xE0), 3U);
  EXPECT_EQ(midiMessageBytes(0xF0), 3U);
  EXPECT_EQ(midiMessageBytes(0xF8), 1U);
  EXPECT_EQ(midiMessageBytes(0xFF), 1U);
}

TEST(Rings, RecordsCrossTwoThreadsInOrder) {
  SpscRing<std::uint32_t, 8> ring;
  constexpr std::uint32_t total = 100000;
  std::thread producer([&ring] {
    for (std::uint32_t value = 0; value < total;) {
      value += ring.push(value) ? 1U : 0U;
    }
  });
  for (std::uint32_t expected = 0; expected < total;) {
    if (const std::uint32_t* value = ring.front()) {
      EXPECT_EQ(*value, expected++);
      ring.pop();
    }
  }
  producer.join();
  EXPECT_EQ(ring.front(), nullptr);
}

TEST(UridMap, NumbersAreStableAndComeBackAsTheirUris) {
  UridMap urids;
  const LV2_URID first = urids.map("urn:a");
  const LV2_URID second = urids.map("urn:b");
  EXPECT_NE(first, 0U);
  EXPECT_NE(first, second);
  EXPECT_EQ(urids.map(std::string("urn:a")), first);
  EXPECT_STREQ(urids.unmap(second), "urn:b");
  EXPECT_EQ(urids.unmap(0), nullptr);
  EXPECT_EQ(urids.unmap(second + 1), nullptr);
}

/// Lays words out as a plug-in would.
std::vector<std::uint8_t> bytesOf(std::span<const std::uint32_t> words) {
  std::vector<std::uint8_t> bytes(words.size_bytes());
  std::memcpy(bytes.data(), words.data(), bytes.size());
  return bytes;
}

TEST(AtomUrids, NumbersDeepInsideAValueAreFound) {
  UridMap urids;
  const AtomUrids atoms(urids);
  const LV2_URID object = urids.map(LV2_ATOM__Object);
  const LV2_URID urid = urids.map(LV2_ATOM__URID);
  const LV2_URID vector = urids.map(LV2_ATOM__Vector);
  const LV2_URID integer = urids.map(LV2_ATOM__Int);
  // An object (id 0, class 501) with two properties: 502 is the number 503, 504 a vector of numbers.
  const std::array<std::uint32_t, 18> words{0, 501, 502,    0, 4,    urid, 503, 0, 504,
                                            0, 16,  vector, 4, urid, 505,  506, 0, 0};
  std::vector<std::uint8_t> value = bytesOf(std::span(words).first(16));
  std::vector<LV2_URID> found;
  EXPECT_TRUE(atoms.translate(object, value, [&found](LV2_URID number) {
    found.push_back(number);
    return number;
  }));
  EXPECT_EQ(found, (std::vector<LV2_URID>{501, 502, urid, 503, 504, vector, urid, 505, 506}));
  EXPECT_EQ(value, bytesOf(std::span(words).first(16)));

  std::vector<std::uint8_t> plain = bytesOf(std::array<std::uint32_t, 1>{77});
  EXPECT_TRUE(atoms.translate(integer, plain, [](LV2_URID) { return LV2_URID{1}; }));
  EXPECT_EQ(plain, bytesOf(std::array<std::uint32_t, 1>{77}));
}

TEST(AtomUrids, EveryTruncationOfAValueEndsWithoutReadingPastIt) {
  UridMap urids;
  const AtomUrids atoms(urids);
  const LV2_URID tuple = urids.map(LV2_ATOM__Tuple);
  const LV2_URID sequence = urids.map(LV2_ATOM__Sequence);
  const LV2_URID urid = urids.map(LV2_ATOM__URID);
  const std::array<std::uint32_t, 12> words{4, urid, 9, 0, 24, tuple, 4, urid, 9, 0, 4, urid};
  const auto same = [](LV2_URID number) { return number; };
  for (std::size_t length = 0; length <= words.size() * 4; ++length) {
    std::vector<std::uint8_t> value = bytesOf(words);
    value.resize(length);
    value.shrink_to_fit();
    const bool isWhole = length == 0 || (length >= 12 && length <= 16);  // the last padding may be missing
    EXPECT_EQ(atoms.translate(tuple, value, same), isWhole) << length;
    EXPECT_EQ(atoms.translate(sequence, value, same), length == 8) << length;
  }
}

TEST(AtomUrids, EndlessNestingIsRefused) {
  UridMap urids;
  const AtomUrids atoms(urids);
  const LV2_URID tuple = urids.map(LV2_ATOM__Tuple);
  std::vector<std::uint32_t> words;
  for (std::uint32_t level = 100; level > 0; --level) {
    words.push_back((level - 1) * 8);
    words.push_back(tuple);
  }
  std::vector<std::uint8_t> value = bytesOf(words);
  EXPECT_FALSE(atoms.translate(tuple, value, [](LV2_URID number) { return number; }));
}

std::vector<std::uint8_t> vectorAtom(UridMap& urids, const std::vector<std::string>& uris) {
  LV2_Atom_Vector_Body body{sizeof(LV2_URID), urids.map(LV2_ATOM__URID)};
  const LV2_Atom head{static_cast<std::uint32_t>(sizeof body + uris.size() * sizeof(LV2_URID)),
                      urids.map(LV2_ATOM__Vector)};
  std::vector<std::uint8_t> atom(sizeof head + head.size);
  std::memcpy(atom.data(), &head, sizeof head);
  std::memcpy(atom.data() + sizeof head, &body, sizeof body);
  for (std::size_t index = 0; index < uris.size(); ++index) {
    const LV2_URID urid = urids.map(uris[index]);
    std::memcpy(atom.data() + sizeof head + sizeof body + index * sizeof urid, &urid, sizeof urid);
  }
  return atom;
}

TEST(AtomPacking, AnAtomSaysTheSameInAnotherProcess) {
  UridMap here;
  UridMap there;
  for (const auto* const padding : {"urn:a", "urn:b", "urn:c"}) {
    (void)there.map(padding);
  }
  const auto packed = AtomPacking(here).pack(vectorAtom(here, {"urn:one", "urn:two", "urn:one"}));
  ASSERT_TRUE(packed);
  EXPECT_EQ(AtomPacking(there).unpack(*packed), vectorAtom(there, {"urn:one", "urn:two", "urn:one"}));
}

TEST(AtomPacking, WhatIsTruncatedOrTooLongIsRefused) {
  UridMap urids;
  const AtomPacking packing(urids);
  auto atom = vectorAtom(urids, {"urn:one"});
  const auto packed = *packing.pack(atom);
  for (std::size_t size = 0; size < packed.size(); ++size) {
    EXPECT_FALSE(packing.unpack(std::span(packed).first(size))) << size;
  }
  for (std::size_t size = 0; size < atom.size(); ++size) {
    EXPECT_FALSE(packing.pack(std::span(atom).first(size))) << size;
  }
  atom.push_back(0);
  EXPECT_FALSE(packing.pack(atom));
  EXPECT_FALSE(packing.unpack(std::vector<std::uint8_t>(64, 0xFF)));
}

}  // namespace
}  // namespace vrel::lv2
