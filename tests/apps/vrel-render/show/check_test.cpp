// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "apps/vrel-render/show/render_run.h"
#include "apps/vrel-render/show/show_files.h"
#include "check/report_coding.h"

namespace vrel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Kind = FindingKind;

class SetlistCheckShow : public ShowTest {
 protected:
  struct Checked {
    ProgramRun run;
    CheckReport report;
  };

  /// The check of a setlist, in blocks that last long on any machine, on the plug-ins of the zoo, with this exit code.
  Checked check(const SetlistFile& setlist, int exitCode) const {
    return checkFile(write("gig.vrel", setlist), exitCode);
  }

  static Checked checkFile(const std::string& path, int exitCode) {
    Checked checked{renderOnZoo({"--check", "--json", "--block", "1024", path}), {}};
    EXPECT_EQ(checked.run.exitCode, exitCode) << checked.run.output << checked.run.errors;
    auto report = decodeReport(checked.run.output);
    EXPECT_TRUE(report) << checked.run.output;
    if (report) {
      checked.report = std::move(report).value();
    }
    return checked;
  }

  static std::vector<FindingKind> kindsIn(const std::vector<Finding>& findings) {
    std::vector<FindingKind> kinds;
    for (const auto& finding : findings) {
      kinds.push_back(finding.kind);
    }
    return kinds;
  }
};

TEST_F(SetlistCheckShow, ASongThatPlaysHasMeasuredValuesAndNoFindings) {
  auto strip = stripOf("Sine", zooInstrument("sine"));
  strip.volume = 0.5F;
  const auto [run, report] = check(setlistOf({songOf("One", {strip})}), 0);
  ASSERT_EQ(report.pages.size(), 1U);
  EXPECT_THAT(report.pages[0].findings, IsEmpty()) << run.output;
  ASSERT_TRUE(report.pages[0].played);
  const auto& played = *report.pages[0].played;
  EXPECT_GT(played.peak, 0.001);
  EXPECT_GT(played.medianShare, 0);
  EXPECT_GE(played.worstShare, played.medianShare);
  EXPECT_GT(played.loadSeconds, 0);
  EXPECT_GT(played.memoryBytes, 100'000U) << "of the guest";
  EXPECT_THAT(run.errors, HasSubstr("1 of 1 songs played"));
}

TEST_F(SetlistCheckShow, APluginThatHangsIsAFindingAndTheOtherSongsArePlayed) {
  const auto [run, report] =
      check(setlistOf({songOf("Hangs", {stripOf("Rebel", zooInstrument("rebel-hang-instantiate"))}),
                       songOf("Plays", {stripOf("Sine", zooInstrument("sine"))})}),
            1);
  ASSERT_EQ(report.pages.size(), 2U);
  EXPECT_EQ(report.pages[0].song, 0U) << "worst first";
  const auto kinds = kindsIn(report.pages[0].findings);
  EXPECT_THAT(kinds, testing::Contains(Kind::pluginSilent)) << run.output;
  EXPECT_TRUE(report.pages[1].played);
  EXPECT_THAT(kindsIn(report.pages[1].findings), testing::Not(testing::Contains(Kind::notPlayed)));
}

TEST_F(SetlistCheckShow, AnEffectThatDoesNotLoadIsNotReportedAsDead) {
  std::filesystem::create_directory(at("refusing.lv2"));
  write("refusing.lv2/manifest.ttl", R"(@prefix lv2: <http://lv2plug.in/ns/lv2core#> .
    @prefix doap: <http://usefulinc.com/ns/doap#> .
    <urn:vrel:zoo:refusing> a lv2:Plugin ; lv2:binary <none.so> ; doap:name "Refusing" ;
      lv2:port [ a lv2:InputPort , lv2:AudioPort ; lv2:index 0 ; lv2:symbol "in" ; lv2:name "In" ] ,
        [ a lv2:OutputPort , lv2:AudioPort ; lv2:index 1 ; lv2:symbol "out" ; lv2:name "Out" ] .)");
  auto strip = stripOf("Sine", zooInstrument("sine"));
  strip.effectSlots = {{.pluginPath = zooEffect("refusing"), .pluginName = "Refusing"}};
  const auto path = write("gig.vrel", setlistOf({songOf("One", {strip})}));
  const auto run = runRender({"--check", "--json", "--block", "1024", path}, {"LV2_PATH=" VREL_ZOO_PATH ":" + at("")});
  const auto report = decodeReport(run.output);
  ASSERT_TRUE(report) << run.output;
  ASSERT_EQ(report.value().pages.size(), 1U);
  const auto kinds = kindsIn(report.value().pages[0].findings);
  EXPECT_THAT(kinds, testing::Contains(Kind::pluginFailed)) << run.output;
  EXPECT_THAT(kinds, testing::Not(testing::Contains(Kind::pluginDied))) << run.output;
}

TEST_F(SetlistCheckShow, InvalidSamplesAreAFinding) {
  const auto [run, report] = check(setlistOf({songOf("One", {stripOf("Broken", zooInstrument("notanumber"))})}), 1);
  ASSERT_EQ(report.pages.size(), 1U);
  EXPECT_THAT(kindsIn(report.pages[0].findings), testing::Contains(Kind::invalidSound)) << run.output;
  EXPECT_THAT(run.output, HasSubstr("invalid_sound"));
}

TEST_F(SetlistCheckShow, LooksForThePluginsOnceForAllSongs) {
  ASSERT_THAT(renderOnZoo({"--list-plugins"}).errors, HasSubstr("brokendata")) << "each scan says so";
  auto strip = stripOf("Sine", zooInstrument("sine"));
  strip.volume = 0.5F;
  const auto [run, report] = check(setlistOf({songOf("One", {strip})}), 0);
  EXPECT_THAT(run.errors, testing::Not(HasSubstr("broken"))) << "the scan after the songs reads no bundle";
  ASSERT_EQ(report.pages.size(), 1U);
  EXPECT_TRUE(report.pages[0].played);
}

TEST_F(SetlistCheckShow, MissingPluginsAndFilesAreFoundBesideWhatPlays) {
  auto track = stripOf("Click", "internal:playback");
  track.playbackFilePath = at("none.wav");
  const auto [run, report] = check(setlistOf({songOf("One", {stripOf("Organ", "au:Bolt:Organ"), track})}), 1);
  ASSERT_EQ(report.pages.size(), 1U);
  const auto kinds = kindsIn(report.pages[0].findings);
  EXPECT_THAT(kinds, ElementsAre(Kind::pluginMissing, Kind::fileMissing, Kind::silentWhenPlayed)) << run.output;
}

TEST_F(SetlistCheckShow, ADamagedSetlistIsAFinding) {
  const auto [run, report] = checkFile(write("bad.vrel", "{"), 1);
  EXPECT_THAT(kindsIn(report.findings), ElementsAre(Kind::unreadableSetlist));
  EXPECT_THAT(report.pages, IsEmpty());
}

TEST_F(SetlistCheckShow, IsPrintedForPeopleWithoutJson) {
  const auto run = renderOnZoo({"--check", write("gig.vrel", setlistOf({songOf("One", {})}))});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.output,
              HasSubstr("gig.vrel: 1 song, 0 errors, 1 warning\nsong 1 \"One\": 0 errors, 1 warning\n  warning: "));
  EXPECT_EQ(run.ownErrors(), "");
}

TEST_F(SetlistCheckShow, TouchesNoFileOfTheUser) {
  const auto path = write("gig.vrel", setlistOf({songOf("One", {stripOf("Sine", zooInstrument("sine"))})}));
  const auto before = read("gig.vrel");
  (void)renderOnZoo({"--check", path});
  EXPECT_EQ(read("gig.vrel"), before);
  EXPECT_FALSE(exists("state/vrel/copies"));
}

}  // namespace
}  // namespace vrel
