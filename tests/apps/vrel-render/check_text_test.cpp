// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/check_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vrel::render {
namespace {

using Lines = std::vector<std::string>;

TEST(CheckText, IsAPageForEachSongWithWhatToDo) {
  CheckReport report{.setlist = "gig.vrel"};
  report.findings = {{.kind = FindingKind::sharedControl,
                      .subject = "CC 7, MIDI 1",
                      .targets = {{MidiControlKind::channelVolume, 0}, {MidiControlKind::channelVolume, 1}}}};
  report.pages = {
      {.song = 1,
       .name = "B",
       .findings = {{.kind = FindingKind::pluginMissing, .strip = FindingStrip{1, "Left"}, .subject = "Organ"}}},
      {.song = 0, .name = "A", .findings = {}, .played = PlayedSong{.loadSeconds = 0.5, .peak = 1}}};
  EXPECT_EQ(
      checkLines(report),
      Lines({"gig.vrel: 2 songs, 1 error, 1 warning",
             "  warning: CC 7, MIDI 1 moves several controls: Volume 1, Volume 2. If that is not intended, remove "
             "one in Learned Controls.",
             "song 2 \"B\": 1 error, 0 warnings",
             "  error: strip 2 \"Left\": Organ is not installed. Install it, or choose another one.",
             "song 1 \"A\": no findings", "  loaded in 0.5 s; block 0 %, worst 0 %; peak 0.0 dB; plug-ins 0 MB"}));
}

TEST(CheckText, NamesWithNewlinesStayOnTheirLine) {
  CheckReport report{.setlist = "a\nb"};
  report.pages = {{.song = 0, .name = "x\ny", .findings = {{.kind = FindingKind::fileMissing, .subject = "/p\nq"}}}};
  for (const auto& line : checkLines(report)) {
    EXPECT_EQ(line.find('\n'), std::string::npos) << line;
  }
}

}  // namespace
}  // namespace vrel::render
