// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "apps/vrel/console_fixture.h"
#include "document/plugin_path.h"

namespace vrel::app::test {
namespace {

/// A second song with two instruments, one of which comes when the test lets it.
class Loading : public ConsoleFixture {
 protected:
  Loading() {
    ::setenv("LV2_PATH", VREL_ZOO_PATH, 1);
    ::setenv("VREL_ZOO_GATE", gate_.c_str(), 1);
  }

  ~Loading() override {
    openGate();
    driver.close();
    ::unsetenv("VREL_ZOO_GATE");
    ::setenv("LV2_PATH", VREL_KNOWN_BUNDLES, 1);
  }

  void SetUp() override {
    ConsoleFixture::SetUp();
    driver.onLogic([](Session& session) {
      SongConfig song;
      song.name = "Slow";
      for (const auto* plugin : {"Zoo Sine", "Zoo Gate"}) {
        for (const auto& component : session.state().scannedPlugins.get()) {
          if (component.name == plugin) {
            song.channels.emplace_back().pluginPath = pluginKey(component);
          }
        }
      }
      ASSERT_EQ(song.channels.size(), 2U);
      session.state().songs.modify([&](std::vector<SongConfig>& songs) { songs.push_back(song); });
    });
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("songRow1"); }));
  }

  void openGate() const { std::ofstream(gate_) << "open"; }

  bool isHalfLoaded() {
    return driver.eventually(
        [this] { return driver.isShown("loadingModal") && driver.session().loadingProgress() == 0.5; });
  }

  /// Whether no note is held any more, some moments after one was.
  bool isSilencedBy(const std::function<void()>& act) {
    driver.onLogic([](Session& session) { session.state().pressedNotes.set({60}); });
    act();
    return driver.eventually([this] {
      return driver.fromLogic<bool>([](Session& session) { return session.state().pressedNotes.get().empty(); });
    });
  }

 private:
  const std::filesystem::path gate_ = driver.home() / "gate";
};

TEST_F(Loading, TheModalSaysHowFarItIsAndKeepsEveryPressButPanicUntilTheLastInstrumentIsThere) {
  driver.click("songRow1");
  ASSERT_TRUE(isHalfLoaded());
  EXPECT_EQ(driver.value("loadingCounters", "text").toString(), QStringLiteral("1 / 2"));
  EXPECT_EQ(driver.session().loadingMessage(), QStringLiteral("Loading Audio Units"));
  EXPECT_TRUE(driver.isShown("loadingBar"));
  EXPECT_TRUE(driver.eventually([this] { return driver.value("loadingModal", "opacity").toDouble() == 1; }));
  driver.click("tempoUp");
  EXPECT_TRUE(isSilencedBy([this] { driver.click("panicButton"); }));
  EXPECT_TRUE(driver.isShown("loadingModal"));

  openGate();
  EXPECT_TRUE(driver.eventually([this] { return !driver.isShown("loadingModal"); }));
  EXPECT_EQ(driver.session().tempoBpm(), 120);
  EXPECT_TRUE(driver.fromLogic<bool>([](Session& session) {
    const auto& channels = session.engine().channels();
    return channels.size() == 2 && channels[0]->status.get() == ChannelStatus::running &&
           channels[1]->status.get() == ChannelStatus::running;
  }));
}

TEST_F(Loading, OneLoadHasNoCountersAndNoneAtAllASpinner) {
  driver.onLogic([](Session& session) { session.state().beginLoadingSession(1, "One"); });
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("loadingModal"); }));
  EXPECT_TRUE(driver.isShown("loadingBar"));
  EXPECT_FALSE(driver.isShown("loadingCounters"));
  EXPECT_FALSE(driver.isShown("loadingSpinner"));
  driver.onLogic([](Session& session) { session.state().totalLoadsCount.set(0); });
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("loadingSpinner"); }));
  EXPECT_FALSE(driver.isShown("loadingBar"));
  driver.onLogic([](Session& session) { session.state().finishLoadingSession(); });
}

TEST_F(Loading, InLiveModeTheKeysReachTheirHandlerMeanwhile) {
  driver.click("liveButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.session().isLive(); }));
  driver.key("Down");
  ASSERT_TRUE(isHalfLoaded());
  EXPECT_TRUE(isSilencedBy([this] { driver.key("p"); }));
  EXPECT_TRUE(driver.isShown("loadingModal"));
  driver.key("0");
  EXPECT_TRUE(driver.eventually([this] {
    return driver.fromLogic<bool>([](Session& session) { return session.engine().masterChannel()->mute.get(); });
  }));
}

}  // namespace
}  // namespace vrel::app::test
