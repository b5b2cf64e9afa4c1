// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "system/files/posix_file_manager.h"
#include "system/files/scratch_test.h"
#include "system/files/watched_calls.h"

// One call of the system after the other fails, until none does.

namespace vrel::system {
namespace {

using testing::Contains;
using testing::HasSubstr;

class FileFaults : public ScratchTest {
 protected:
  using Operation = std::function<Outcome()>;

  /// Fails call after call of the operation, and gives those that failed it. Each failure has to be reported.
  std::vector<std::string> failEach(const Operation& operation, const std::function<void()>& reset,
                                    const std::function<void(bool failed)>& check) {
    std::vector<std::string> fatal;
    for (std::size_t which = 0;; ++which) {
      reset();
      std::string failedCall;
      std::size_t count = 0;
      calls.before = [&](const std::string& call) {
        const bool fails = count++ == which;
        failedCall = fails ? call : failedCall;
        return fails ? EIO : 0;
      };
      const auto descriptors = entriesIn("/proc/self/fd");
      const auto failure = operation();
      calls.before = nullptr;
      EXPECT_EQ(entriesIn("/proc/self/fd"), descriptors) << failedCall;
      if (failedCall.empty()) {
        EXPECT_EQ(failure, std::nullopt);
        return fatal;
      }
      if (failure) {
        EXPECT_THAT(failure->description, HasSubstr("Input/output error")) << failedCall;
        fatal.push_back(failedCall);
      }
      check(failure.has_value());
    }
  }

  void resetFile() const { writeFile(path, "old"); }

  WatchedCalls calls;
  PosixFileManager files{calls};
  const std::filesystem::path path = root / "gig.vrel";
};

TEST_F(FileFaults, AWriteThatFailsAtAnyStepIsReportedAndPutsTheOldBytesBack) {
  calls.mostBytesPerWrite = 4;
  const auto fatal = failEach([this] { return files.write(path, "new bytes"); }, [this] { resetFile(); },
                              [this](bool failed) { EXPECT_EQ(textOf(path), failed ? "old" : "new bytes"); });
  EXPECT_EQ(fatal, (std::vector<std::string>{"open", "fstat", "fallocate", "ftruncate", "write", "write", "write",
                                             "fsync", "close"}));
}

TEST_F(FileFaults, OldBytesThatCannotBePutBackAreReportedAsLost) {
  resetFile();
  calls.before = [](const std::string& call) { return call == "write" ? EIO : 0; };
  const auto failure = files.write(path, "new bytes");
  ASSERT_TRUE(failure);
  EXPECT_THAT(failure->description, HasSubstr("; its old content is lost, too: "));
}

TEST_F(FileFaults, NoStepOfWritingANewFileFailsUnseen) {
  const auto fatal = failEach([this] { return files.write(path, "new bytes"); },
                              [this] { std::filesystem::remove(path); }, [](bool /*failed*/) {});
  EXPECT_EQ(fatal, (std::vector<std::string>{"open", "fstat", "fallocate", "ftruncate", "write", "fsync", "close",
                                             "open", "fsync", "close"}));
}

TEST_F(FileFaults, AfterAnyFaultOfAnAtomicWriteThereIsTheOldFileOrTheNewOneAndNothingElse) {
  calls.mostBytesPerWrite = 4;
  const auto fatal = failEach([this] { return files.writeAtomically(path, "new bytes"); }, [this] { resetFile(); },
                              [this](bool failed) {
                                const auto text = textOf(path);
                                EXPECT_TRUE(text == "new bytes" || (failed && text == "old")) << text;
                                EXPECT_EQ(entriesIn(root), 1);
                              });
  EXPECT_EQ(fatal, (std::vector<std::string>{"open", "fchmod", "write", "write", "write", "fsync", "close", "rename",
                                             "open", "fsync", "close"}));
}

TEST_F(FileFaults, NoStepOfReadingFailsUnseen) {
  resetFile();
  const auto fatal = failEach(
      [this]() -> Outcome {
        const auto read = files.contents(path, 1000);
        return read ? Outcome() : read.error();
      },
      [] {}, [](bool /*failed*/) {});
  EXPECT_EQ(fatal, (std::vector<std::string>{"open", "fstat", "read", "read"}));
}

TEST_F(FileFaults, AFullDiskThatIsNoticedInTimeLeavesTheOldFile) {
  for (const int code : {ENOSPC, EDQUOT, EFBIG}) {
    resetFile();
    calls.before = [code](const std::string& call) { return call == "fallocate" ? code : 0; };
    EXPECT_NE(files.write(path, "new bytes"), std::nullopt);
    EXPECT_EQ(textOf(path), "old");
  }
}

TEST_F(FileFaults, AFileSystemThatSetsNoRoomAsideIsWrittenTo) {
  for (const int code : {EOPNOTSUPP, ENOSYS, EINVAL}) {
    resetFile();
    calls.before = [code](const std::string& call) { return call == "fallocate" ? code : 0; };
    EXPECT_EQ(files.write(path, "new bytes"), std::nullopt);
    EXPECT_EQ(textOf(path), "new bytes");
  }
}

TEST_F(FileFaults, ACallThatASignalInterruptsIsMadeAgain) {
  resetFile();
  std::vector<std::string> interrupted;
  calls.before = [&](const std::string& call) {
    const bool isFirst = std::find(interrupted.begin(), interrupted.end(), call) == interrupted.end();
    if (isFirst) {
      interrupted.push_back(call);
    }
    return isFirst && call != "fstat" ? EINTR : 0;
  };
  EXPECT_EQ(files.write(path, "new bytes"), std::nullopt);
  EXPECT_EQ(textOf(path), "new bytes");
  interrupted.clear();
  const auto read = files.contents(path, 1000);
  ASSERT_TRUE(read);
  EXPECT_EQ(read.value(), "new bytes");
  EXPECT_THAT(interrupted, Contains("read"));
}

TEST_F(FileFaults, AFolderWithNothingToSyncIsNotAnError) {
  std::size_t syncs = 0;
  calls.before = [&](const std::string& call) { return call == "fsync" && ++syncs == 2 ? EINVAL : 0; };
  EXPECT_EQ(files.writeAtomically(path, "new bytes"), std::nullopt);
  EXPECT_EQ(syncs, 2U);
}

}  // namespace
}  // namespace vrel::system
