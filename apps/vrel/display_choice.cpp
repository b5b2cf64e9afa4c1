// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/display_choice.h"

#include <cstdlib>

namespace vrel::app {
namespace {

constexpr const char* platform = "QT_QPA_PLATFORM";

// NOLINTBEGIN(concurrency-mt-unsafe): there is no other thread yet
bool isNamed(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

}  // namespace

void preferX11() {
  if (isNamed("DISPLAY") && !isNamed(platform)) {
    setenv(platform, "xcb;wayland", 1);
  }
}
// NOLINTEND(concurrency-mt-unsafe)

}  // namespace vrel::app
