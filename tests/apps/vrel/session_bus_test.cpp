// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/session_bus.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace vrel::app {
namespace {

// NOLINTBEGIN(concurrency-mt-unsafe): no other thread looks at the environment
class SessionBus : public testing::Test {
 protected:
  SessionBus() {
    setenv("XDG_RUNTIME_DIR", folder_.c_str(), 1);
    unsetenv(address);
  }
  ~SessionBus() override {
    setenv("XDG_RUNTIME_DIR", runtime_.c_str(), 1);
    setenv(address, "disabled:", 1);
    std::filesystem::remove_all(folder_);
  }

  static std::string addressAfter() {
    forgoAbsentSessionBus();
    const char* const found = std::getenv(address);
    return found != nullptr ? found : "none";
  }

  void listenAt(const std::string& name) const {
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    (folder_ / name).string().copy(place.sun_path, sizeof place.sun_path - 1);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&place), sizeof place), 0);
    ::close(socket);
  }

  static constexpr const char* address = "DBUS_SESSION_BUS_ADDRESS";

 private:
  static std::filesystem::path newFolder() {
    std::string name = testing::TempDir() + "vrel-bus-XXXXXX";
    return ::mkdtemp(name.data()) != nullptr ? name : std::string();
  }

  const std::string runtime_ = std::getenv("XDG_RUNTIME_DIR");
  const std::filesystem::path folder_ = newFolder();
};

TEST_F(SessionBus, AnAbsentOneIsNotLookedFor) {
  EXPECT_EQ(addressAfter(), "disabled:");
  unsetenv("XDG_RUNTIME_DIR");
  unsetenv(address);
  EXPECT_EQ(addressAfter(), "disabled:");
}

TEST_F(SessionBus, ThatOfTheSessionIsUsed) {
  setenv(address, "unix:path=/somewhere", 1);
  EXPECT_EQ(addressAfter(), "unix:path=/somewhere");
}

TEST_F(SessionBus, ThatOfTheUserIsUsed) {
  listenAt("bus");
  EXPECT_EQ(addressAfter(), "none");
}
// NOLINTEND(concurrency-mt-unsafe)

}  // namespace
}  // namespace vrel::app
