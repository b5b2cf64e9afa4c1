// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/user_defaults/ini_user_defaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>
#include <string>

#include "simulation/recording_console.h"
#include "support/small_disk.h"

namespace vrel::system {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class UserDefaults : public testing::Test {
 protected:
  UserDefaults() {
    std::string folder = testing::TempDir() + "vrel_defaults_XXXXXX";
    root = ::mkdtemp(folder.data());
    path = root / "vrel" / "defaults.ini";
  }
  ~UserDefaults() override { fs::remove_all(root); }

  void writeFile(const std::string& text) const {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
  }
  [[nodiscard]] static std::string textOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  [[nodiscard]] IniUserDefaults open() { return IniUserDefaults(path, console); }
  [[nodiscard]] std::ptrdiff_t filesInFolder() const {
    return std::distance(fs::directory_iterator(path.parent_path()), fs::directory_iterator());
  }

  fs::path root;
  fs::path path;
  simulation::RecordingConsole console;
};

TEST_F(UserDefaults, WithoutAFileThereIsNothingAndNothingIsMade) {
  auto defaults = open();
  EXPECT_EQ(defaults.stringForKey("a"), std::nullopt);
  EXPECT_EQ(defaults.integerForKey("a"), 0);
  EXPECT_FALSE(fs::exists(path.parent_path()));
  EXPECT_THAT(console.lines, IsEmpty());
}

TEST_F(UserDefaults, ValuesOutliveTheProgram) {
  auto defaults = open();
  defaults.setString("vrel.audio.outputDeviceUID", "jack:system");
  defaults.setInteger("vrel.audio.ioBufferFrameSize", 256);
  defaults.setInteger("least", std::numeric_limits<std::int64_t>::min());
  defaults.setString("gone", "soon");
  defaults.removeObjectForKey("gone");
  defaults.removeObjectForKey("never there");

  auto later = open();
  EXPECT_EQ(later.stringForKey("vrel.audio.outputDeviceUID"), "jack:system");
  EXPECT_EQ(later.integerForKey("vrel.audio.ioBufferFrameSize"), 256);
  EXPECT_EQ(later.integerForKey("least"), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(later.stringForKey("gone"), std::nullopt);
  EXPECT_THAT(console.lines, IsEmpty());
}

TEST_F(UserDefaults, EachSetIsOnTheDiskAtOnceAndLeavesNothingElse) {
  auto defaults = open();
  defaults.setString("a", "1");
  EXPECT_EQ(textOf(path), "[defaults]\na=1\n");
  defaults.setString("a", "2");
  EXPECT_EQ(textOf(path), "[defaults]\na=2\n");
  EXPECT_EQ(filesInFolder(), 1);
}

TEST_F(UserDefaults, TextThatIsNotANumberIsZero) {
  auto defaults = open();
  for (const std::string text : {"", "x", "12x", " 12", "1.5", "99999999999999999999"}) {
    defaults.setString("n", text);
    EXPECT_EQ(defaults.integerForKey("n"), 0) << text;
  }
  defaults.setString("n", "-7");
  EXPECT_EQ(defaults.integerForKey("n"), -7);
}

TEST_F(UserDefaults, OfADamagedFileOnlyTheUnreadableIsLostAndTheFileIsKeptAside) {
  const std::string damaged = "a=1\n\x01\x02\xFF junk\nb=2\n";
  writeFile(damaged);
  auto defaults = open();
  EXPECT_EQ(defaults.integerForKey("a"), 1);
  EXPECT_EQ(defaults.integerForKey("b"), 2);
  EXPECT_THAT(console.lines, ElementsAre(HasSubstr("damaged")));
  EXPECT_EQ(textOf(path), damaged) << "reading changes nothing";

  defaults.setInteger("c", 3);
  EXPECT_EQ(textOf(path.string() + ".damaged"), damaged);
  EXPECT_EQ(textOf(path), "[defaults]\na=1\nb=2\nc=3\n");

  defaults.setInteger("c", 4);
  EXPECT_EQ(textOf(path.string() + ".damaged"), damaged) << "kept aside once";
  EXPECT_EQ(console.lines.size(), 1U);
}

TEST_F(UserDefaults, WhatWasWrittenByAnotherRunMeanwhileIsKept) {
  writeFile("mine=1\nremoved=1\nboth=1\n");
  auto defaults = open();
  auto other = open();
  other.setString("theirs", "2");
  other.setString("both", "2");
  other.removeObjectForKey("removed");
  defaults.setString("mine", "3");
  EXPECT_EQ(textOf(path), "[defaults]\nboth=2\nmine=3\ntheirs=2\n");
  EXPECT_EQ(defaults.stringForKey("both"), "1") << "this run goes by what it has read";
  defaults.removeObjectForKey("both");
  EXPECT_EQ(textOf(path), "[defaults]\nmine=3\ntheirs=2\n");
}

TEST_F(UserDefaults, AFileThatIsDamagedWhileTheProgramRunsIsKeptToo) {
  writeFile("a=1\nb=2\n");
  auto defaults = open();
  const std::string damaged = "a=5\nnot readable\n";
  writeFile(damaged);
  defaults.setString("c", "3");
  EXPECT_THAT(console.lines, ElementsAre(HasSubstr("damaged")));
  EXPECT_EQ(textOf(path.string() + ".damaged"), damaged);
  EXPECT_EQ(textOf(path), "[defaults]\na=5\nb=2\nc=3\n") << "what was read before is not lost with it";
}

TEST_F(UserDefaults, AFileThatIsRemovedWhileTheProgramRunsIsWrittenAgain) {
  writeFile("a=1\n");
  auto defaults = open();
  fs::remove(path);
  defaults.setString("b", "2");
  EXPECT_EQ(textOf(path), "[defaults]\na=1\nb=2\n");
}

TEST_F(UserDefaults, WhatCouldNotBeSavedIsSavedByTheNextSetThatCanBe) {
  writeFile("a=1\nb=1\n");
  auto defaults = open();
  {
    const SmallDisk disk(0);
    defaults.setString("a", "2");
    defaults.removeObjectForKey("b");
  }
  open().setString("theirs", "4");
  defaults.setString("c", "3");
  EXPECT_EQ(textOf(path), "[defaults]\na=2\nc=3\ntheirs=4\n");
}

TEST_F(UserDefaults, EachDamagedFileIsKeptAndNoneTakesThePlaceOfAnEarlierOne) {
  const auto damaged = [](int number) { return "a=1\nnot readable " + std::to_string(number) + "\n"; };
  for (int number = 1; number <= 3; ++number) {
    writeFile(damaged(number));
    open().setString("b", "2");
    EXPECT_EQ(textOf(path), "[defaults]\na=1\nb=2\n");
  }
  EXPECT_EQ(textOf(path.string() + ".damaged"), damaged(1));
  EXPECT_EQ(textOf(path.string() + ".damaged2"), damaged(2));
  EXPECT_EQ(textOf(path.string() + ".damaged3"), damaged(3));
  EXPECT_EQ(filesInFolder(), 4);
}

TEST_F(UserDefaults, AFolderAtThePathOfTheFileIsMovedAside) {
  fs::create_directories(path / "with something in it");
  auto defaults = open();
  EXPECT_THAT(console.lines, ElementsAre(HasSubstr("Failed to read the settings")));
  defaults.setString("a", "1");
  EXPECT_EQ(textOf(path), "[defaults]\na=1\n");
  EXPECT_TRUE(fs::is_directory(path.string() + ".damaged/with something in it"));
}

TEST_F(UserDefaults, AFullDiskLeavesTheOldFileWholeAndTheNewValueValid) {
  const std::string value(100, 'x');
  for (const std::string former : {"[defaults]\na=1\n", "a=1\nnot readable\n"}) {
    writeFile(former);
    auto defaults = open();
    console.lines.clear();
    {
      const SmallDisk disk(40);
      defaults.setString("a", value);
    }
    EXPECT_THAT(console.lines, ElementsAre(HasSubstr("Failed to save the settings")));
    EXPECT_EQ(defaults.stringForKey("a"), value);
    EXPECT_EQ(textOf(path), former);
    EXPECT_EQ(filesInFolder(), 1) << "and nothing half written beside it";
    defaults.setString("b", "2");
    EXPECT_EQ(textOf(path), "[defaults]\na=" + value + "\nb=2\n");
    fs::remove(path.string() + ".damaged");
  }
}

TEST_F(UserDefaults, BinaryJunkIsEmptyAndKeptAside) {
  std::string junk(5000, '\0');
  std::generate(junk.begin(), junk.end(), [byte = 1]() mutable { return static_cast<char>(byte = byte * 75 % 65537); });
  writeFile(junk);
  auto defaults = open();
  EXPECT_EQ(defaults.stringForKey("a"), std::nullopt);
  defaults.setString("a", "1");
  EXPECT_EQ(textOf(path.string() + ".damaged"), junk);
  EXPECT_EQ(open().stringForKey("a"), "1");
}

TEST_F(UserDefaults, OfAHugeFileTheStartIsRead) {
  writeFile("a=1\n");
  std::ofstream(path, std::ios::app) << "b=" << std::string(3U << 20U, 'x') << "\nc=3\n";
  auto defaults = open();
  EXPECT_EQ(defaults.integerForKey("a"), 1);
  EXPECT_EQ(defaults.stringForKey("b"), std::nullopt) << "half a value is none";
  EXPECT_THAT(console.lines, ElementsAre(HasSubstr("damaged")));
  defaults.setInteger("a", 2);
  EXPECT_EQ(textOf(path), "[defaults]\na=2\n");
  EXPECT_GT(fs::file_size(path.string() + ".damaged"), 3U << 20U);
}

TEST_F(UserDefaults, APathThatCannotBeWrittenKeepsTheValuesForThisRunAndLogsOnce) {
  std::ofstream(root / "vrel") << "a file where the folder should be";
  auto defaults = open();
  console.lines.clear();
  defaults.setString("a", "1");
  defaults.setInteger("b", 2);
  defaults.removeObjectForKey("a");
  EXPECT_EQ(defaults.stringForKey("a"), std::nullopt);
  EXPECT_EQ(defaults.integerForKey("b"), 2);
  EXPECT_THAT(console.lines, ElementsAre(HasSubstr("Failed to save the settings")));

  // Once it can be written, all is written, and a new failure is logged again.
  fs::remove(root / "vrel");
  defaults.setInteger("b", 2);
  EXPECT_EQ(textOf(path), "[defaults]\nb=2\n");
  fs::remove_all(root / "vrel");
  std::ofstream(root / "vrel") << "again";
  defaults.setInteger("b", 3);
  EXPECT_EQ(console.lines.size(), 2U);
}

TEST_F(UserDefaults, WithoutAPathTheValuesHoldForThisRun) {
  IniUserDefaults defaults("", console);
  defaults.setString("a", "1");
  EXPECT_EQ(defaults.stringForKey("a"), "1");
  EXPECT_THAT(console.lines, ElementsAre(HasSubstr("no configuration folder")));
}

TEST_F(UserDefaults, APipeAtThePathOfTheFileDoesNotBlock) {
  fs::create_directories(path.parent_path());
  ASSERT_EQ(::mkfifo(path.c_str(), S_IRUSR | S_IWUSR), 0);
  auto defaults = open();
  EXPECT_THAT(console.lines, ElementsAre(HasSubstr("Failed to read the settings")));
  defaults.setString("a", "1");
  EXPECT_EQ(textOf(path), "[defaults]\na=1\n");
  EXPECT_TRUE(fs::exists(path.string() + ".damaged"));
}

TEST_F(UserDefaults, ALinkStaysALink) {
  const fs::path real = root / "elsewhere.ini";
  std::ofstream(real) << "a=1\n";
  fs::create_directories(path.parent_path());
  fs::create_symlink(real, path);
  auto defaults = open();
  defaults.setString("b", "2");
  EXPECT_TRUE(fs::is_symlink(path));
  EXPECT_EQ(textOf(real), "[defaults]\na=1\nb=2\n");
}

TEST_F(UserDefaults, ASetToTheSameIsWrittenToo) {
  auto defaults = open();
  defaults.setString("a", "1");
  fs::remove(path);
  defaults.setString("a", "1");
  EXPECT_EQ(textOf(path), "[defaults]\na=1\n");
}

}  // namespace
}  // namespace vrel::system
