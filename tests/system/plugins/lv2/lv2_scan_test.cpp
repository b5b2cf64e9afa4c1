// SPDX-License-Identifier: GPL-3.0-or-later
// A scan meets data that would stop, swamp or end the program, and libraries that do so when they are loaded.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "system/plugins/lv2/bundle_search.h"
#include "system/plugins/lv2/lv2_stage.h"
#include "system/plugins/lv2/made_bundles.h"

namespace vrel::lv2 {
namespace {

namespace fs = std::filesystem;

class Scan : public testing::Test {
 protected:
  Scan() { bundles_.writePlugin("sound"); }

  /// The names of all plug-ins that are found.
  [[nodiscard]] std::vector<std::string> found() const {
    setenv("LV2_PATH", bundles_.place().c_str(), 1);
    return namesIn(*Lv2World::open());
  }

  const MadeBundles bundles_;
};

TEST_F(Scan, FindsWhatIsSoundByTheNameOfItsBundle) {
  bundles_.writePlugin("another");
  EXPECT_THAT(found(), testing::ElementsAre("another", "sound"));
}

TEST_F(Scan, APipeInTheManifestsPlaceHoldsNobodyUp) {
  ASSERT_EQ(mkfifo(bundles_.at("pipe", "manifest.ttl").c_str(), 0600), 0);
  EXPECT_THAT(found(), testing::ElementsAre("sound"));
}

TEST_F(Scan, APipeInTheDatasPlaceHoldsNobodyUp) {
  bundles_.write("pipe", "manifest.ttl", MadeBundles::manifestOf("pipe", "data.ttl"));
  ASSERT_EQ(mkfifo(bundles_.at("pipe", "data.ttl").c_str(), 0600), 0);
  EXPECT_THAT(found(), testing::ElementsAre("sound"));
}

TEST_F(Scan, DataOutsideOfTheBundleIsLookedAtToo) {
  const fs::path pipe = bundles_.place() / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  bundles_.write("outside", "manifest.ttl", MadeBundles::manifestOf("outside", "file://" + pipe.string()));
  EXPECT_THAT(found(), testing::ElementsAre("sound"));
}

TEST_F(Scan, AFileWithoutEndIsNotRead) {
  fs::create_symlink("/dev/zero", bundles_.at("endless", "manifest.ttl"));
  EXPECT_THAT(found(), testing::ElementsAre("sound"));
}

TEST_F(Scan, AFileThatIsMuchTooLargeIsNotRead) {
  bundles_.write("huge", "manifest.ttl", MadeBundles::manifestOf("huge", "data.ttl"));
  bundles_.write("huge", "data.ttl", MadeBundles::dataOf("huge"));
  fs::resize_file(bundles_.at("huge", "data.ttl"), maximumDataBytes + 1);
  EXPECT_THAT(found(), testing::ElementsAre("sound"));
}

TEST_F(Scan, BracketsWithoutEndDoNotEndTheProgram) {
  std::string lists = "<urn:a> <urn:b> ";
  std::string nodes = lists;
  for (int depth = 0; depth < 200000; ++depth) {
    lists += "( ";
    nodes += "[ <urn:c> ";
  }
  bundles_.write("lists", "manifest.ttl", lists);
  bundles_.write("nodes", "manifest.ttl", nodes);
  EXPECT_THAT(found(), testing::ElementsAre("sound"));
}

TEST_F(Scan, NestingUpToTheLimitIsRead) {
  std::string deep = MadeBundles::dataOf("sound") + "<urn:a> <urn:b> ";
  for (int depth = 0; depth < maximumDataDepth - 1; ++depth) {
    deep += "( ";
  }
  for (int depth = 0; depth < maximumDataDepth - 1; ++depth) {
    deep += ") ";
  }
  bundles_.write("sound", "data.ttl", deep + ".\n");
  EXPECT_TRUE(isReadableData(bundles_.at("sound", "data.ttl")));
  EXPECT_THAT(found(), testing::ElementsAre("sound"));
}

TEST_F(Scan, AFolderWithoutManifestAndAPlaceThatIsNotThereAreNothing) {
  bundles_.write("empty", "readme.txt", "nothing");
  setenv("LV2_PATH", ("/no/such/place::" + bundles_.place().string()).c_str(), 1);
  EXPECT_THAT(findBundles(), testing::ElementsAre(bundles_.place() / "sound.lv2"));
}

TEST(ScanOfTheZoo, RunsNoCodeOfAPluginNotEvenWhereABundleAsksForIt) {
  const Stage stage;
  EXPECT_EQ(stage.component("urn:vrel:zoo:landmine").name, "Zoo Landmine") << "loading its library ends the process";
}

}  // namespace
}  // namespace vrel::lv2
