// SPDX-License-Identifier: GPL-3.0-or-later

// Makes the environment of a test program, and of what it starts, the same on every machine: a home of its own, no
// display, no message bus, no sound server, and only the plug-ins that the tests know. In the program rather than in
// what starts it, so that a test run by hand behaves the same.

#include <cstdlib>
#include <string>

namespace {

// NOLINTBEGIN(concurrency-mt-unsafe): before main there are no other threads
const bool isOurs = [] {
  const std::string home = VREL_TEST_HOME;
  setenv("HOME", home.c_str(), 1);
  setenv("XDG_CONFIG_HOME", (home + "/config").c_str(), 1);
  setenv("XDG_STATE_HOME", (home + "/state").c_str(), 1);
  setenv("XDG_DATA_HOME", (home + "/data").c_str(), 1);
  setenv("XDG_CACHE_HOME", (home + "/cache").c_str(), 1);
  setenv("XDG_RUNTIME_DIR", (home + "/runtime").c_str(), 1);
  setenv("LV2_PATH", VREL_KNOWN_BUNDLES, 1);
  setenv("JACK_DEFAULT_SERVER", "vrel-tests-none", 1);
  setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "disabled:", 1);
  unsetenv("DISPLAY");
  unsetenv("WAYLAND_DISPLAY");
  return true;
}();
// NOLINTEND(concurrency-mt-unsafe)

}  // namespace
