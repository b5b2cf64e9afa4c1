// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/files/user_folders.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace vrel::system {
namespace {

/// The environment as it is for one test.
class UserFolders : public testing::Test {
 protected:
  UserFolders() : home_(valueOf("HOME")), state_(valueOf("XDG_STATE_HOME")), cache_(valueOf("XDG_CACHE_HOME")) {}
  ~UserFolders() override {
    set("HOME", home_);
    set("XDG_STATE_HOME", state_);
    set("XDG_CACHE_HOME", cache_);
  }

  static void set(const char* name, const std::optional<std::string>& value) {
    value ? ::setenv(name, value->c_str(), 1) : ::unsetenv(name);  // NOLINT(concurrency-mt-unsafe): one thread
  }

 private:
  static std::optional<std::string> valueOf(const char* name) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): one thread
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
  }

  std::optional<std::string> home_;
  std::optional<std::string> state_;
  std::optional<std::string> cache_;
};

TEST_F(UserFolders, AreWhereTheEnvironmentSays) {
  set("HOME", "/home/me/music");
  set("XDG_STATE_HOME", "/var/mine");
  EXPECT_EQ(userStateFolder(), "/var/mine/vrel");
  EXPECT_EQ(userLogsFolder(), "/var/mine/vrel/logs");
  EXPECT_EQ(userCopiesFolder(), "/var/mine/vrel/copies");
  EXPECT_EQ(userRecentFilesPath(), "/var/mine/vrel/recent_setlists.json");
  set("XDG_CACHE_HOME", "/var/cache/mine");
  EXPECT_EQ(userPeaksFolder(), "/var/cache/mine/vrel/peaks");
  EXPECT_EQ(userPluginsFile(), "/var/cache/mine/vrel/plugins");
  set("XDG_CACHE_HOME", std::nullopt);
  EXPECT_EQ(userPeaksFolder(), "/home/me/music/.cache/vrel/peaks");
}

TEST_F(UserFolders, AreInTheHomeWithoutAWordOrWithARelativeOne) {
  set("HOME", "/home/me/music");
  for (const std::optional<std::string>& word : {std::optional<std::string>(), {""}, {"mine"}}) {
    set("XDG_STATE_HOME", word);
    EXPECT_EQ(userCopiesFolder(), "/home/me/music/.local/state/vrel/copies");
    EXPECT_EQ(userRecentFilesPath(), "/home/me/music/.local/state/vrel/recent_setlists.json");
  }
}

TEST_F(UserFolders, TheOneOfTheSessionIsNeverInTheHome) {
  const std::optional<std::string> before = std::getenv("XDG_RUNTIME_DIR");  // NOLINT(concurrency-mt-unsafe)
  set("XDG_RUNTIME_DIR", "/run/user/1000");
  EXPECT_EQ(userRuntimeFolder(), "/run/user/1000/vrel");
  set("XDG_RUNTIME_DIR", std::nullopt);
  EXPECT_EQ(userRuntimeFolder(), "");
  set("XDG_RUNTIME_DIR", before);
}

TEST_F(UserFolders, AreNowhereForAUserWithoutAHome) {
  set("XDG_STATE_HOME", std::nullopt);
  for (const std::optional<std::string>& home : {std::optional<std::string>(), {""}, {"relative"}}) {
    set("HOME", home);
    EXPECT_TRUE(userCopiesFolder().empty());
    EXPECT_TRUE(userRecentFilesPath().empty());
  }
}

}  // namespace
}  // namespace vrel::system
