// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ui/virtual_display.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

namespace vrel::app::test {
namespace {

void runOrThrow(const std::string& command) {
  if (std::system(command.c_str()) != 0) {
    throw std::runtime_error(command + " failed");
  }
}

}  // namespace

VirtualDisplay::VirtualDisplay(int width, int height, int secondWidth) : folder_(makeTemporaryFolder()) {
  const std::string number = folder_ / "display";
  const std::string screen = std::to_string(width + secondWidth) + "x" + std::to_string(height) + "x24";
  // The server chooses a free display and writes its number to the descriptor.
  server_.start({"sh", "-c",
                 "exec Xvfb -displayfd 3 -screen 0 " + screen + " -nolisten tcp" +
                     (secondWidth > 0 ? " -noreset" : "") + " 3>" + number},
                folder_ / "xvfb.log");
  std::string display;
  if (!system::test::eventually([&] {
        std::ifstream file(number);
        return static_cast<bool>(std::getline(file, display)) && !display.empty();
      })) {
    throw std::runtime_error("Xvfb did not start");
  }
  ::setenv("DISPLAY", (":" + display).c_str(), 1);
  ::setenv("QT_QPA_PLATFORM", "xcb", 1);
  ::setenv("QT_QUICK_BACKEND", "software", 1);
  ::unsetenv("WAYLAND_DISPLAY");
  if (secondWidth > 0) {
    addMonitor("left", 0, width, height, "screen");
    addMonitor("right", width, secondWidth, height);
  }
}

void VirtualDisplay::addMonitor(const std::string& name, int left, int width, int height, const std::string& output) {
  runOrThrow("xrandr --setmonitor " + name + " " + std::to_string(width) + "/300x" + std::to_string(height) + "/200+" +
             std::to_string(left) + "+0 " + output);
}

void VirtualDisplay::removeMonitor(const std::string& name) {
  runOrThrow("xrandr --delmonitor " + name);
}

VirtualDisplay::~VirtualDisplay() {
  server_.end(SIGTERM);
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

std::filesystem::path makeTemporaryFolder() {
  std::string name = std::filesystem::temp_directory_path() / "vrel-ui-XXXXXX";
  if (::mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("cannot create a temporary folder");
  }
  return name;
}

void moveHome(const std::filesystem::path& folder) {
  ::setenv("HOME", folder.c_str(), 1);
  for (const auto* variable : {"XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
    ::unsetenv(variable);
  }
}

}  // namespace vrel::app::test
