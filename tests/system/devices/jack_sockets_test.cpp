// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/devices/jack_sockets.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

namespace vrel::system {
namespace {

class JackSocketFolders : public testing::Test {
 protected:
  JackSocketFolders() {
    std::string pattern = std::filesystem::temp_directory_path() / "jack_sockets_XXXXXX";
    root = ::mkdtemp(pattern.data());
    std::filesystem::create_directory(root / "shm");
    std::filesystem::create_directory(root / "runtime");
  }
  ~JackSocketFolders() override { std::filesystem::remove_all(root); }

  static void makeSocket(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    const int listening = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ::close(listening);  // the socket's file stays, as a killed server leaves it
  }

  [[nodiscard]] JackSockets sockets() const {
    return {.jackFolder = root / "shm", .pipeWireFolders = {root / "missing", root / "runtime"}};
  }

  std::filesystem::path root;
};

TEST_F(JackSocketFolders, WithoutASocketThereIsNoServer) {
  std::filesystem::create_directory(root / "shm" / "jack_db-0");
  std::ofstream(root / "shm" / "jack_default_0_0") << "no socket";
  EXPECT_FALSE(sockets().mayHaveServer("default"));
}

TEST_F(JackSocketFolders, AServerIsFoundByItsNameAlone) {
  makeSocket(root / "shm" / "jack_stage_0_0");
  EXPECT_TRUE(sockets().mayHaveServer("stage"));
  EXPECT_FALSE(sockets().mayHaveServer("default"));
  EXPECT_FALSE(sockets().mayHaveServer("sta"));
}

TEST_F(JackSocketFolders, WithoutANameTheUsualServerOfTheUserIsMeant) {
  const std::string usual = ::getenv("JACK_DEFAULT_SERVER");
  EXPECT_FALSE(sockets().mayHaveServer(""));
  makeSocket(root / "shm" / ("jack_" + usual + "_0_0"));
  EXPECT_TRUE(sockets().mayHaveServer(""));
}

TEST_F(JackSocketFolders, PipeWireAnswersForAServerOfAnyName) {
  makeSocket(root / "runtime" / "pipewire-0");
  EXPECT_TRUE(sockets().mayHaveServer("default"));
  EXPECT_TRUE(sockets().mayHaveServer("stage"));
}

}  // namespace
}  // namespace vrel::system
