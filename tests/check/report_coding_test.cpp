// SPDX-License-Identifier: GPL-3.0-or-later
#include "check/report_coding.h"

#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

namespace vrel {
namespace {

using nlohmann::json;

constexpr auto sampleTargets =
    R"([{"kind":"channel_volume","strip":1},{"kind":"projection_blackout"},{"kind":"notes_position"}])";
constexpr auto samplePlayed =
    R"({"load_seconds":0.5,"median_share":0.25,"worst_share":0.75,"peak":0.875,"memory_bytes":5000000000})";
constexpr auto sampleFinding = R"json({"kind":"file_incomplete","severity":"error","strip":0,"strip_name":"Click",
    "subject":"/click.wav","reason":"1 s of 2 s",
    "text":"The file cannot be decoded to its end: /click.wav (1 s of 2 s)",
    "advice":"Replace the file by a whole copy, or choose another one."})json";

CheckReport sample() {
  CheckReport report{.setlist = "/gig.vrel", .rate = 44100, .block = 64};
  report.findings = {{.kind = FindingKind::sharedControl,
                      .subject = "CC 20, MIDI 1",
                      .targets = {{MidiControlKind::channelVolume, 1},
                                  {MidiControlKind::projectionBlackout, {}},
                                  {MidiControlKind::notesPosition, {}}},
                      .pluginControls = {"Cutoff 2"}}};
  report.pages = {{.song = 3,
                   .name = "Intro",
                   .findings = {{.kind = FindingKind::fileIncomplete,
                                 .strip = FindingStrip{0, "Click"},
                                 .subject = "/click.wav",
                                 .reason = "1 s of 2 s"},
                                {.kind = FindingKind::clips, .value = 1.5}},
                   .played = PlayedSong{.loadSeconds = 0.5,
                                        .medianShare = 0.25,
                                        .worstShare = 0.75,
                                        .peak = 0.875,
                                        .memoryBytes = 5'000'000'000}},
                  {.song = 4, .name = "Empty"}};
  return report;
}

TEST(CheckReportCoding, AReportComesBackAsItWas) {
  const auto decoded = decodeReport(encodeReport(sample()));
  ASSERT_TRUE(decoded) << decoded.error().description;
  EXPECT_EQ(decoded.value(), sample());
  const auto page = decodePage(encodePage(sample().pages[0]));
  ASSERT_TRUE(page);
  EXPECT_EQ(page.value(), sample().pages[0]);
}

TEST(CheckReportCoding, TheKeysAreThoseOfTheManual) {
  const auto object = json::parse(encodeReport(sample()));
  EXPECT_EQ(object.at("version"), 1);
  EXPECT_EQ(object.at("setlist"), "/gig.vrel");
  EXPECT_EQ(object.at("rate"), 44100);
  EXPECT_EQ(object.at("block"), 64);
  EXPECT_EQ(object.at("errors"), 1);
  EXPECT_EQ(object.at("warnings"), 2);
  EXPECT_EQ(object.at("findings").at(0).at("targets"), json::parse(sampleTargets));
  const auto& page = object.at("pages").at(0);
  EXPECT_EQ(page.at("song"), 3);
  EXPECT_EQ(page.at("name"), "Intro");
  EXPECT_EQ(page.at("played"), json::parse(samplePlayed));
  EXPECT_EQ(page.at("findings").at(0), json::parse(sampleFinding));
  EXPECT_EQ(page.at("findings").at(1).at("value"), 1.5);
  EXPECT_FALSE(object.at("pages").at(1).contains("played"));
}

TEST(CheckReportCoding, AReportIsOneLineOfJsonWhateverItNames) {
  CheckReport report;
  report.pages = {
      {.song = 0, .name = "two\nlines \xFF", .findings = {{.kind = FindingKind::slowLoad, .value = std::nan("")}}}};
  const std::string text = encodeReport(report);
  EXPECT_EQ(text.find('\n'), std::string::npos);
  EXPECT_TRUE(json::accept(text));
}

TEST(CheckReportCoding, WhatANewerProgramAddsIsPassedOver) {
  constexpr auto newer = R"({"new":[],"pages":[7,{"song":"x","name":5,"findings":[
    {"kind":"of_tomorrow"},{"kind":"clips","value":"loud","targets":[{"kind":"of_tomorrow"},3]},null]}]})";
  const auto report = decodeReport(newer);
  ASSERT_TRUE(report);
  ASSERT_EQ(report.value().pages.size(), 1U);
  ASSERT_EQ(report.value().pages[0].findings.size(), 1U);
  EXPECT_EQ(report.value().pages[0].findings[0], Finding{.kind = FindingKind::clips});
}

TEST(CheckReportCoding, WhatIsNotAReportIsAnError) {
  for (const auto* const text : {"", "[]", "{", "vrel-render: out of memory", "null"}) {
    EXPECT_FALSE(decodeReport(text)) << text;
  }
}

}  // namespace
}  // namespace vrel
