// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/session_bus.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace vrel::app {
namespace {

namespace fs = std::filesystem;

constexpr const char* address = "DBUS_SESSION_BUS_ADDRESS";

// NOLINTBEGIN(concurrency-mt-unsafe): there is no other thread yet
bool hasBus() {
  const char* const given = std::getenv(address);
  if (given != nullptr && *given != '\0') {
    return true;
  }
  const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
  std::error_code ignored;
  return runtime != nullptr && fs::is_socket(fs::path(runtime) / "bus", ignored);
}

}  // namespace

void forgoAbsentSessionBus() {
  if (!hasBus()) {
    setenv(address, "disabled:", 1);
  }
}
// NOLINTEND(concurrency-mt-unsafe)

}  // namespace vrel::app
