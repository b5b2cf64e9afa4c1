// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "apps/vrel-render/show/render_run.h"
#include "apps/vrel-render/show/show_files.h"

namespace vrel {
namespace {

using nlohmann::json;
using testing::ElementsAre;

class ClipShow : public ShowTest {
 protected:
  static ChannelConfig clips(const std::vector<VisualClipMapping>& mappings) {
    auto strip = stripOf("Clips", "internal:visual");
    strip.visualClipMappings = mappings;
    return strip;
  }

  static VisualClipMapping clip(std::uint8_t note, const std::string& path, VisualTriggerMode mode) {
    VisualClipMapping mapping;
    mapping.note = note;
    mapping.filePath = path;
    mapping.triggerMode = mode;
    return mapping;
  }

  std::vector<json> clipLines(const SetlistFile& setlist, const MidiFileMaker& show) {
    const auto run = renderOnZoo({"--out", at("out.wav"), "--events", at("events"), write("show.vrel", setlist),
                                  write("show.mid", show.bytes())});
    EXPECT_EQ(run.exitCode, 0) << run.output << run.errors;
    std::vector<json> lines;
    for (const auto& line : allEvents("events")) {
      if (line.at("kind") == "clip") {
        lines.push_back(line);
      }
    }
    return lines;
  }

  static json line(double seconds, int channel, int note, double opacity) {
    return {{"t", seconds}, {"kind", "clip"}, {"channel", channel}, {"note", note}, {"opacity", opacity}};
  }
};

TEST_F(ClipShow, LogsTheExactTimesAtWhichClipsStartAndFade) {
  // A clip that cannot be decoded starts and fades too; only its picture stays empty.
  const auto path = write("clip.mov", std::string("no movie"));
  const auto setlist =
      setlistOf({songOf("One", {stripOf("Empty", ""), clips({clip(60, path, VisualTriggerMode::hold),
                                                             clip(62, path, VisualTriggerMode::toggle),
                                                             clip(64, at("gone.mov"), VisualTriggerMode::hold)})}),
                 songOf("Two", {})});
  MidiFileMaker show;
  show.message(100, {0x90, 60, 100}).message(200, {0x90, 62, 100}).message(250, {0x90, 64, 100});
  show.message(300, {0x80, 60, 0}).message(301, {0x80, 62, 0}).message(500, {0x90, 62, 100});
  show.message(1000, {0x90, 62, 100}).marker(1500, "song 1");
  EXPECT_THAT(clipLines(setlist, show), ElementsAre(line(0.1, 1, 60, 1), line(0.2, 1, 62, 1), line(0.3, 1, 60, 0),
                                                    line(0.5, 1, 62, 0), line(1.0, 1, 62, 1), line(1.5, 1, 62, 0)));
}

TEST_F(ClipShow, AClipStartedAgainWithinItsFadeIsLoggedAgainButNotARestartOfAShownOne) {
  const auto path = write("clip.mov", std::string("no movie"));
  const auto setlist = setlistOf({songOf("One", {clips({clip(60, path, VisualTriggerMode::hold)})})});
  MidiFileMaker show;
  show.message(100, {0x90, 60, 100}).message(200, {0x80, 60, 0}).message(250, {0x90, 60, 100});
  show.message(800, {0x90, 60, 100}).message(1000, {0x80, 60, 0});
  EXPECT_THAT(clipLines(setlist, show),
              ElementsAre(line(0.1, 0, 60, 1), line(0.2, 0, 60, 0), line(0.25, 0, 60, 1), line(1.0, 0, 60, 0)));
}

}  // namespace
}  // namespace vrel
