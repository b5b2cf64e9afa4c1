// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/note_name.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace vrel {
namespace {

TEST(NoteName, CountsOctavesFromMinusOne) {
  EXPECT_EQ(noteName(0), "C-1");
  EXPECT_EQ(noteName(11), "B-1");
  EXPECT_EQ(noteName(12), "C0");
  EXPECT_EQ(noteName(60), "C4");
  EXPECT_EQ(noteName(127), "G9");
}

TEST(NoteName, UsesSharps) {
  const std::array names = {"C4", "C#4", "D4", "D#4", "E4", "F4", "F#4", "G4", "G#4", "A4", "A#4", "B4"};
  for (std::size_t index = 0; index < names.size(); ++index) {
    EXPECT_EQ(noteName(static_cast<std::uint8_t>(60 + index)), names[index]);
  }
}

TEST(NoteName, GoesOnAboveTheLastMidiNote) {
  EXPECT_EQ(noteName(255), "D#20");
}

}  // namespace
}  // namespace vrel
