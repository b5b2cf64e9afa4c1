// SPDX-License-Identifier: GPL-3.0-or-later
// A scan meets data that would stop, swamp or end the program, and libraries that do so when they are loaded.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "system/plugins/lv2/bundle_search.h"
#include "system/plugins/lv2/lv2_stage.h"
#include "system/plugins/scratch_folder.h"

namespace vrel::lv2 {
namespace {

namespace fs = std::filesystem;

constexpr const char* prefixes =
    "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
    "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n";

class Scan : public testing::Test {
 protected:
  Scan() {
    write("sound", "manifest.ttl", manifestOf("sound", "data.ttl")), write("sound", "data.ttl", dataOf("sound"));
  }

  static std::string manifestOf(const std::string& name, const std::string& data) {
    return prefixes +
           ("<urn:vrel:scan:" + name + "> a lv2:Plugin ; lv2:binary <x.so> ; rdfs:seeAlso <" + data + "> .\n");
  }
  static std::string dataOf(const std::string& name) {
    return prefixes + ("<urn:vrel:scan:" + name +
                       "> lv2:port [ a lv2:OutputPort , lv2:AudioPort ; lv2:index 0 ; lv2:symbol \"out\" ; "
                       "lv2:name \"Out\" ] .\n");
  }

  [[nodiscard]] fs::path at(const std::string& bundle, const std::string& file) const {
    const fs::path folder = root_.path() / (bundle + ".lv2");
    fs::create_directories(folder);
    return folder / file;
  }
  void write(const std::string& bundle, const std::string& file, const std::string& text) const {
    std::ofstream(at(bundle, file), std::ios::binary) << text;
  }

  /// The names of all plug-ins that are found.
  [[nodiscard]] std::vector<std::string> found() const {
    setenv("LV2_PATH", root_.path().c_str(), 1);
    std::vector<std::string> names;
    for (const auto& component : Lv2World::open()->componentsMatchingDescription({})) {
      names.push_back(component.name);
    }
    return names;
  }

  const ScratchFolder root_ = ScratchFolder::make().value();
};

TEST_F(Scan, FindsWhatIsSoundByTheNameOfItsBundle) {
  write("another", "manifest.ttl", manifestOf("another", "data.ttl"));
  write("another", "data.ttl", dataOf("another"));
  EXPECT_THAT(found(), testing::ElementsAre("another", "sound"));
}

TEST_F(Scan, APipeInTheManifestsPlaceHoldsNobodyUp) {
  ASSERT_EQ(mkfifo(at("pipe", "manifest.ttl").c_str(), 0600), 0);
  EXPECT_THAT(found(), testing::ElementsAre("sound"));
}

TEST_F(Scan, APipeInTheDatasPlaceHoldsNobodyUp) {
  write("pipe", "manifest.ttl", manifestOf("pipe", "data.ttl"));
  ASSERT_EQ(mkfifo(at("pipe", "data.ttl").c_str(), 0600), 0);
  EXPECT_THAT(found(), testing::ElementsAre("sound"));
}

TEST_F(Scan, DataOutsideOfTheBundleIsLookedAtToo) {
  const fs::path pipe = root_.path() / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  write("outside", "manifest.ttl", manifestOf("outside", "file://" + pipe.string()));
  EXPECT_THAT(found(), testing::ElementsAre("sound"));
}

TEST_F(Scan, AFileWithoutEndIsNotRead) {
  fs::create_symlink("/dev/zero", at("endless", "manifest.ttl"));
  EXPECT_THAT(found(), testing::ElementsAre("sound"));
}

TEST_F(Scan, AFileThatIsMuchTooLargeIsNotRead) {
  write("huge", "manifest.ttl", manifestOf("huge", "data.ttl"));
  write("huge", "data.ttl", dataOf("huge"));
  fs::resize_file(at("huge", "data.ttl"), maximumDataBytes + 1);
  EXPECT_THAT(found(), testing::ElementsAre("sound"));
}

TEST_F(Scan, BracketsWithoutEndDoNotEndTheProgram) {
  std::string lists = "<urn:a> <urn:b> ";
  std::string nodes = lists;
  for (int depth = 0; depth < 200000; ++depth) {
    lists += "( ";
    nodes += "[ <urn:c> ";
  }
  write("lists", "manifest.ttl", lists);
  write("nodes", "manifest.ttl", nodes);
  EXPECT_THAT(found(), testing::ElementsAre("sound"));
}

TEST_F(Scan, NestingUpToTheLimitIsRead) {
  std::string deep = dataOf("sound") + "<urn:a> <urn:b> ";
  for (int depth = 0; depth < maximumDataDepth - 1; ++depth) {
    deep += "( ";
  }
  for (int depth = 0; depth < maximumDataDepth - 1; ++depth) {
    deep += ") ";
  }
  write("sound", "data.ttl", deep + ".\n");
  EXPECT_TRUE(isReadableData(at("sound", "data.ttl")));
  EXPECT_THAT(found(), testing::ElementsAre("sound"));
}

TEST_F(Scan, AFolderWithoutManifestAndAPlaceThatIsNotThereAreNothing) {
  write("empty", "readme.txt", "nothing");
  setenv("LV2_PATH", ("/no/such/place::" + root_.path().string()).c_str(), 1);
  EXPECT_THAT(findBundles(), testing::ElementsAre(root_.path() / "sound.lv2"));
}

TEST(ScanOfTheZoo, RunsNoCodeOfAPluginNotEvenWhereABundleAsksForIt) {
  const Stage stage;
  EXPECT_EQ(stage.component("urn:vrel:zoo:landmine").name, "Zoo Landmine") << "loading its library ends the process";
}

}  // namespace
}  // namespace vrel::lv2
