// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/options.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace vrel::render {
namespace {

using Arguments = std::vector<std::string>;

Options parsed(const Arguments& arguments) {
  auto options = parseOptions(arguments);
  EXPECT_TRUE(options.ok()) << options.error().description;
  return options.ok() ? std::move(options).value() : Options{};
}

/// The error, which must be one line.
std::string refusal(const Arguments& arguments) {
  const auto options = parseOptions(arguments);
  if (options.ok()) {
    ADD_FAILURE() << "accepted: " << testing::PrintToString(arguments);
    return {};
  }
  const std::string text = options.error().description;
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 0);
  return text;
}

TEST(RenderOptions, ASetlistAloneGivesTheDefaults) {
  const Options options = parsed({"a.vrel"});
  EXPECT_EQ(options.setlistPath, "a.vrel");
  EXPECT_FALSE(options.showPath || options.outPath || options.eventsPath || options.savePath);
  EXPECT_FALSE(options.listPlugins || options.help);
  EXPECT_EQ(options.song, 0U);
  EXPECT_EQ(options.rate, 48000);
  EXPECT_EQ(options.block, 128U);
  EXPECT_EQ(options.tail, 2);
}

TEST(RenderOptions, EveryOptionIsAcceptedAtAnyPosition) {
  const Options options = parsed({"--out", "o.wav", "--song", "3", "a.vrel", "--rate", "44100", "--block", "1024",
                                  "b.mid", "--tail", "0.25", "--events", "e.jsonl", "--save", "s.vrel"});
  EXPECT_EQ(options.setlistPath, "a.vrel");
  EXPECT_EQ(options.showPath, "b.mid");
  EXPECT_EQ(options.outPath, "o.wav");
  EXPECT_EQ(options.eventsPath, "e.jsonl");
  EXPECT_EQ(options.savePath, "s.vrel");
  EXPECT_EQ(options.song, 3U);
  EXPECT_EQ(options.rate, 44100);
  EXPECT_EQ(options.block, 1024U);
  EXPECT_EQ(options.tail, 0.25);
}

TEST(RenderOptions, AListOfPluginsNeedsNoSetlist) {
  EXPECT_TRUE(parsed({"--list-plugins"}).listPlugins);
  EXPECT_TRUE(parsed({"--help"}).help);
  EXPECT_TRUE(parsed({"--version"}).version);
}

TEST(RenderOptions, TheBlockIsOneOfSix) {
  for (const char* block : {"32", "64", "128", "256", "512", "1024"}) {
    EXPECT_EQ(std::to_string(parsed({"a.vrel", "--block", block}).block), block);
  }
  for (const char* block : {"0", "16", "100", "2048", "-128", "128.0", "128 ", "", "x", "99999999999"}) {
    EXPECT_NE(refusal({"a.vrel", "--block", block}).find("--block"), std::string::npos) << block;
  }
}

TEST(RenderOptions, TheRateHasBounds) {
  EXPECT_EQ(parsed({"a.vrel", "--rate", "8000"}).rate, 8000);
  EXPECT_EQ(parsed({"a.vrel", "--rate", "192000"}).rate, 192000);
  for (const char* rate : {"7999", "192001", "0", "-48000", "48k", "44100.5", "nan", ""}) {
    EXPECT_NE(refusal({"a.vrel", "--rate", rate}).find("--rate"), std::string::npos) << rate;
  }
}

TEST(RenderOptions, TheTailIsATimeOfAtMostADay) {
  EXPECT_EQ(parsed({"a.vrel", "--tail", "0"}).tail, 0);
  EXPECT_EQ(parsed({"a.vrel", "--tail", "1e1"}).tail, 10);
  for (const char* tail : {"-1", "-0.001", "nan", "inf", "1e9", "2s", ""}) {
    EXPECT_NE(refusal({"a.vrel", "--tail", tail}).find("--tail"), std::string::npos) << tail;
  }
}

TEST(RenderOptions, ASongIsAnIntegerFromZero) {
  for (const char* song : {"-1", "1.5", "one", "", "99999999999"}) {
    EXPECT_NE(refusal({"a.vrel", "--song", song}).find("--song"), std::string::npos) << song;
  }
}

TEST(RenderOptions, AnErrorNamesTheArgument) {
  EXPECT_NE(refusal({}).find("setlist"), std::string::npos);
  EXPECT_NE(refusal({"a.vrel", "--loud"}).find("--loud"), std::string::npos);
  EXPECT_NE(refusal({"a.vrel", "-o"}).find("-o"), std::string::npos);
  EXPECT_NE(refusal({"a.vrel", "b.mid", "c.vrel"}).find("c.vrel"), std::string::npos);
  EXPECT_NE(refusal({"a.vrel", "--out"}).find("--out"), std::string::npos);
  EXPECT_NE(refusal({"a.vrel", "--out", "--events", "e"}).find("--out"), std::string::npos);
  EXPECT_NE(refusal({"a.vrel", "--song", "1", "--song", "2"}).find("more than once"), std::string::npos);
  EXPECT_NE(refusal({"a.vrel", "--out", ""}).find("--out"), std::string::npos);
  EXPECT_NE(refusal({""}).find("empty"), std::string::npos);
}

TEST(RenderOptions, AnOutputNeverOverwritesAnotherFileOfTheRun) {
  EXPECT_NE(refusal({"a.vrel", "--out", "a.vrel"}).find("over"), std::string::npos);
  EXPECT_NE(refusal({"a.vrel", "b.mid", "--events", "./b.mid"}).find("over"), std::string::npos);
  EXPECT_NE(refusal({"a.vrel", "--out", "x", "--events", "y/../x"}).find("over"), std::string::npos);
  EXPECT_NE(refusal({"a.vrel", "b.mid", "--save", "b.mid"}).find("over"), std::string::npos);
  EXPECT_NE(refusal({"a.vrel", "--out", "x", "--save", "x"}).find("over"), std::string::npos);
}

TEST(RenderOptions, TheSetlistMayBeSavedOverItself) {
  EXPECT_EQ(parsed({"a.vrel", "--save", "./a.vrel"}).savePath, "./a.vrel");
}

TEST(RenderOptions, ACheckTakesASetlistAlone) {
  const Options options =
      parsed({"--check", "a.vrel", "--json", "--block", "64", "--rate", "44100", "--sandbox", "off"});
  EXPECT_TRUE(options.check && options.json);
  EXPECT_EQ(options.setlistPath, "a.vrel");
  EXPECT_NE(refusal({"--check"}).find("setlist"), std::string::npos);
  EXPECT_NE(refusal({"--check", "a.vrel", "b.mid"}).find("b.mid"), std::string::npos);
  EXPECT_NE(refusal({"--json", "a.vrel"}).find("--check"), std::string::npos);
  for (const auto& [option, value] : std::vector<std::pair<std::string, std::string>>{
           {"--out", "x"}, {"--events", "x"}, {"--save", "x"}, {"--song", "0"}, {"--tail", "1"}}) {
    EXPECT_NE(refusal({"--check", "a.vrel", option, value}).find(option), std::string::npos) << option;
  }
}

TEST(RenderOptions, ACollectionTakesASetlistAlone) {
  const Options options = parsed({"a.vrel", "--collect", "stick/gig"});
  EXPECT_EQ(options.collectPath, "stick/gig");
  EXPECT_NE(refusal({"--collect", "gig", "a.vrel", "b.mid"}).find("b.mid"), std::string::npos);
  EXPECT_NE(refusal({"--collect", "gig", "a.vrel", "--out", "x"}).find("--out"), std::string::npos);
  EXPECT_NE(refusal({"--collect", "gig", "a.vrel", "--check"}).find("--collect"), std::string::npos);
  EXPECT_NE(refusal({"a.vrel", "--collect", ""}).find("--collect"), std::string::npos);
}

TEST(RenderOptions, TheUsageNamesEveryOption) {
  for (const char* option : {"--check", "--json", "--collect", "--list-plugins", "--out", "--events", "--save",
                             "--song", "--rate", "--block", "--tail"}) {
    EXPECT_NE(usage().find(option), std::string::npos) << option;
  }
}

}  // namespace
}  // namespace vrel::render
