// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/display_choice.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace vrel::app {
namespace {

// NOLINTBEGIN(concurrency-mt-unsafe): no other thread looks at the environment
class DisplayChoice : public testing::Test {
 protected:
  DisplayChoice() {
    unsetenv(platform);
    setenv("WAYLAND_DISPLAY", "wayland-0", 1);
  }
  ~DisplayChoice() override {
    setenv(platform, usual_.c_str(), 1);
    unsetenv("WAYLAND_DISPLAY");
    unsetenv("DISPLAY");
  }

  static std::string platformAfter() {
    preferX11();
    const char* const found = std::getenv(platform);
    return found != nullptr ? found : "none";
  }

  static constexpr const char* platform = "QT_QPA_PLATFORM";

 private:
  const std::string usual_ = std::getenv(platform);
};

TEST_F(DisplayChoice, X11ComesFirstWhereADisplayIsNamed) {
  setenv("DISPLAY", ":0", 1);
  EXPECT_EQ(platformAfter(), "xcb;wayland");
}

TEST_F(DisplayChoice, WithoutADisplayForX11TheToolkitChooses) {
  EXPECT_EQ(platformAfter(), "none");
  setenv("DISPLAY", "", 1);
  EXPECT_EQ(platformAfter(), "none");
}

TEST_F(DisplayChoice, APlatformThatTheUserHasNamedIsKept) {
  setenv("DISPLAY", ":0", 1);
  setenv(platform, "wayland", 1);
  EXPECT_EQ(platformAfter(), "wayland");
}
// NOLINTEND(concurrency-mt-unsafe)

}  // namespace
}  // namespace vrel::app
