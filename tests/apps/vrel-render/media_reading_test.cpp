// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/media_reading.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace vrel::render {
namespace {

using namespace std::chrono_literals;
using Kind = MediaState::Kind;

/// Files that are there on every machine, named by what their decoding does.
std::optional<system::DecodingFailure> decode(const std::string& path) {
  if (path == "/proc/self/stat") {
    ::raise(SIGKILL);
  }
  if (path == "/proc/self/status") {
    ::_exit(3);
  }
  if (path == "/proc/self/maps") {
    for (;;) {
      ::pause();
    }
  }
  if (path == "/proc/self/io") {
    return system::DecodingFailure{system::DecodingFailure::Kind::incomplete, "half of it"};
  }
  if (path == "/proc/self/limits") {
    return system::DecodingFailure{system::DecodingFailure::Kind::unreadable, "no sound"};
  }
  return std::nullopt;
}

CheckedMedia checkWith(const MediaReferences& references, std::chrono::milliseconds timeLimit,
                       std::vector<std::size_t>& progress) {
  return checkMedia(references, {&decode, &decode, timeLimit},
                    [&progress](std::size_t done) { progress.push_back(done); });
}

TEST(MediaReading, AFileThatKillsItsDecoderCostsNoOther) {
  std::vector<std::size_t> progress;
  const auto checked = checkWith({.audioFiles = {"/proc/self/stat", "/proc/self/status", "/proc/self/cmdline"},
                                  .clips = {"/proc/self/stat", "/proc/self/comm"}},
                                 60s, progress);
  EXPECT_EQ(checked.audioFiles, (MediaStates{{"/proc/self/stat", {Kind::crashes, "killed by signal 9"}},
                                             {"/proc/self/status", {Kind::crashes, "ended with exit code 3"}},
                                             {"/proc/self/cmdline", {}}}));
  EXPECT_EQ(checked.clips,
            (MediaStates{{"/proc/self/stat", {Kind::crashes, "killed by signal 9"}}, {"/proc/self/comm", {}}}));
  ASSERT_FALSE(progress.empty());
  EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
  EXPECT_EQ(progress.back(), 5U);
}

TEST(MediaReading, AFileWhoseDecoderNeverEndsIsGivenUp) {
  std::vector<std::size_t> progress;
  const auto checked = checkWith({.audioFiles = {"/proc/self/maps"}, .clips = {}}, 20ms, progress);
  EXPECT_EQ(checked.audioFiles, (MediaStates{{"/proc/self/maps", {Kind::crashes, "not done after 0 s"}}}));
}

TEST(MediaReading, WhatADecoderSaysComesWithItsReason) {
  std::vector<std::size_t> progress;
  const auto checked =
      checkWith({.audioFiles = {"/proc/self/io", "/proc/self/limits", "/not/there"}, .clips = {}}, 60s, progress);
  EXPECT_EQ(checked.audioFiles, (MediaStates{{"/proc/self/io", {Kind::incomplete, "half of it"}},
                                             {"/proc/self/limits", {Kind::unreadable, "no sound"}},
                                             {"/not/there", {Kind::missing, ""}}}));
}

}  // namespace
}  // namespace vrel::render
