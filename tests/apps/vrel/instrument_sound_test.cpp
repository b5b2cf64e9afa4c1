// SPDX-License-Identifier: GPL-3.0-or-later

// An instrument that is chosen in the window is heard on a real JACK server.

#include <gtest/gtest.h>

#include <cstdlib>

#include "apps/vrel/console_driver.h"
#include "support/devices/jack_server.h"

namespace vrel::app::test {
namespace {

TEST(InstrumentSound, AnInstrumentThatIsPickedInTheSelectorIsHeardWhenAKeyIsPlayed) {
  ::setenv("LV2_PATH", VREL_ZOO_PATH, 1);
  system::test::JackServer server;
  server.start();
  ::setenv("JACK_DEFAULT_SERVER", server.name().c_str(), 1);
  ConsoleDriver driver;
  driver.open();
  driver.click("stripInstrument0");
  ASSERT_TRUE(driver.eventually([&] { return driver.isShown("instrumentPanel"); }));
  driver.type("zoo sine");
  ASSERT_TRUE(
      driver.eventually([&] { return driver.value("plugin0", "name").toString() == QLatin1String("Zoo Sine"); }));
  driver.key("Return");
  ASSERT_TRUE(driver.eventually([&] {
    return driver.strip(0).status() == window::StripViewModel::Status::Running && driver.strip(0).hasInstrument();
  }));
  driver.onLogic([](Session& session) { session.engine().routeMIDI(0x90, 69, 100); });
  EXPECT_TRUE(driver.eventually([&] {
    return driver.fromLogic<bool>([](Session& session) { return session.engine().channels()[0]->peakL.get() > 0.01F; });
  }));
  driver.close();
  ::unsetenv("JACK_DEFAULT_SERVER");
  ::setenv("LV2_PATH", VREL_KNOWN_BUNDLES, 1);
}

}  // namespace
}  // namespace vrel::app::test
