// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/files/posix_file_manager.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "support/small_disk.h"
#include "system/files/file_calls.h"
#include "system/files/scratch_test.h"

namespace vrel::system {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uintmax_t many = 1000;

class Files : public ScratchTest {
 protected:
  FileCalls calls;
  PosixFileManager files{calls};
  const fs::path path = root / "gig.vrel";
};

/// Root may do everything: these tests run as another user, who owns the folder.
class ForAPlainUser : public Files {
 protected:
  static constexpr uid_t otherUser = 65534;
  ForAPlainUser() {
    if (::geteuid() == 0) {
      EXPECT_EQ(::chown(root.c_str(), otherUser, static_cast<gid_t>(-1)), 0);
      EXPECT_EQ(::seteuid(otherUser), 0);
    }
  }
  ~ForAPlainUser() override {
    fs::permissions(root, fs::perms::owner_all);
    EXPECT_EQ(::seteuid(::getuid()), 0);
  }

  [[nodiscard]] Outcome refusalOf(const fs::path& refused) const {
    return Error{refused.string() + ": Permission denied"};
  }
};

TEST_F(Files, WhatIsWrittenIsRead) {
  std::string bytes(3'000'000, '\0');
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    bytes[index] = static_cast<char>(index * 7);
  }
  EXPECT_EQ(files.write(path, bytes), std::nullopt);
  const auto read = files.contents(path, bytes.size());
  ASSERT_TRUE(read);
  EXPECT_EQ(read.value(), bytes);
  EXPECT_EQ(files.write(path, ""), std::nullopt);
  EXPECT_EQ(files.contents(path, many).value(), "");
}

TEST_F(Files, AWriteReplacesTheFileInPlace) {
  writeFile(path, "much longer than what comes");
  struct stat before {};
  ::stat(path.c_str(), &before);
  EXPECT_EQ(files.write(path, "new"), std::nullopt);
  struct stat after {};
  ::stat(path.c_str(), &after);
  EXPECT_EQ(before.st_ino, after.st_ino);
  EXPECT_EQ(textOf(path), "new");
  EXPECT_EQ(entriesIn(root), 1);
}

TEST_F(Files, AnAtomicWriteReplacesItWithAnotherAndKeepsItsMode) {
  writeFile(path, "old");
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
  struct stat before {};
  ::stat(path.c_str(), &before);
  EXPECT_EQ(files.writeAtomically(path, "new"), std::nullopt);
  struct stat after {};
  ::stat(path.c_str(), &after);
  EXPECT_NE(before.st_ino, after.st_ino);
  EXPECT_EQ(after.st_mode & 0777U, 0640U);
  EXPECT_EQ(textOf(path), "new");
  EXPECT_EQ(entriesIn(root), 1) << "and leaves nothing beside it";
}

TEST_F(Files, BothFollowALinkWhichStays) {
  fs::create_directory(root / "elsewhere");
  const auto real = root / "elsewhere" / "real.vrel";
  writeFile(real, "old");
  fs::create_symlink(real, path);
  EXPECT_EQ(files.write(path, "in place"), std::nullopt);
  EXPECT_EQ(textOf(real), "in place");
  EXPECT_EQ(files.writeAtomically(path, "atomic"), std::nullopt);
  EXPECT_EQ(textOf(real), "atomic");
  EXPECT_TRUE(fs::is_symlink(path));
  EXPECT_EQ(files.contents(path, many).value(), "atomic");
  EXPECT_EQ(entriesIn(root / "elsewhere"), 1);
}

TEST_F(Files, ALinkToNothingBecomesOneToTheNewFile) {
  fs::create_symlink(root / "real.vrel", path);
  EXPECT_FALSE(files.fileExists(path));
  EXPECT_EQ(files.write(path, "new"), std::nullopt);
  EXPECT_EQ(textOf(root / "real.vrel"), "new");
}

TEST_F(Files, AFileThatIsTooLargeIsRefused) {
  writeFile(path, "12345");
  EXPECT_EQ(files.contents(path, 5).value(), "12345");
  EXPECT_EQ(files.contents(path, 4).error(), (Error{path.string() + ": File too large"}));
  fs::resize_file(path, std::uintmax_t{1} << 42U);  // has no blocks
  EXPECT_FALSE(files.contents(path, many));
}

TEST_F(Files, WhatSaysItIsEmptyAndIsNotIsReadUpToTheLimit) {
  const auto whole = files.contents("/proc/self/status", 1'000'000);
  ASSERT_TRUE(whole);
  EXPECT_GT(whole.value().size(), 100U);
  EXPECT_FALSE(files.contents("/proc/self/status", 100));
}

TEST_F(Files, AMissingFileOrFolderIsAnErrorAndNotCreated) {
  const auto nowhere = root / "no" / "gig.vrel";
  const auto reason = Error{nowhere.string() + ": No such file or directory"};
  EXPECT_EQ(files.contents(nowhere, many).error(), reason);
  EXPECT_EQ(files.write(nowhere, "x"), reason);
  EXPECT_EQ(files.writeAtomically(nowhere, "x"), reason);
  EXPECT_EQ(files.remove(nowhere), reason);
  EXPECT_THAT(files.fileNames(root / "no"), IsEmpty());
  EXPECT_FALSE(files.fileExists(nowhere));
  EXPECT_EQ(entriesIn(root), 0);
}

TEST_F(Files, AFolderIsNotAFile) {
  const auto reason = Error{root.string() + ": Is a directory"};
  EXPECT_EQ(files.contents(root, many).error(), reason);
  EXPECT_EQ(files.write(root, "x"), reason);
  EXPECT_EQ(files.writeAtomically(root, "x"), reason);
}

TEST_F(Files, PipesSocketsAndDevicesAreRefusedAtOnce) {
  const auto pipe = root / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
  const auto socketPath = root / "socket";
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socketPath.string().copy(address.sun_path, sizeof(address.sun_path) - 1);
  ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);  // so that a writer could open it
  for (const fs::path& special : {pipe, socketPath, fs::path("/dev/full"), fs::path("/dev/zero")}) {
    const Error reason{special.string() + ": Not a regular file"};
    EXPECT_EQ(files.contents(special, many).error(), reason);
    EXPECT_EQ(files.write(special, "x"), reason);
    EXPECT_EQ(files.writeAtomically(special, "x"), reason);
  }
  ::close(reader);
  ::close(socket);
}

TEST_F(Files, APathWithAZeroByteIsNoOther) {
  writeFile(path, "mine");
  const fs::path cut = path.string() + std::string("\0.txt", 5);
  EXPECT_FALSE(files.fileExists(cut));
  EXPECT_FALSE(files.contents(cut, many));
  EXPECT_NE(files.write(cut, "x"), std::nullopt);
  EXPECT_EQ(textOf(path), "mine");
}

TEST_F(Files, FoldersAreMadeWithAllAboveThem) {
  const auto deep = root / "a" / "b" / "c";
  EXPECT_EQ(files.createDirectory(deep), std::nullopt);
  EXPECT_TRUE(fs::is_directory(deep));
  EXPECT_EQ(files.createDirectory(deep), std::nullopt) << "it is there already";
  writeFile(path, "");
  EXPECT_EQ(files.createDirectory(path / "under"), (Error{path.string() + ": File exists"}));
  EXPECT_EQ(files.createDirectory(root / std::string(300, 'x')),
            (Error{(root / std::string(300, 'x')).string() + ": File name too long"}));
}

TEST_F(Files, OnlyPlainFilesAreListedByTheirBytes) {
  for (const char* name : {"b", "B", "a.vrel", "\xFF", ".hidden"}) {
    writeFile(root / name, "");
  }
  fs::create_directory(root / "folder");
  ASSERT_EQ(::mkfifo((root / "pipe").c_str(), S_IRUSR), 0);
  EXPECT_THAT(files.fileNames(root), ElementsAre(".hidden", "B", "a.vrel", "b", "\xFF"));
}

TEST_F(Files, FilesOfANameAreFoundInAllFoldersTheNearestFirst) {
  const fs::path deep = root / "a" / "b" / "click.wav";
  const fs::path near = root / "z" / "click.wav";
  for (const auto& file : {deep, near, root / ".hidden" / "click.wav", root / "other.wav"}) {
    fs::create_directories(file.parent_path());
    writeFile(file, "");
  }
  fs::create_directory_symlink(root, root / "loop");
  fs::create_directory(root / "sea.mp4");
  EXPECT_THAT(files.filesNamed(root, {"click.wav", "sea.mp4"}, 1000), ElementsAre(near, deep));
  EXPECT_THAT(files.filesNamed(root, {"click.wav"}, 3), IsEmpty()) << "the folder itself has more entries";
  EXPECT_THAT(files.filesNamed(root / "no", {"click.wav"}, 1000), IsEmpty());
}

TEST_F(Files, TheTimeOfAFileIsThatOfItsLastWrite) {
  writeFile(path, "");
  struct stat status {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(files.modificationTime(path), status.st_mtim.tv_sec);
  EXPECT_EQ(files.modificationTime(root / "no"), std::nullopt);
}

TEST_F(Files, AFileIsRemovedAndAFolderIsNot) {
  writeFile(path, "");
  EXPECT_EQ(files.remove(path), std::nullopt);
  EXPECT_FALSE(fs::exists(path));
  EXPECT_NE(files.remove(root), std::nullopt);
}

TEST_F(Files, OneFileHasOneCanonicalPath) {
  fs::create_directory(root / "sub");
  writeFile(path, "");
  fs::create_symlink(path, root / "link.vrel");
  fs::create_directory_symlink(root / "sub", root / "way");
  EXPECT_EQ(files.canonicalPath(root / "link.vrel"), path);
  EXPECT_EQ(files.canonicalPath(root / "way" / ".." / "gig.vrel"), path);
  EXPECT_EQ(files.canonicalPath(root / "way" / "new.vrel"), root / "sub" / "new.vrel");
  EXPECT_EQ(files.canonicalPath("new.vrel"), fs::current_path() / "new.vrel");
}

TEST_F(Files, AWriteThatDoesNotFitIsReported) {
  writeFile(path, "old");
  const SmallDisk disk(40);
  EXPECT_EQ(files.write(path, std::string(41, 'x')), (Error{path.string() + ": File too large"}));
  EXPECT_EQ(files.write(path, std::string(40, 'x')), std::nullopt);
}

TEST_F(Files, AnAtomicWriteThatDoesNotFitLeavesTheOldFileAndNothingElse) {
  writeFile(path, "old");
  const SmallDisk disk(40);
  EXPECT_EQ(files.writeAtomically(path, std::string(41, 'x')), (Error{path.string() + ": File too large"}));
  EXPECT_EQ(textOf(path), "old");
  EXPECT_EQ(entriesIn(root), 1);
}

TEST_F(ForAPlainUser, AReadOnlyFileIsNotWritten) {
  writeFile(path, "old");
  fs::permissions(path, fs::perms::owner_read);
  EXPECT_EQ(files.write(path, "new"), refusalOf(path));
  EXPECT_EQ(textOf(path), "old");
}

TEST_F(ForAPlainUser, AFileThatMayNotBeReadIsNotRead) {
  writeFile(path, "old");
  fs::permissions(path, fs::perms::none);
  EXPECT_EQ(files.contents(path, many).error(), refusalOf(path));
}

TEST_F(ForAPlainUser, InAReadOnlyFolderAFileIsWrittenInPlaceAndNoneIsMade) {
  writeFile(path, "old");
  fs::permissions(root, fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_EQ(files.write(path, "new"), std::nullopt);
  EXPECT_EQ(textOf(path), "new");
  EXPECT_EQ(files.write(root / "other.vrel", "new"), refusalOf(root / "other.vrel"));
  EXPECT_EQ(files.writeAtomically(path, "newer"), refusalOf(path));
  EXPECT_EQ(files.createDirectory(root / "folder"), refusalOf(root / "folder"));
  EXPECT_EQ(files.remove(path), refusalOf(path));
  EXPECT_EQ(textOf(path), "new");
}

TEST_F(ForAPlainUser, AFolderThatMayNotBeEnteredIsAnErrorAndNotTheEnd) {
  writeFile(path, "old");
  fs::permissions(root, fs::perms::none);
  EXPECT_FALSE(files.fileExists(path));
  EXPECT_THAT(files.fileNames(root), IsEmpty());
  EXPECT_EQ(files.contents(path, many).error(), refusalOf(path));
  EXPECT_EQ(files.write(path, "new"), refusalOf(path));
}

/// Enters a mount namespace of its own, as its root. False where that is not allowed.
bool enterOwnMountSpace() {
  const auto user = std::to_string(::geteuid());
  const auto group = std::to_string(::getegid());
  const bool isRoot = ::geteuid() == 0;
  if (::unshare(isRoot ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0) {
    return false;
  }
  if (!isRoot) {
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " + user + " 1";
    std::ofstream("/proc/self/gid_map") << "0 " + group + " 1";
  }
  return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// Runs a test on a disk of 64 KiB, which belongs to a process of its own. False where mounting is not allowed.
bool runOnTinyDisk(const fs::path& mountPoint, const std::function<void()>& test) {
  constexpr int notAllowed = 77;
  const pid_t child = ::fork();
  if (child == 0) {
    if (!enterOwnMountSpace() || ::mount("none", mountPoint.c_str(), "tmpfs", 0, "size=64k") != 0) {
      ::_exit(notAllowed);
    }
    test();
    ::_exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status));
  const bool isAllowed = WEXITSTATUS(status) != notAllowed;
  EXPECT_TRUE(!isAllowed || WEXITSTATUS(status) == EXIT_SUCCESS) << "see above";
  return isAllowed;
}

TEST_F(Files, AFullDiskFailsTheWriteAndLeavesTheFile) {
  const bool isAllowed = runOnTinyDisk(root, [this] {
    const std::string old(20'000, 'o');
    const std::string filling(30'000, 'f');
    EXPECT_EQ(files.write(path, old), std::nullopt);
    EXPECT_EQ(files.write(root / "filling", filling), std::nullopt);
    const Error reason{path.string() + ": No space left on device"};
    EXPECT_EQ(files.write(path, std::string(60'000, 'n')), reason);
    EXPECT_EQ(textOf(path), old);
    EXPECT_EQ(files.writeAtomically(path, old), reason) << "there is no room for two";
    EXPECT_EQ(textOf(path), old);
    EXPECT_EQ(entriesIn(root), 2);
    EXPECT_EQ(files.write(path, std::string(20'000, 'n')), std::nullopt) << "what fits is written";
  });
  if (!isAllowed) {
    GTEST_SKIP() << "mounting a disk is not allowed here";
  }
}

}  // namespace
}  // namespace vrel::system
