// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "apps/vrel-render/show/render_run.h"
#include "apps/vrel-render/show/show_files.h"
#include "apps/vrel-render/show/sound_file.h"

namespace vrel {
namespace {

using testing::HasSubstr;

/// Takes as long as the timeout of a song switch, in real time.
class UnansweredShow : public ShowTest {};

TEST_F(UnansweredShow, APluginThatNeverAnswersTimesOutAndTheOthersPlayOn) {
  const std::string sine = zooInstrument("sine");
  auto silent = stripOf("Silent", zooInstrument("gate"));
  MidiFileMaker show;
  show.message(100, {0x90, 60, 100}).marker(500, "song 1").message(600, {0x90, 60, 100});
  const auto setlist =
      write("show.vrel",
            setlistOf({songOf("One", {silent, stripOf("Sine", sine)}), songOf("Two", {stripOf("Other Sine", sine)})}));
  const auto run = runRender({"--out", at("out.wav"), "--events", at("events.jsonl"), "--save", at("saved.vrel"),
                              "--tail", "0.5", setlist, write("show.mid", show.bytes())},
                             {"LV2_PATH=" VREL_ZOO_PATH, "VREL_ZOO_GATE=" + at("never")});
  EXPECT_EQ(run.exitCode, 0) << run.output << run.errors;
  EXPECT_THAT(run.output + run.errors, HasSubstr("Song switch timed out after 30 seconds\n"));
  EXPECT_THAT(run.output, HasSubstr("channel \"Silent\": Loading..."));
  const auto sound = soundIn(read("out.wav"));
  EXPECT_GT(sound.rmsDecibels(9600, 19200), -30) << "beside it";
  EXPECT_GT(sound.rmsDecibels(33600, 43200), -30) << "after it";
  std::vector<double> ends;
  for (const auto& event : events("events.jsonl")) {
    if (event.at("kind") == "switch") {
      ends.push_back(event.at("t"));
    }
  }
  EXPECT_EQ(ends, (std::vector{0.0, 0.5})) << "it is not waited for again";
  EXPECT_TRUE(exists("saved.vrel"));
}

}  // namespace
}  // namespace vrel
