// SPDX-License-Identifier: GPL-3.0-or-later

// PipeWire in JACK's place: a server of the test's own, with a device that nobody hears.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "support/devices/child_process.h"

namespace vrel::system::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* configuration = R"(
context.properties = {
  core.daemon = true  core.name = pipewire-0  support.dbus = false
  default.clock.rate = 48000  default.clock.quantum = 128
  default.clock.min-quantum = 128  default.clock.max-quantum = 128
}
context.spa-libs = { audio.convert.* = audioconvert/libspa-audioconvert  support.* = support/libspa-support }
context.modules = [
  { name = libpipewire-module-protocol-native } { name = libpipewire-module-metadata }
  { name = libpipewire-module-spa-node-factory } { name = libpipewire-module-client-node }
  { name = libpipewire-module-access } { name = libpipewire-module-adapter }
  { name = libpipewire-module-link-factory } { name = libpipewire-module-session-manager }
]
context.objects = [ { factory = adapter args = {
  factory.name = support.null-audio-sink  node.name = system  node.description = system
  media.class = Audio/Sink  audio.position = [ FL FR ]  object.linger = true  priority.driver = 8000
  node.param.PortConfig = { direction = Input  mode = dsp  format = { mediaType = audio  mediaSubtype = raw
    format = F32P  rate = 48000  channels = 2  position = [ FL FR ] } }
} } ]
)";

std::string valueOf(const char* name) {
  const char* const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): there is one thread
  return value != nullptr ? value : "";
}

std::vector<fs::path> foldersOf(const std::string& list) {
  std::vector<fs::path> folders;
  std::istringstream stream(list);
  for (std::string folder; std::getline(stream, folder, ':');) {
    folders.emplace_back(folder);
  }
  return folders;
}

/// Where PipeWire's own libjack is; none where it is not installed, or the server is not.
std::optional<fs::path> findLibrary() {
  const auto programs = foldersOf(valueOf("PATH"));
  if (std::ranges::none_of(programs, [](const fs::path& folder) { return fs::exists(folder / "pipewire"); })) {
    return std::nullopt;
  }
  auto folders = foldersOf(valueOf("LD_LIBRARY_PATH"));
  for (const fs::path root : {"/usr/lib", "/usr/lib64"}) {
    std::error_code failed;
    folders.push_back(root);
    for (const auto& entry : fs::directory_iterator(root, failed)) {
      folders.push_back(entry.path());
    }
  }
  for (const auto& folder : folders) {
    std::error_code failed;
    if (fs::exists(folder / "pipewire-0.3/jack/libjack.so.0", failed)) {
      return folder / "pipewire-0.3/jack";
    }
  }
  return std::nullopt;
}

class PipeWire : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    library_ = findLibrary();
    if (!library_) {
      GTEST_SKIP() << "PipeWire is not installed (Debian packages pipewire, pipewire-jack)";
    }
    std::string folder = testing::TempDir() + "vrel_pipewire_XXXXXX";
    root_ = ::mkdtemp(folder.data());
    std::ofstream(root_ / "pipewire.conf") << configuration;
    ::setenv("XDG_RUNTIME_DIR", root_.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): there is one thread
    server_.start({"pipewire", "-c", root_ / "pipewire.conf"}, root_ / "server.log");
    ASSERT_TRUE(eventually([this] { return fs::exists(root_ / "pipewire-0") || !server_.isRunning(); }));
    ASSERT_TRUE(server_.isRunning()) << read("server.log");
  }
  ~PipeWire() override {
    server_.end(SIGTERM);
    if (!root_.empty()) {
      fs::remove_all(root_);
    }
  }

  [[nodiscard]] std::string read(const char* name) const {
    std::ifstream file(root_ / name);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  /// What the player prints.
  [[nodiscard]] std::string playOnIt() {
    const auto before = valueOf("LD_LIBRARY_PATH");
    const auto path = library_->string() + (before.empty() ? "" : ":" + before);
    ::setenv("LD_LIBRARY_PATH", path.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): there is one thread
    ChildProcess player;
    std::vector<std::string> arguments{VREL_PIPEWIRE_PLAYER, VREL_PLUGIN_HOST_PROGRAM};
    if (GetParam()) {
      arguments.emplace_back("--sandbox");
    }
    player.start(arguments, root_ / "player.log");
    EXPECT_TRUE(eventually([&] { return !player.isRunning(); }, std::chrono::seconds(100)));
    return read("player.log");
  }

 private:
  std::optional<fs::path> library_;
  fs::path root_;
  ChildProcess server_;
};

TEST_P(PipeWire, ANoteOfAnotherProgramSoundsAtItsFrame) {
  const auto log = playOnIt();
  std::istringstream lines(log);
  std::vector<int> late;
  const std::string prefix = "late ";
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(prefix)) {
      late.push_back(std::stoi(line.substr(prefix.size())));
    }
  }
  // Unlike JACK's own server PipeWire waits for no client: on a busy machine a period may be lost, with all it brought.
  // A note that waited for anything would be at its frame once in a period.
  ASSERT_EQ(late.size(), 8U) << log;
  EXPECT_GE(std::ranges::count(late, 0), 3) << log;
  EXPECT_THAT(log, testing::HasSubstr("device JACK: system"));
}

INSTANTIATE_TEST_SUITE_P(Instruments, PipeWire, testing::Bool(), [](const auto& parameter) {
  return parameter.param ? std::string("InProcessesOfTheirOwn") : std::string("InThisProcess");
});

}  // namespace
}  // namespace vrel::system::test
