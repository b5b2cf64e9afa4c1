// SPDX-License-Identifier: GPL-3.0-or-later
// A scan reads what has changed since the last one, and all where what that one has left cannot be used.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/fnv1a64.h"
#include "system/files/file_calls.h"
#include "system/files/posix_file_manager.h"
#include "system/plugins/lv2/bundle_scan.h"
#include "system/plugins/lv2/lv2_stage.h"
#include "system/plugins/lv2/made_bundles.h"
#include "system/plugins/lv2/scan_cache.h"

namespace vrel::lv2 {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string textOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void writeText(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

class KeptScan : public testing::Test {
 protected:
  KeptScan() {
    setenv("LV2_PATH", bundles_.place().c_str(), 1);
    bundles_.writePlugin("first");
    bundles_.writePlugin("second");
  }

  struct Found {
    std::vector<std::string> names;
    std::size_t bundlesRead;
    std::vector<std::string> lines;
  };

  /// One start of the program, to its end.
  [[nodiscard]] Found scan() const {
    auto lines = std::make_shared<std::vector<std::string>>();
    Found found;
    {
      const auto world = Lv2World::open(
          {.files = files_, .cacheFile = file_, .helperProgram = helper_, .log = [lines](const std::string& line) {
             lines->push_back(line);
           }});
      found.names = namesIn(*world);
      found.bundlesRead = world->bundlesRead();
    }
    found.lines = *lines;
    return found;
  }

  /// A helper that does something before it reads the bundles, with their names in the file $names.
  void useHelper(const std::string& before) {
    helper_ = folder_.path() / "helper";
    writeText(helper_, "#!/bin/bash\nnames=$(mktemp " + folder_.path().string() + "/XXXXXX)\ncat > $names\n" + before +
                           "\nexec " VREL_PLUGIN_HOST_PROGRAM " \"$@\" < $names\n");
    fs::permissions(helper_, fs::perms::owner_all);
  }

  struct Files {
    system::FileCalls calls;
    system::PosixFileManager manager{calls};
  };
  const std::shared_ptr<Files> ownFiles_ = std::make_shared<Files>();
  const std::shared_ptr<FileManager> files_{ownFiles_, &ownFiles_->manager};
  const MadeBundles bundles_;
  const ScratchFolder folder_ = ScratchFolder::make().value();
  const fs::path file_ = folder_.path() / "cache" / "plugins";
  std::string helper_;
};

TEST_F(KeptScan, ReadsNothingWhereNothingHasChanged) {
  EXPECT_EQ(scan().bundlesRead, 2U);
  const Found again = scan();
  EXPECT_EQ(again.bundlesRead, 0U);
  EXPECT_THAT(again.names, ElementsAre("first", "second"));
  EXPECT_THAT(again.lines, IsEmpty());
}

TEST_F(KeptScan, ReadsOnlyTheBundleThatHasChanged) {
  (void)scan();
  bundles_.write("second", "data.ttl", MadeBundles::dataOf("second", "Renamed"));
  const Found changed = scan();
  EXPECT_EQ(changed.bundlesRead, 1U);
  EXPECT_THAT(changed.names, ElementsAre("first", "Renamed"));
  EXPECT_EQ(scan().bundlesRead, 0U);
}

TEST_F(KeptScan, SeesAFileOfEqualSizeAndTimeThatHasTakenTheOldOnesPlace) {
  bundles_.write("second", "data.ttl", MadeBundles::dataOf("second", "Old"));
  const auto time = fs::last_write_time(bundles_.at("second", "data.ttl"));
  (void)scan();
  bundles_.write("second", "new", MadeBundles::dataOf("second", "New"));
  fs::rename(bundles_.at("second", "new"), bundles_.at("second", "data.ttl"));
  fs::last_write_time(bundles_.at("second", "data.ttl"), time);
  EXPECT_THAT(scan().names, ElementsAre("first", "New"));
}

TEST_F(KeptScan, SeesBundlesThatComeAndGo) {
  (void)scan();
  bundles_.writePlugin("another");
  const Found more = scan();
  EXPECT_EQ(more.bundlesRead, 1U);
  EXPECT_THAT(more.names, ElementsAre("another", "first", "second"));
  fs::remove_all(bundles_.at("first", "").parent_path());
  const Found fewer = scan();
  EXPECT_EQ(fewer.bundlesRead, 0U);
  EXPECT_THAT(fewer.names, ElementsAre("another", "second"));
  EXPECT_THAT(textOf(file_), testing::Not(HasSubstr("first"))) << "nothing is kept of what is gone";
}

TEST_F(KeptScan, SeesAFileThatIsAddedToABundleOrTakenFromIt) {
  (void)scan();
  bundles_.write("first", "more.ttl", "");
  EXPECT_EQ(scan().bundlesRead, 1U);
  fs::remove(bundles_.at("first", "more.ttl"));
  EXPECT_EQ(scan().bundlesRead, 1U);
}

TEST_F(KeptScan, WatchesDataOutsideOfTheBundleToo) {
  const fs::path outside = folder_.path() / "outside.ttl";
  bundles_.write("second", "manifest.ttl", MadeBundles::manifestOf("second", "file://" + outside.string()));
  EXPECT_THAT(scan().names, ElementsAre("first")) << "its data is not there";
  writeText(outside, MadeBundles::dataOf("second", "Outside"));
  const Found there = scan();
  EXPECT_EQ(there.bundlesRead, 1U);
  EXPECT_THAT(there.names, ElementsAre("first", "Outside"));
  EXPECT_EQ(scan().bundlesRead, 0U);
  fs::remove(outside);
  EXPECT_THAT(scan().names, ElementsAre("first"));
}

TEST_F(KeptScan, ReadsAllAgainForAnotherLanguageOrOtherPlaces) {
  (void)scan();
  setenv("LANG", "de_DE.UTF-8", 1);
  EXPECT_EQ(scan().bundlesRead, 2U);
  unsetenv("LANG");
  const MadeBundles more;
  setenv("LV2_PATH", (bundles_.place().string() + ":" + more.place().string()).c_str(), 1);
  const Found found = scan();
  EXPECT_EQ(found.bundlesRead, 2U);
  EXPECT_THAT(found.lines, IsEmpty()) << "nothing is damaged";
}

TEST_F(KeptScan, ADamagedListIsALineAndReadAgain) {
  (void)scan();
  std::string bytes = textOf(file_);
  bytes[bytes.size() / 2] ^= 1;
  for (const std::string& damaged : {bytes, bytes.substr(0, bytes.size() / 3), std::string("{}"), std::string()}) {
    writeText(file_, damaged);
    const Found found = scan();
    EXPECT_EQ(found.bundlesRead, 2U);
    EXPECT_THAT(found.names, ElementsAre("first", "second"));
    ASSERT_THAT(found.lines, ElementsAre(HasSubstr("(damaged): " + file_.string())));
    EXPECT_EQ(scan().bundlesRead, 0U) << "a good one is in its place";
  }
}

TEST_F(KeptScan, AListThatIsHugeOrNoFileIsALineAndAllIsRead) {
  (void)scan();
  fs::resize_file(file_, std::uintmax_t{1} << 40U);
  const Found huge = scan();
  EXPECT_EQ(huge.bundlesRead, 2U);
  EXPECT_EQ(huge.lines.size(), 1U);
  fs::remove(file_);
  fs::create_directory(file_);
  const Found folder = scan();
  EXPECT_EQ(folder.bundlesRead, 2U);
  EXPECT_THAT(folder.lines, testing::Contains(HasSubstr(file_.string())));
}

TEST_F(KeptScan, AListThatCannotBeWrittenIsALine) {
  writeText(folder_.path() / "cache", "a file where the folder would be");
  const Found found = scan();
  EXPECT_THAT(found.names, ElementsAre("first", "second"));
  EXPECT_THAT(found.lines, ElementsAre(HasSubstr("cannot be kept in " + file_.string())));
}

TEST_F(KeptScan, TheNewerOfTwoBundlesCountsAndElseTheFirst) {
  bundles_.write("later", "manifest.ttl", MadeBundles::manifestOf("first", "data.ttl"));
  bundles_.write("later", "data.ttl", MadeBundles::dataOf("first", "Equal"));
  EXPECT_THAT(scan().names, ElementsAre("first", "second"));
  bundles_.write("later", "manifest.ttl",
                 MadeBundles::manifestOf("first", "data.ttl", "lv2:minorVersion 1 ; lv2:microVersion 2 ;"));
  EXPECT_THAT(scan().names, ElementsAre("Equal", "second"));
  EXPECT_THAT(scan().names, ElementsAre("Equal", "second")) << "from the kept list";
}

TEST_F(KeptScan, APluginOfTheListIsReadWhenItIsUsed) {
  setenv("LV2_PATH", VREL_ZOO_PATH, 1);
  (void)scan();
  Stage stage;
  stage.world = Lv2World::open({.files = files_, .cacheFile = file_, .log = {}});
  stage.factory = std::make_unique<Lv2UnitFactory>(stage.world, HostSettings());
  EXPECT_EQ(stage.world->bundlesRead(), 0U);
  const Stage::Made made = stage.make("urn:vrel:zoo:generator");
  ASSERT_NE(made.unit, nullptr);
  EXPECT_EQ(Player(made.unit).block(16).left, std::vector<float>(16, 0.25F));
}

TEST_F(KeptScan, OfAFewBundlesLosesNoneToAnotherThatEndsTheHelper) {
  bundles_.writePlugin("third");
  useHelper("echo >> " + (folder_.path() / "started").string() +
            "\nif head -z -n 1 $names | grep -q /first.lv2; then kill -SEGV $$; fi");
  const Found found = scan();
  EXPECT_THAT(found.names, ElementsAre("second", "third"));
  EXPECT_THAT(found.lines, ElementsAre(HasSubstr("/first.lv2")));
  EXPECT_EQ(textOf(folder_.path() / "started"), "\n\n") << "one helper, and one more after it";
}

TEST_F(KeptScan, LosesNoBundleToASignalThatEndsTheProgram) {
  useHelper("for signal in TERM HUP INT; do kill -$signal $$; done\ncut -d ' ' -f 5 /proc/$$/stat > " +
            (folder_.path() / "group").string());
  const Found found = scan();
  EXPECT_THAT(found.names, ElementsAre("first", "second"));
  EXPECT_THAT(found.lines, IsEmpty());
  const std::string group = textOf(folder_.path() / "group");
  ASSERT_THAT(group, testing::EndsWith("\n")) << "a helper has read them";
  EXPECT_NE(group, std::to_string(getpgrp()) + "\n") << "what is sent to the terminal's programs is not sent to it";
}

TEST_F(KeptScan, StopsWithTheWorldAndKeepsWhatItHasRead) {
  const fs::path hangs = folder_.path() / "hangs";
  ASSERT_EQ(mkfifo(hangs.c_str(), 0600), 0);
  useHelper("head -z -n 1 $names > $names.1\n" VREL_PLUGIN_HOST_PROGRAM " \"$@\" < $names.1\necho > " + hangs.string() +
            "\nexec sleep 600");
  std::vector<std::string> lines;
  auto world = Lv2World::open({.isAwaited = false,
                               .files = files_,
                               .cacheFile = file_,
                               .helperProgram = helper_,
                               .log = [&lines](const std::string& line) { lines.push_back(line); }});
  EXPECT_EQ(textOf(hangs), "\n");
  world.reset();
  EXPECT_THAT(lines, IsEmpty()) << "it has not waited for the helper";
  helper_.clear();
  const Found next = scan();
  EXPECT_EQ(next.bundlesRead, 1U);
  EXPECT_THAT(next.names, ElementsAre("first", "second"));
}

/// Enough bundles that several helpers are worth it; the first that each helper gets is called "00".
class SharedOutScan : public KeptScan {
 protected:
  SharedOutScan() {
    for (std::size_t number = 0; number < 2 * fewestForSeveralHelpers; ++number) {
      names_.push_back((number < 10 ? "0" : "") + std::to_string(number));
      bundles_.writePlugin(names_.back());
    }
    names_.insert(names_.end(), {"first", "second"});
  }

  std::vector<std::string> names_;
};

TEST_F(SharedOutScan, FindsAllThatAScanInOneProcessFinds) {
  useHelper("echo >> " + (folder_.path() / "started").string());
  const Found found = scan();
  EXPECT_EQ(found.names, names_);
  EXPECT_EQ(found.bundlesRead, names_.size());
  EXPECT_THAT(found.lines, IsEmpty());
  EXPECT_GT(textOf(folder_.path() / "started").size(), 0U) << "helpers have read it";
  const std::string kept = textOf(file_);
  fs::remove(file_);
  helper_.clear();
  EXPECT_EQ(scan().names, names_);
  EXPECT_EQ(textOf(file_), kept);
}

TEST_F(SharedOutScan, LeavesOutTheBundleThatEndsAHelperUntilTheNextStart) {
  useHelper("if head -z -n 1 $names | grep -q /00.lv2; then kill -SEGV $$; fi");
  const Found found = scan();
  names_.erase(names_.begin());
  EXPECT_EQ(found.names, names_);
  EXPECT_THAT(found.lines, ElementsAre(HasSubstr("/00.lv2")));
  helper_.clear();
  const Found next = scan();
  EXPECT_EQ(next.bundlesRead, 1U) << "it is tried again";
  EXPECT_THAT(next.names, testing::Contains("00"));
  EXPECT_EQ(scan().bundlesRead, 0U);
}

TEST_F(SharedOutScan, GoesOnHereWhenAHelperIsOfNoUse) {
  for (const std::string& helper : {std::string("/no/such/program"), std::string("/bin/false")}) {
    fs::remove(file_);
    helper_ = helper;
    const Found found = scan();
    EXPECT_EQ(found.names, names_) << helper;
    EXPECT_THAT(found.lines, IsEmpty());
  }
}

ScannedPlugin examplePlugin() {
  ScannedPlugin plugin;
  plugin.minorVersion = 3;
  plugin.microVersion = 4;
  auto& description = plugin.description;
  description.uri = "urn:example";
  description.name = "Example";
  description.manufacturerName = "Somebody";
  description.bundlePath = "/bundles/example.lv2/";
  description.libraryPath = "/bundles/example.lv2/example.so";
  description.codes = {5, 6, 7};
  description.isInstrumentClass = true;
  description.wantsDefaultState = true;
  description.requiredFeatures = {"urn:one", "urn:two"};
  PortDescription port;
  port.symbol = "port";
  port.kind = PortKind::atom;
  port.isInput = port.isOptional = port.takesMidi = port.takesTime = port.isDesignated = port.scalesWithRate = true;
  port.hostControl = HostControl::beatsPerMinute;
  port.defaultValue = 0.5F;
  port.minimum = -1;
  port.maximum = 2;
  port.minimumBytes = 8192;
  port.use = AudioUse::sideChain;
  port.channelRank = AudioChannelRank::right;
  description.ports = {PortDescription(), port};
  return plugin;
}

std::vector<BundleRecord> exampleRecords() {
  BundleRecord record;
  record.folder = "/bundles/example.lv2";
  record.files = {{"/bundles/example.lv2/manifest.ttl", 1, 2, 3, 4}};
  record.filesElsewhere = {{"/elsewhere", 0, 0, 0, 0}};
  record.isReadable = record.definesPlugins = true;
  record.plugins = {examplePlugin()};
  record.presetsFor = {"urn:example", "urn:other"};
  return {record, BundleRecord()};
}

TEST(StoredRecords, KeepEveryField) {
  EXPECT_EQ(recordsFromStored(storedRecords(exampleRecords(), "here"), "here"), exampleRecords());
}

TEST(StoredRecords, OfOtherSurroundingsAreNone) {
  EXPECT_EQ(recordsFromStored(storedRecords(exampleRecords(), "here"), "there"), std::vector<BundleRecord>());
}

TEST(StoredRecords, AreRefusedAtEveryTruncationAndWithEveryByteFlipped) {
  const std::string bytes = storedRecords(exampleRecords(), "here");
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    ASSERT_EQ(recordsFromStored(bytes.substr(0, index), "here"), std::nullopt) << index;
    std::string flipped = bytes;
    flipped[index] = static_cast<char>(~flipped[index]);
    ASSERT_EQ(recordsFromStored(flipped, "here"), std::nullopt) << index;
  }
  EXPECT_EQ(recordsFromStored(bytes + "x", "here"), std::nullopt);
}

TEST(StoredRecords, OfASoundSumAndAnyContentAreReadOrRefused) {
  const std::string bytes = storedRecords(exampleRecords(), "here");
  const std::string content = bytes.substr(0, bytes.size() - sizeof(std::uint64_t));
  const auto summed = [](const std::string& text) {
    const std::uint64_t sum = fnv1a64(text);
    return text + std::string(reinterpret_cast<const char*>(&sum), sizeof sum);
  };
  ASSERT_EQ(recordsFromStored(summed(content), "here"), exampleRecords());
  std::size_t refused = 0;
  for (std::size_t index = 0; index < content.size(); ++index) {
    EXPECT_EQ(recordsFromStored(summed(content.substr(0, index)), "here"), std::nullopt) << index;
    for (const int change : {1, 0x80, 0xFF}) {
      std::string changed = content;
      changed[index] = static_cast<char>(changed[index] ^ change);
      refused += recordsFromStored(summed(changed), "here") == std::nullopt ? 1U : 0U;
    }
  }
  EXPECT_GT(refused, content.size() / 2) << "counts and kinds that cannot be";
}

}  // namespace
}  // namespace vrel::lv2
