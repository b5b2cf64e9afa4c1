// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/summary.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vrel::render {
namespace {

using Lines = std::vector<std::string>;

TEST(RenderSummary, SongsFileLengthAndPeakArePrinted) {
  EXPECT_EQ(summaryLines({.songNames = {"One", "Two", "One"},
                          .outPath = "a.wav",
                          .rate = 44100,
                          .rendered = {.frames = 66150, .peak = 0.5F}}),
            (Lines{"Played 3 songs: \"One\", \"Two\", \"One\"", "Sound: a.wav, 1.50 s at 44100 Hz, peak -6.0 dBFS",
                   "Problems: none"}));
}

TEST(RenderSummary, AnEmptySetlistAndSilenceAreReported) {
  EXPECT_EQ(summaryLines({.rendered = {.frames = 96000}}),
            (Lines{"Played no song: the setlist is empty", "Sound: not written, 2.00 s at 48000 Hz, silent",
                   "Problems: none"}));
}

TEST(RenderSummary, EveryProblemHasALine) {
  EXPECT_EQ(summaryLines({.songNames = {"One"}, .rendered = {.frames = 48000, .peak = 1}, .problems = {"a", "b"}}),
            (Lines{"Played 1 song: \"One\"", "Sound: not written, 1.00 s at 48000 Hz, peak 0.0 dBFS", "Problems: 2",
                   "  a", "  b"}));
}

TEST(RenderSummary, ANameWithANewlineStaysInItsLine) {
  EXPECT_EQ(summaryLines({.songNames = {"One\nTwo\r\x7F"}, .rendered = {.frames = 48000}})[0],
            "Played 1 song: \"One?Two??\"");
  EXPECT_EQ(oneLine("Ünder\t"), "Ünder?");
}

}  // namespace
}  // namespace vrel::render
