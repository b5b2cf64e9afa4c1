// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QAccessible>
#include <QAccessibleValueInterface>
#include <QQuickItem>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "apps/vrel/console_fixture.h"
#include "apps/vrel/written_sound.h"
#include "document/setlist_coding.h"

namespace vrel::app::test {
namespace {

/// The console with one empty strip, and a sound file of ten seconds of a slow wave.
class TrackWindow : public ConsoleFixture {
 protected:
  void SetUp() override {
    ConsoleFixture::SetUp();
    file_ = driver.home() / "ten.wav";
    writeSound(file_, 8000, 80000, [](std::uint32_t frame) { return 16000 * std::sin(frame * 0.05); });
  }

  bool isOpen(bool expected) {
    return driver.eventually([&] { return driver.isShown("trackPanel") == expected; });
  }

  [[nodiscard]] const window::TrackViewModel& track() { return *driver.program().window.model().track(); }

  /// Opens the editor for the first strip as a person does who wants a sound file on it, and chooses the file.
  void openWithFile() {
    driver.click("stripInstrument0");
    ASSERT_TRUE(driver.eventually([this] { return driver.isShown("playbackSource"); }));
    driver.click("playbackSource");
    ASSERT_TRUE(isOpen(true));
    driver.click("trackFile");
    driver.answerPanel(file_);
    ASSERT_TRUE(driver.eventually([this] { return track().duration() > 0 && !track().isReading(); }));
  }

  [[nodiscard]] std::string savedBytes() {
    return driver.fromLogic<std::string>([](Session& session) {
      session.content().songSwitch().captureCurrentSong();
      vrel::SetlistFile all;
      all.songs = session.state().songs.get();
      return encodeSetlist(all).value();
    });
  }

  [[nodiscard]] bool isSounding() {
    return driver.fromLogic<bool>(
        [](Session& session) { return session.engine().channels()[0]->playbackIsPlaying.get(); });
  }

  std::filesystem::path file_;
};

TEST_F(TrackWindow, ALoopedTrackIsSetUpOnTheWaveformAndPlayedByANote) {
  openWithFile();
  EXPECT_EQ(track().columns().size(), 360);
  EXPECT_EQ(driver.value("trackFileName", "text").toString(), QStringLiteral("ten.wav"));
  driver.drag("trackWaveform", "trackWaveform", {0.34, 0.5}, {0.98, 0.5});
  EXPECT_TRUE(driver.eventually([this] { return std::abs(track().endTime() - 3.5) < 1e-6; })) << track().endTime();
  driver.drag("trackWaveform", "trackWaveform", {0.1, 0.5}, {0.02, 0.5});
  EXPECT_TRUE(driver.eventually([this] { return std::abs(track().startTime() - 1) < 0.05; })) << track().startTime();
  driver.click("trackLoop");
  driver.click("trackStopAtExit");
  ASSERT_TRUE(driver.eventually([this] { return track().isLooping() && track().playsToExit(); }));
  EXPECT_FALSE(driver.strip(0).hasInstrument()) << "before it is applied";
  driver.click("trackApply");
  ASSERT_TRUE(isOpen(false));
  ASSERT_TRUE(
      driver.eventually([this] { return driver.strip(0).status() == window::StripViewModel::Status::Running; }));
  EXPECT_TRUE(driver.session().isDirty());
  driver.click("pianoKeys", {0.5, 0.9});
  EXPECT_TRUE(driver.eventually([this] { return isSounding(); }));
}

TEST_F(TrackWindow, CancelLeavesTheStripAsItIsInTheSavedFile) {
  openWithFile();
  driver.click("trackApply");
  ASSERT_TRUE(isOpen(false));
  ASSERT_TRUE(driver.eventually([this] { return driver.strip(0).isPlayback(); }));
  const auto before = savedBytes();
  driver.click("stripInstrument0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("openInstrument"); }));
  driver.click("openInstrument");
  ASSERT_TRUE(isOpen(true));
  ASSERT_TRUE(driver.eventually([this] { return track().duration() > 0; }));
  driver.drag("trackWaveform", "trackWaveform", {0.3, 0.5}, {0.02, 0.5});
  driver.click("trackLoop");
  ASSERT_TRUE(driver.eventually([this] { return track().isLooping() && track().startTime() > 2; }));
  driver.click("trackCancel");
  ASSERT_TRUE(isOpen(false));
  EXPECT_EQ(savedBytes(), before);
}

TEST_F(TrackWindow, ThePreviewRunsAndStopsAndTheStripStaysIdle) {
  openWithFile();
  driver.click("trackPreview");
  EXPECT_TRUE(driver.eventually([this] { return track().isPreviewing() && track().playheadTime() > 0.1; }));
  EXPECT_TRUE(driver.isShown("trackPlayhead"));
  driver.click("trackPreview");
  EXPECT_TRUE(driver.eventually([this] { return !track().isPreviewing(); }));
  EXPECT_EQ(track().playheadTime(), 0);
}

TEST_F(TrackWindow, ArrowKeysMoveThePointThatWasPressedLast) {
  openWithFile();
  driver.click("trackWaveform", {0.3, 0.5});
  ASSERT_TRUE(driver.value("trackEntry", "activeFocus").toBool());
  driver.key("Right");
  driver.key("shift+Right");
  EXPECT_TRUE(driver.eventually([this] { return std::abs(track().startTime() - 1.01) < 1e-9; })) << track().startTime();
  driver.key("ctrl+Left");
  EXPECT_TRUE(driver.eventually([this] { return std::abs(track().startTime() - 1.009875) < 1e-9; }));
  driver.key("Escape");
  EXPECT_TRUE(isOpen(false));
}

TEST_F(TrackWindow, AFileThatCannotBeReadSaysSoAndLiveModeClosesIt) {
  const auto words = driver.home() / "words.wav";
  std::ofstream(words) << "no sound";
  driver.click("stripInstrument0");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("playbackSource"); }));
  driver.click("playbackSource");
  ASSERT_TRUE(isOpen(true));
  driver.click("trackFile");
  driver.answerPanel(words);
  EXPECT_TRUE(driver.eventually([this] { return driver.isShown("trackError"); }));
  driver.click("liveButton");
  EXPECT_TRUE(isOpen(false));
  EXPECT_FALSE(driver.strip(0).hasInstrument());
}

TEST_F(TrackWindow, ItsPointsAreSlidersForAssistiveTechnology) {
  QAccessible::setActive(true);
  openWithFile();
  auto* const entry = QAccessible::queryAccessibleInterface(driver.find("trackEntry"));
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->role(), QAccessible::Slider);
  auto* const value = entry->valueInterface();
  ASSERT_NE(value, nullptr);
  EXPECT_EQ(value->maximumValue().toDouble(), 10);
  value->setCurrentValue(4.0);
  EXPECT_TRUE(driver.eventually([this] { return track().startTime() == 4; })) << track().startTime();
  QAccessible::setActive(false);
}

}  // namespace
}  // namespace vrel::app::test
