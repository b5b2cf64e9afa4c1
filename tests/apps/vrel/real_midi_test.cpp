// SPDX-License-Identifier: GPL-3.0-or-later

// The console on a real JACK server, with a device of another program.

#include <gtest/gtest.h>

#include <QQuickItem>
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <vector>

#include "apps/vrel/console_driver.h"
#include "console/window/level_meter.h"
#include "support/devices/jack_peer.h"
#include "support/devices/jack_server.h"

namespace vrel::app::test {
namespace {

class RealMidi : public testing::Test {
 protected:
  RealMidi() {
    server.start();
    ::setenv("JACK_DEFAULT_SERVER", server.name().c_str(), 1);
    driver.open();
    peer.emplace(server.name(), "knobs");
    peer->addPort("out");
  }

  ~RealMidi() override {
    peer.reset();
    driver.close();
    ::unsetenv("JACK_DEFAULT_SERVER");
  }

  [[nodiscard]] bool isLinked() {
    return driver.eventually([this] { return peer->isLinked(); });
  }

  system::test::JackServer server;
  ConsoleDriver driver;
  std::optional<system::test::MidiPeer> peer;
};

TEST_F(RealMidi, AFaderLearnsAControllerOfADeviceAndFollowsIt) {
  ASSERT_TRUE(isLinked());
  driver.click("learnButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.session().isLearning(); }));
  driver.click("fader0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isWaitingFor(window::learn_kind::Kind::ChannelVolume, 0); }));
  peer->send({{0xB2, 21, 64}});
  EXPECT_TRUE(driver.eventually([this] { return !driver.session().isLearning(); }));
  const auto learned = driver.fromLogic<std::vector<MidiControlAssignment>>(
      [](Session& session) { return session.content().midiLearn().effectiveMidiAssignments(); });
  ASSERT_EQ(learned.size(), 1U);
  EXPECT_EQ(learned[0].target, (MidiControlTarget{MidiControlKind::channelVolume, 0}));
  EXPECT_EQ(learned[0].binding.number, 21);
  for (const int sent : {127, 0}) {
    const double shown = sent / 127.0;
    peer->send({{0xB2, 21, static_cast<std::uint8_t>(sent)}});
    EXPECT_TRUE(driver.eventually([&] { return driver.value("fader0", "value").toDouble() == shown; })) << sent;
  }
}

TEST_F(RealMidi, TheLampBesideTheSourceIsLitWhileMidiArrives) {
  ASSERT_TRUE(isLinked());
  const auto isLit = [this](bool expected) {
    return driver.eventually([&] {
      if (expected) {
        peer->send({{0xB0, 20, 64}});
      }
      return driver.value("midiPort", "isLit").toBool() == expected;
    });
  };
  EXPECT_FALSE(driver.value("midiPort", "isLit").toBool());
  EXPECT_TRUE(isLit(true));
  EXPECT_TRUE(isLit(false));
}

TEST_F(RealMidi, ANoteMovesTheMeterOfTheStripThatPlaysIt) {
  ASSERT_TRUE(isLinked());
  const auto setlist = driver.home() / "example.vrel";
  std::filesystem::copy_file(VREL_EXAMPLE_SETLIST, setlist);
  driver.onLogic([&](Session& session) { session.content().setlistFiles().loadSetlist(setlist); });
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("strip1") && !driver.isShown("loadingModal"); }));
  const auto decibels = [this](const char* strip) {
    const auto* const shown = driver.find(strip);
    const auto* const meter = shown != nullptr ? shown->findChild<window::LevelMeter*>() : nullptr;
    return meter != nullptr ? meter->decibels() : 1000;
  };
  constexpr int silence = window::LevelMeter::silentDecibels;
  ASSERT_TRUE(driver.eventually([&] { return decibels("strip0") == silence && decibels("strip1") == silence; }));
  // Strips start at middle C: one plays what is below, the other what is above.
  int loudest = silence;
  EXPECT_TRUE(driver.eventually([&] {
    peer->send({{0x90, 72, 110}});
    loudest = std::max(loudest, decibels("strip1"));
    return loudest > -40;
  })) << loudest;
  EXPECT_EQ(decibels("strip0"), silence);
}

}  // namespace
}  // namespace vrel::app::test
