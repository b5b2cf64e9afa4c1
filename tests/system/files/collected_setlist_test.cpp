// SPDX-License-Identifier: GPL-3.0-or-later
#include "document/collected_setlist.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "document/setlist_coding.h"
#include "system/files/posix_file_copier.h"
#include "system/files/scratch_test.h"
#include "system/files/watched_calls.h"

namespace vrel::system {
namespace {

namespace fs = std::filesystem;
using End = Collection::End;

/// Sound files in one folder and clips in another, on the real disk.
class CollectedSetlist : public ScratchTest {
 protected:
  CollectedSetlist() {
    for (const auto* const folder : {"sounds", "other", "clips"}) {
      fs::create_directory(root / folder);
    }
    writeFile(root / "sounds/take.wav", "one take");
    writeFile(root / "other/take.wav", "another take");
    writeFile(root / "clips/sea.mp4", "the sea");
  }

  static ChannelConfig track(const fs::path& file) {
    return {.pluginPath = "internal:playback", .playbackFilePath = file.string()};
  }
  static ChannelConfig clips(const std::vector<fs::path>& files) {
    ChannelConfig channel{.pluginPath = "internal:visual"};
    for (const auto& file : files) {
      channel.visualClipMappings.push_back({.filePath = file.string()});
    }
    return channel;
  }
  static SetlistFile setlistOf(const std::vector<ChannelConfig>& channels) {
    return {.songs = {{.channels = channels}}};
  }

  Collection collect(const SetlistFile& setlist, const std::optional<std::string>& background = {}) {
    return collectSetlist(setlist, background, target, copier, [](double) { return true; });
  }

  /// As it is opened in a folder.
  static SetlistFile openedIn(const fs::path& folder, const std::string& name = "Gig.vrel") {
    auto setlist = readSetlist(textOf(folder / name));
    EXPECT_TRUE(setlist.ok());
    takeFilesBeside(setlist.value(), folder, [](const fs::path& path) { return fs::exists(path); });
    return setlist.value();
  }
  static std::string fileOf(const SetlistFile& setlist, std::size_t channel) {
    return setlist.songs.at(0).channels.at(channel).playbackFilePath;
  }

  const fs::path target = root / "Gig";
  WatchedCalls calls;
  PosixFileCopier copier{calls};
};

TEST_F(CollectedSetlist, OpensWithAllItsFilesAfterItHasMovedAndTheOriginalsAreGone) {
  const auto collected =
      collect(setlistOf({track(root / "sounds/take.wav"), clips({root / "clips/sea.mp4"}), {.name = "Piano"}}));
  EXPECT_EQ(collected.end, End::whole) << collected.reason;
  EXPECT_EQ(collected.files, 2U);
  EXPECT_TRUE(collected.missing.empty());
  for (const auto* const folder : {"sounds", "clips"}) {
    fs::remove_all(root / folder);
  }
  fs::create_directory(root / "stick");
  fs::rename(target, root / "stick/Saturday");
  const auto setlist = openedIn(root / "stick/Saturday");
  EXPECT_EQ(textOf(fileOf(setlist, 0)), "one take");
  EXPECT_EQ(textOf(setlist.songs[0].channels[1].visualClipMappings[0].filePath), "the sea");
  EXPECT_EQ(setlist.songs[0].channels[2].name, "Piano");
  EXPECT_EQ(setlist.collectedFolder, root / "stick/Saturday");
}

TEST_F(CollectedSetlist, HoldsAbsolutePathsThatAreTrueWhereItWasMade) {
  ASSERT_EQ(collect(setlistOf({track(root / "sounds/take.wav")})).end, End::whole);
  const auto setlist = decodeSetlist(textOf(target / "Gig.vrel"));
  ASSERT_TRUE(setlist.ok());
  EXPECT_EQ(fileOf(setlist.value(), 0), target / "files/take.wav");
  EXPECT_EQ(setlist.value().collectedFolder, target);
}

TEST_F(CollectedSetlist, IsTheSameWhenItsFolderIsNamedWithASlashBehindIt) {
  const auto setlist = setlistOf({track(root / "sounds/take.wav")});
  ASSERT_EQ(collectSetlist(setlist, {}, target / "", copier, [](double) { return true; }).end, End::whole);
  fs::rename(target, root / "Moved");
  EXPECT_EQ(fileOf(openedIn(root / "Moved"), 0), root / "Moved/files/take.wav");
}

TEST_F(CollectedSetlist, CopiesAFileOnceThatIsPlayedTwiceAlsoByALink) {
  fs::create_symlink(root / "sounds/take.wav", root / "sounds/link.wav");
  const auto collected = collect(setlistOf(
      {track(root / "sounds/take.wav"), track(root / "sounds/link.wav"), track(root / "other/../sounds/take.wav")}));
  EXPECT_EQ(collected.files, 1U);
  EXPECT_EQ(entriesIn(target / "files"), 1);
  const auto setlist = openedIn(target);
  for (const std::size_t channel : {0U, 1U, 2U}) {
    EXPECT_EQ(fileOf(setlist, channel), target / "files/take.wav");
  }
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(target / "files/take.wav"))) << "no link";
}

TEST_F(CollectedSetlist, KeepsDifferentFilesOfOneNameApart) {
  writeFile(root / "clips/TAKE.WAV", "a third take");
  ASSERT_EQ(collect(setlistOf({track(root / "sounds/take.wav"), track(root / "other/take.wav"),
                               track(root / "clips/TAKE.WAV")}))
                .end,
            End::whole);
  const auto setlist = openedIn(target);
  EXPECT_EQ(textOf(fileOf(setlist, 0)), "one take");
  EXPECT_EQ(textOf(fileOf(setlist, 1)), "another take");
  EXPECT_EQ(textOf(fileOf(setlist, 2)), "a third take");
  EXPECT_EQ(fileOf(setlist, 2), target / "files/TAKE (3).WAV") << "a stick may not distinguish the letters";
}

TEST_F(CollectedSetlist, ListsWhatItCannotReadAndGoesOn) {
  ASSERT_EQ(::mkfifo((root / "pipe.wav").c_str(), 0600), 0);
  const auto collected = collect(setlistOf({track(root / "gone.wav"), track(root / "pipe.wav"), track(root / "clips"),
                                            track(root / "sounds/take.wav"), track(root / "gone.wav")}));
  EXPECT_EQ(collected.end, End::whole);
  EXPECT_EQ(collected.missing, (std::vector<std::string>{(root / "gone.wav").string() + ": No such file or directory",
                                                         (root / "pipe.wav").string() + ": Not a regular file",
                                                         (root / "clips").string() + ": Is a directory"}));
  const auto setlist = openedIn(target);
  EXPECT_EQ(fileOf(setlist, 0), root / "gone.wav") << "it may come back";
  EXPECT_EQ(fileOf(setlist, 3), target / "files/take.wav");
  EXPECT_EQ(entriesIn(target / "files"), 1);
}

TEST_F(CollectedSetlist, AFileThatCannotBeReadToItsEndIsListedAndNotCopied) {
  calls.before = [](const std::string& call) { return call == "read" ? EIO : 0; };
  const auto collected = collect(setlistOf({track(root / "sounds/take.wav")}));
  EXPECT_EQ(collected.end, End::whole);
  EXPECT_EQ(collected.missing.size(), 1U);
  EXPECT_EQ(entriesIn(target / "files"), 0);
}

TEST_F(CollectedSetlist, AFullDiskAtAnyStepLeavesNothingAndIsSaid) {
  const auto setlist = setlistOf({track(root / "sounds/take.wav"), clips({root / "clips/sea.mp4"})});
  int failing = 0;
  for (bool hasFailed = true; hasFailed && failing < 100; ++failing) {
    int steps = 0;
    calls.before = [&](const std::string& call) {
      const bool isOfTheTarget = call == "write" || call == "mkdir" || call == "fsync" || call == "fallocate";
      return isOfTheTarget && steps++ == failing ? ENOSPC : 0;
    };
    const auto collected = collect(setlist);
    hasFailed = collected.end != End::whole;
    if (hasFailed) {
      EXPECT_EQ(collected.end, End::failed);
      EXPECT_NE(collected.reason.find("No space left on device"), std::string::npos) << collected.reason;
      EXPECT_FALSE(fs::exists(target)) << failing;
    }
  }
  EXPECT_GT(failing, 8);
  EXPECT_EQ(textOf(root / "sounds/take.wav"), "one take");
}

TEST_F(CollectedSetlist, StoppedAtAnyPlaceItLeavesNothing) {
  const auto setlist = setlistOf({track(root / "sounds/take.wav"), clips({root / "clips/sea.mp4"})});
  std::vector<double> proportions;
  for (std::size_t last = 1; last < 4; ++last) {
    proportions.clear();
    const auto collected = collectSetlist(setlist, {}, target, copier, [&](double proportion) {
      proportions.push_back(proportion);
      return proportions.size() < last;
    });
    EXPECT_EQ(collected.end, End::stopped);
    EXPECT_FALSE(fs::exists(target));
  }
  EXPECT_EQ(proportions, (std::vector{0.0, 0.5, 0.5}));
  EXPECT_EQ(textOf(root / "clips/sea.mp4"), "the sea");
}

TEST_F(CollectedSetlist, WhateverHasTheNameAlreadyStaysAsItIs) {
  const auto setlist = setlistOf({track(root / "sounds/take.wav")});
  writeFile(target, "a letter");
  EXPECT_EQ(collect(setlist).end, End::failed);
  EXPECT_EQ(textOf(target), "a letter");
  fs::remove(target);
  fs::create_directory(target);
  writeFile(target / "Gig.vrel", "an older gig");
  EXPECT_NE(collect(setlist).reason.find("File exists"), std::string::npos);
  EXPECT_EQ(textOf(target / "Gig.vrel"), "an older gig");
  EXPECT_EQ(entriesIn(target), 1);
}

TEST_F(CollectedSetlist, ATargetBesideItsOwnFilesHoldsThemOnce) {
  const auto collected = collectSetlist(setlistOf({track(root / "sounds/take.wav")}), {}, root / "sounds/Gig", copier,
                                        [](double) { return true; });
  EXPECT_EQ(collected.end, End::whole) << collected.reason;
  EXPECT_EQ(entriesIn(root / "sounds"), 2);
  EXPECT_EQ(entriesIn(root / "sounds/Gig/files"), 1);
}

TEST_F(CollectedSetlist, NamesThatASetlistOrAStickCannotHoldAreChanged) {
  const std::string raw = (root / "sounds/caf\xe9.wav").string();
  writeFile(raw, "coffee");
  writeFile(root / "sounds/a:b?.wav", "marks");
  const std::string longName = std::string(240, 'x') + ".wav";
  writeFile(root / "sounds" / longName, "long");
  const auto collected =
      collect(setlistOf({track(raw), track(root / "sounds/a:b?.wav"), track(root / "sounds" / longName)}));
  ASSERT_EQ(collected.end, End::whole) << collected.reason;
  const auto setlist = openedIn(target);
  EXPECT_EQ(fileOf(setlist, 0), target / "files/caf_.wav");
  EXPECT_EQ(textOf(fileOf(setlist, 0)), "coffee");
  EXPECT_EQ(fileOf(setlist, 1), target / "files/a_b_.wav");
  EXPECT_EQ(textOf(fileOf(setlist, 2)), "long");
}

TEST_F(CollectedSetlist, AFolderWhosePathIsNotUtf8IsRefusedBeforeAnythingIsMade) {
  const fs::path folder = root / "caf\xe9";
  const auto collected =
      collectSetlist(setlistOf({track(root / "sounds/take.wav")}), {}, folder, copier, [](double) { return true; });
  EXPECT_EQ(collected.end, End::failed);
  EXPECT_FALSE(fs::exists(folder));
}

TEST_F(CollectedSetlist, TakesTheVideoBehindTheClipsAlong) {
  EXPECT_EQ(collect(setlistOf({}), (root / "clips/sea.mp4").string()).files, 1U);
  EXPECT_EQ(textOf(target / "files/sea.mp4"), "the sea");
}

TEST_F(CollectedSetlist, WithoutFilesItIsTheSetlistAlone) {
  ASSERT_EQ(collect(setlistOf({{.name = "Piano", .playbackFilePath = "/unused.wav"}})).end, End::whole);
  EXPECT_EQ(entriesIn(target), 1);
  EXPECT_EQ(fileOf(openedIn(target), 0), "/unused.wav") << "no strip plays it";
}

TEST_F(CollectedSetlist, ItsOwnFilesWinOverThoseOfTheFolderThatItWasCopiedFrom) {
  ASSERT_EQ(collect(setlistOf({track(root / "sounds/take.wav")})).end, End::whole);
  fs::copy(target, root / "Copy", fs::copy_options::recursive);
  EXPECT_EQ(fileOf(openedIn(root / "Copy"), 0), root / "Copy/files/take.wav");
}

TEST_F(CollectedSetlist, ASetlistThatWasTakenOutOfItsFolderPlaysTheFilesThere) {
  ASSERT_EQ(collect(setlistOf({track(root / "sounds/take.wav")})).end, End::whole);
  fs::copy(target / "Gig.vrel", root / "other/Gig.vrel");
  EXPECT_EQ(fileOf(openedIn(root / "other"), 0), target / "files/take.wav");
}

TEST_F(CollectedSetlist, AnySetlistElseIsOpenedAsItIs) {
  auto setlist = setlistOf({track(root / "sounds/take.wav")});
  takeFilesBeside(setlist, root / "other", [](const fs::path&) { return true; });
  EXPECT_EQ(fileOf(setlist, 0), root / "sounds/take.wav");
  EXPECT_EQ(setlist.collectedFolder, "");
  EXPECT_EQ(encodeSetlist(setlist).value().find("collected"), std::string::npos);
}

}  // namespace
}  // namespace vrel::system
