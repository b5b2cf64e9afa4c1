// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/run_log/run_log.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/small_disk.h"
#include "system/files/scratch_test.h"

namespace vrel::system {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class RunLogTest : public ScratchTest {
 protected:
  [[nodiscard]] std::unique_ptr<RunLog> opened(std::uintmax_t fileBytes = 100000) {
    time_ += 1s;
    auto log = RunLog::open({.folder = folder, .fileBytes = fileBytes, .now = [this] { return time_; }});
    return log ? std::move(log).value() : nullptr;
  }

  void place(const std::string& name) const {
    fs::create_directories(folder);
    writeFile(folder / name, name);
  }

  [[nodiscard]] Names names() const {
    Names all;
    for (const auto& entry : fs::directory_iterator(folder)) {
      all.push_back(entry.path().filename().string());
    }
    std::sort(all.begin(), all.end());
    return all;
  }

  const fs::path folder = root / "state" / "vrel" / "logs";

 private:
  std::chrono::system_clock::time_point time_{1800000000s + 250ms};
};

TEST_F(RunLogTest, EachLineIsThereWithItsTimeAsSoonAsItIsPrinted) {
  const auto log = opened();
  ASSERT_NE(log, nullptr);
  log->print("Failed to load setlist: no such file");
  log->print("VREL ends");
  EXPECT_TRUE(std::regex_match(
      textOf(log->path()),
      std::regex(R"(\d\d:\d\d:\d\d\.250 Failed to load setlist: no such file\n\d\d:\d\d:\d\d\.250 VREL ends\n)")))
      << textOf(log->path());
}

TEST_F(RunLogTest, IsNamedAfterTimeAndProcessAndIsItsOwnersAlone) {
  const auto log = opened();
  ASSERT_NE(log, nullptr);
  EXPECT_TRUE(std::regex_match(log->path().filename().string(),
                               std::regex(R"(\d{8}-\d{6}-)" + std::to_string(::getpid()) + R"(\.log)")));
  struct stat status {};
  ASSERT_EQ(::stat(log->path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(RunLogTest, TheLast20RunsAreKeptWithAllTheirFilesAndNothingElseIsTouched) {
  for (int run = 10; run < 35; ++run) {
    place("20200101-0000" + std::to_string(run) + "-7.log");
  }
  place("20200101-000010-7-older.log");
  place("20200101-000010-7.crash");
  place("20200101-000034-7-older.log");
  place("notes.txt");
  place("20200101-000010-7.log.bak");
  const auto log = opened();
  ASSERT_NE(log, nullptr);
  Names expected{"20200101-000010-7.log.bak", "notes.txt", "20200101-000034-7-older.log",
                 log->path().filename().string()};
  for (int run = 16; run < 35; ++run) {
    expected.push_back("20200101-0000" + std::to_string(run) + "-7.log");
  }
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(names(), expected) << "19 and this one";
}

TEST_F(RunLogTest, ARunKeepsItsLastLinesInTwoFilesOfBoundedSize) {
  const auto log = opened(1000);
  ASSERT_NE(log, nullptr);
  for (int line = 0; line < 500; ++line) {
    log->print("line " + std::to_string(line));
  }
  const auto older = fs::path(log->path().string().substr(0, log->path().string().size() - 4) + "-older.log");
  EXPECT_LE(fs::file_size(log->path()), 1000U);
  EXPECT_LE(fs::file_size(older), 1000U);
  EXPECT_NE(textOf(log->path()).find("line 499\n"), std::string::npos);
  EXPECT_EQ(names().size(), 2U);
  log->print(std::string(5000, 'x'));
  EXPECT_EQ(fs::file_size(log->path()), 1000U) << "a line that is longer than a file is cut";
}

TEST_F(RunLogTest, TheCrashOfTheRunBeforeIsKnownAndNotAnOlderOne) {
  place("20200101-000001-7.log");
  place("20200101-000001-7.crash");
  EXPECT_EQ(opened()->crashBefore(), folder / "20200101-000001-7.crash");
  EXPECT_EQ(opened()->crashBefore(), fs::path());
}

TEST_F(RunLogTest, WithoutAFolderThereIsNoLogAndAReason) {
  EXPECT_EQ(RunLog::open({.folder = {}}).error().description, "no state folder (HOME and XDG_STATE_HOME are not set)");
  writeFile(root / "file", "no folder");
  EXPECT_NE(RunLog::open({.folder = root / "file" / "logs"}).error().description.find("cannot create"),
            std::string::npos);
}

TEST_F(RunLogTest, AFullDiskLosesLinesAndNothingElse) {
  const auto log = opened();
  ASSERT_NE(log, nullptr);
  log->print("before");
  {
    const SmallDisk full(20);
    log->print("a line that does not fit");
  }
  log->print("after");
  EXPECT_NE(textOf(log->path()).find(" before\n"), std::string::npos);
  EXPECT_NE(textOf(log->path()).find(" after\n"), std::string::npos);
}

TEST_F(RunLogTest, LinesOfSeveralThreadsDoNotMix) {
  const auto log = opened(50000);
  ASSERT_NE(log, nullptr);
  std::vector<std::thread> threads;
  for (const char letter : {'a', 'b', 'c'}) {
    threads.emplace_back([&, letter] {
      for (int line = 0; line < 200; ++line) {
        log->print(std::string(20, letter));
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  std::istringstream lines(textOf(log->path()));
  const std::regex whole(R"([\d:.]{12} (a{20}|b{20}|c{20}))");
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    EXPECT_TRUE(std::regex_match(line, whole)) << line;
  }
  EXPECT_EQ(count, 600);
}

}  // namespace
}  // namespace vrel::system
