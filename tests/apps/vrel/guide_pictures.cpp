// SPDX-License-Identifier: GPL-3.0-or-later
// Takes the pictures of the guide from the real window, into the folder that VREL_GUIDE_PICTURES names.
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QImage>
#include <QList>
#include <QObject>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRect>
#include <QRectF>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "apps/vrel/console_fixture.h"
#include "apps/vrel/written_sound.h"

namespace vrel::app::test {
namespace {

/// The demo on a usual screen, with a track and clips in its last song.
class GuidePictures : public ConsoleFixture {
 protected:
  void SetUp() override {
    ASSERT_NE(std::getenv("VREL_GUIDE_PICTURES"), nullptr) << "names no folder";
    std::filesystem::create_directories(std::string(std::getenv("HOME")) + "/.local/state/vrel");
    ConsoleFixture::SetUp();
    window().resize(1366, 768);
    // As if it had been pressed: blocks that this machine was late for belong in no picture.
    window().findChild<QObject*>(QStringLiteral("dropoutLamp"))->setProperty("seen", std::numeric_limits<int>::max());
    driver.onLogic([](Session& session) { session.content().setlistFiles().loadSetlist(VREL_EXAMPLE_SETLIST); });
    settle();
  }

  [[nodiscard]] QQuickWindow& window() { return *driver.program().window.quickWindow(); }

  /// Waits until nothing loads and nothing moves.
  void settle() {
    int looks = 0;
    driver.eventually([&] {
      looks = driver.session().isSwitching() || driver.session().isLoading() ? 0 : looks + 1;
      return looks > 80;
    });
  }

  /// As many as a small file holds; the fields keep their shades.
  static QList<QRgb> mostUsedColors(const QImage& image) {
    std::map<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        ++counts[image.pixel(x, y)];
      }
    }
    std::multimap<int, QRgb, std::greater<>> ranked;
    for (const auto& [color, count] : counts) {
      ranked.emplace(count, color);
    }
    QList<QRgb> colors;
    constexpr int most = 256;
    for (const auto& [count, color] : ranked) {
      if (colors.size() < most) {
        colors.append(color);
      }
    }
    return colors;
  }

  static void save(const QImage& image, const std::string& name) {
    const std::string file = std::string(std::getenv("VREL_GUIDE_PICTURES")) + "/" + name + ".png";
    EXPECT_TRUE(
        image.convertToFormat(QImage::Format_Indexed8, mostUsedColors(image)).save(QString::fromStdString(file)));
  }

  void take(const std::string& name) {
    settle();
    save(window().grabWindow(), name);
  }

  /// The window that an item is in, when that is not the console.
  void takeWindowOf(const std::string& item, const std::string& name) {
    ASSERT_TRUE(driver.eventually([&] { return driver.isShown(item); })) << item;
    settle();
    save(driver.find(item)->window()->grabWindow(), name);
  }

  /// What lies around an item of the console.
  void takePart(const std::string& item, const std::string& name) {
    ASSERT_TRUE(driver.eventually([&] { return driver.isShown(item); })) << item;
    settle();
    constexpr double margin = 6;
    const QQuickItem& part = *driver.find(item);
    const QRectF place = part.mapRectToScene(part.boundingRect()).adjusted(-margin, -margin, margin, margin);
    save(window().grabWindow().copy(place.toAlignedRect().intersected(QRect(QPoint(), window().size()))), name);
  }

  void song(int index) {
    driver.onLogic([index](Session& session) { session.content().songSwitch().applySong(index); });
    settle();
  }

  /// Four bars of a fading chord.
  std::filesystem::path writeTrack() {
    auto path = driver.home() / "Intro Strings.wav";
    constexpr std::uint32_t rate = 22050;
    writeSound(path, rate, rate * 8, [](std::uint32_t frame) {
      const double seconds = static_cast<double>(frame) / rate;
      const double fade = std::exp(-1.6 * std::fmod(seconds, 2.0)) * (0.4 + 0.075 * seconds);
      const double wave = std::sin(seconds * 2764.6) + std::sin(seconds * 3481.2) + 0.5 * std::sin(seconds * 4146.9);
      return 10000 * fade * wave;
    });
    return path;
  }

  static std::string clip(const std::string& name) { return std::string(VREL_CLIP_FOLDER) + "/" + name; }

  /// Two more strips in the song on stage.
  void addTrackAndClips(const std::filesystem::path& track) {
    driver.onLogic([track](Session& session) {
      session.content().channelOperations().addChannelFromButton();
      session.content().channelOperations().addChannelFromButton();
      const auto& channels = session.engine().channels();
      channels[2]->name.set("Intro");
      channels[3]->name.set("Film");
      session.engine().instruments().loadVisualInstrument(
          *channels[3],
          {{.note = 60, .filePath = clip("upright.mp4")},
           {.note = 62, .filePath = clip("turned-180.mp4"), .triggerMode = VisualTriggerMode::toggle}},
          nullptr);
      session.content().selection().selectedChannelId.set(channels[2]->id);
    });
    settle();
  }
};

TEST_F(GuidePictures, OfTheConsole) {
  take("console");
  takePart("keyboardArea", "splits");
  driver.click("learnButton");
  take("learn");
  driver.click("learnButton");
  driver.click("rack1");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("rackPanel"); }));
  take("effects");
  driver.click("openEffect0");
  takeWindowOf("controlSearch", "plugin");
}

TEST_F(GuidePictures, OfTheStage) {
  driver.click("liveButton");
  ASSERT_TRUE(driver.eventually([this] { return driver.session().isLive(); }));
  take("live");
  driver.onLogic([](Session& session) {
    session.content().setSongNotes(
        "Intro: bass alone, 4 bars\n\nVerse   C   Am   F   G\n  Electric piano soft, no pedal\n\n"
        "Chorus  F   G   C   C\n  Layer up, pedal down\n\nBridge: strings an octave up\n\nEnd on the second chorus");
  });
  driver.key("ctrl+shift+n");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("largeNotesPage"); }));
  take("large-notes");
}

TEST_F(GuidePictures, OfTracksAndClips) {
  song(2);
  addTrackAndClips({});
  const auto track = writeTrack();
  driver.click("stripInstrument2");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("playbackSource"); }));
  take("instruments");
  driver.click("playbackSource");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("trackFile"); }));
  driver.click("trackFile");
  driver.answerPanel(track);
  ASSERT_TRUE(driver.eventually([this] {
    const auto& shown = *driver.program().window.model().track();
    return shown.duration() > 0 && !shown.isReading();
  }));
  take("track");
  driver.click("trackApply");
  driver.onLogic([](Session& session) { session.content().clipEditor().open(*session.engine().channels()[3]); });
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("clipDelete1"); }));
  take("clips");
  driver.click("clipCancel");
  driver.click("foldStage");
  ASSERT_TRUE(driver.eventually([this] { return driver.isShown("stagePicture"); }));
  driver.onLogic([](Session& session) { session.engine().routeMIDI(0x90, 60, 100); });
  driver.click("menu4");
  take("projection");
  driver.key("Escape");
}

TEST_F(GuidePictures, OfTheMenus) {
  driver.click("menu1");
  take("collect");
  driver.key("Escape");
}

}  // namespace
}  // namespace vrel::app::test
