// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>

#include "support/devices/child_process.h"

namespace vrel::app::test {

/// An X server without a screen, on a free display; ends with the object and with the process.
class VirtualDisplay {
 public:
  /// Waits until it accepts clients, and makes it the display of this process, with Qt rendering in software. Throws
  /// when it does not start. With `secondWidth` it has two monitors, the second to the right of the first.
  VirtualDisplay(int width, int height, int secondWidth = 0);
  ~VirtualDisplay();
  VirtualDisplay(const VirtualDisplay&) = delete;
  VirtualDisplay& operator=(const VirtualDisplay&) = delete;

  /// Plugs a monitor of the display of this process in, or unplugs it. `output` as of xrandr. Throws when it is
  /// refused.
  static void addMonitor(const std::string& name, int left, int width, int height, const std::string& output = "none");
  static void removeMonitor(const std::string& name);

 private:
  std::filesystem::path folder_;
  system::test::ChildProcess server_;
};

/// A fresh folder for temporary files.
[[nodiscard]] std::filesystem::path makeTemporaryFolder();

/// Makes the folder the home of this process, with none of the user's files.
void moveHome(const std::filesystem::path& folder);

}  // namespace vrel::app::test
