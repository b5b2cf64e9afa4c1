// SPDX-License-Identifier: GPL-3.0-or-later
// A set is made with the editors of plug-ins, of a track and of clips, under a window manager and beside a JACK server
// that records it; it is saved, opened again, and sounds as before.

#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <QPoint>
#include <QString>
#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numbers>
#include <optional>
#include <string>
#include <vector>

#include "apps/vrel/console_driver.h"
#include "support/devices/child_process.h"
#include "support/devices/jack_peer.h"
#include "support/devices/jack_server.h"
#include "support/ui/virtual_display.h"

namespace vrel::app::test {
namespace {

constexpr std::size_t rate = 48000;
constexpr int organ = 0;
constexpr int synth = 1;
constexpr int track = 2;
constexpr int clips = 3;

class UnderAWindowManager : public testing::Test {
 protected:
  UnderAWindowManager() {
    for (const auto* const name : {"b_synth", "ZamTube.lv2", "ZynAddSubFX.lv2", "ZynAddSubFX.lv2presets"}) {
      std::filesystem::create_symlink(std::filesystem::path(VREL_LV2_FOLDER) / name, folder_ / name);
    }
    ::setenv("LV2_PATH", folder_.c_str(), 1);
    std::ofstream(folder_ / "settings") << "<?xml version=\"1.0\"?><JWM></JWM>";
    manager_.start({"jwm", "-f", folder_ / "settings"}, folder_ / "log");
    server_.start();
    ::setenv("JACK_DEFAULT_SERVER", server_.name().c_str(), 1);
    driver.open();
    recorder_.emplace(server_.name(), 90 * rate);
  }

  ~UnderAWindowManager() override {
    recorder_.reset();
    driver.close();
    ::unsetenv("JACK_DEFAULT_SERVER");
    ::setenv("LV2_PATH", VREL_KNOWN_BUNDLES, 1);
    manager_.end(SIGTERM);
    std::filesystem::remove_all(folder_);
  }

  bool eventually(const std::function<bool()>& holds) { return driver.eventually(holds); }
  [[nodiscard]] static bool holds(const std::string& command) { return std::system(command.c_str()) == 0; }

  void addStrip(int strip) {
    driver.click("addChannelButton");
    ASSERT_TRUE(eventually([&] { return driver.isShown("strip" + std::to_string(strip)); }));
  }

  void chooseInstrument(int strip, const std::string& name) {
    driver.click("stripInstrument" + std::to_string(strip));
    ASSERT_TRUE(eventually([this] { return driver.value("instrumentSearch", "activeFocus").toBool(); }));
    driver.type(name);
    ASSERT_TRUE(eventually([&] { return driver.value("plugin0", "name").toString().toStdString() == name; })) << name;
    driver.key("Return");
    ASSERT_TRUE(eventually([&] {
      return driver.strip(strip).status() == window::StripViewModel::Status::Running && !driver.session().isLoading();
    })) << name;
  }

  /// Opens what the strip plays by this line of its menu.
  void openInstrument(int strip, const std::string& line) {
    driver.click("stripInstrument" + std::to_string(strip));
    ASSERT_TRUE(eventually([&] { return driver.isShown(line); }));
    driver.click(line);
  }

  /// The window of another process whose title ends like this, to xdotool.
  [[nodiscard]] static std::string windowOf(const std::string& title) {
    return "xdotool search --onlyvisible --name '" + title + "$'";
  }

  /// Drags a knob within it, from a place and by a way, until the setlist is changed: the view may come late.
  void turn(const std::string& title, const QPoint& at, int down) {
    ASSERT_TRUE(eventually([&] { return holds(windowOf(title) + " >/dev/null"); })) << title;
    driver.onLogic([](Session& session) { session.state().isDirty.set(false); });
    const std::string pause = " sleep 0.02 ";
    const std::string step = pause + "mousemove_relative -- 0 " + std::to_string(down / 10);
    std::string command = windowOf(title) + " mousemove --window %1 " + std::to_string(at.x()) + " " +
                          std::to_string(at.y()) + pause + "mousedown 1";
    for (int count = 0; count < 10; ++count) {
      command += step;
    }
    command += pause + "mouseup 1 >/dev/null";
    EXPECT_TRUE(eventually([&] { return holds(command) && driver.session().isDirty(); })) << title;
  }

  /// Of the strip's instrument and effects.
  void closeEditors(int strip) {
    driver.onLogic([=](Session& session) {
      const AudioChannel& channel = *session.engine().channels()[static_cast<std::size_t>(strip)];
      auto& editors = session.content().pluginEditors();
      editors.closeEditor(PluginEditors::instrumentKey(channel));
      for (const auto& slot : channel.effectSlots.get()) {
        editors.closeEditor(PluginEditors::effectKey(channel, slot.id));
      }
    });
    EXPECT_TRUE(eventually([] { return !holds(windowOf("Editor") + " >/dev/null"); }));
  }

  void pass(double seconds) {
    const std::size_t end = recorder_->recorded() + static_cast<std::size_t>(seconds * rate);
    ASSERT_TRUE(eventually([&] { return recorder_->recorded() >= end; }));
  }

  void send(std::uint8_t status, std::uint8_t note) {
    driver.onLogic([=](Session& session) { session.engine().routeMIDI(status, note, 100); });
  }

  void soloOnly(int strip) {
    driver.onLogic([=](Session& session) {
      for (std::size_t index = 0; index < session.engine().channels().size(); ++index) {
        session.engine().channels()[index]->solo.set(index == static_cast<std::size_t>(strip));
      }
    });
  }

  /// The strip alone, by a note: its mean level while the note is held, as the sound server has it.
  double level(int strip, std::uint8_t note = 60) {
    soloOnly(strip);
    send(0x90, note);
    pass(0.3);  // the attack
    const std::size_t from = recorder_->recorded();
    pass(0.6);
    const double mean = meanLevel(from);
    send(0x80, note);
    return mean;
  }

  /// Of what the sound server has got from this frame on.
  [[nodiscard]] double meanLevel(std::size_t from) const {
    const std::size_t to = recorder_->recorded();
    double sum = 0;
    for (std::size_t frame = from; frame < to; ++frame) {
      const double sample = recorder_->channel(0)[frame];
      sum += sample * sample;
    }
    return std::sqrt(sum / static_cast<double>(to - from));
  }

  bool isQuiet() {
    return eventually([this] {
      pass(0.05);
      const auto& samples = recorder_->channel(0);
      const auto end = samples.begin() + static_cast<std::ptrdiff_t>(recorder_->recorded());
      return std::all_of(end - rate / 50, end, [](float sample) { return std::abs(sample) < 1e-3F; });
    });
  }

  void writeTone(const std::filesystem::path& path) const;
  void makeTrack();
  void makeClips();
  void choosePresetByKeys();
  void saveAndOpenAgain();
  void expectBothClips();

  ConsoleDriver driver;
  const std::filesystem::path folder_ = makeTemporaryFolder();
  system::test::ChildProcess manager_;
  system::test::JackServer server_;
  std::optional<system::test::Recorder> recorder_;
};

/// Ten seconds of 440 Hz, 16 bits, 8000 frames per second.
void UnderAWindowManager::writeTone(const std::filesystem::path& path) const {
  constexpr std::uint32_t frames = 80000;
  std::ofstream out(path, std::ios::binary);
  const auto put = [&out](std::uint32_t value, int bytes) {
    for (int byte = 0; byte < bytes; ++byte) {
      out.put(static_cast<char>(value >> (8 * byte)));
    }
  };
  out << "RIFF";
  put(36 + 2 * frames, 4);
  out << "WAVEfmt ";
  put(16, 4);
  put(1, 2);
  put(1, 2);
  put(8000, 4);
  put(16000, 4);
  put(2, 2);
  put(16, 2);
  out << "data";
  put(2 * frames, 4);
  for (std::uint32_t frame = 0; frame < frames; ++frame) {
    const double angle = 2 * std::numbers::pi * 440 * frame / 8000;
    put(static_cast<std::uint32_t>(std::lround(16000 * std::sin(angle))) & 0xFFFFU, 2);
  }
}

void UnderAWindowManager::choosePresetByKeys() {
  openInstrument(synth, "openControls");
  ASSERT_TRUE(eventually([this] { return driver.isShown("presetName"); }));
  driver.click("presetName");
  ASSERT_TRUE(eventually([this] { return driver.isShown("presetSearch"); }));
  driver.click("presetSearch");
  driver.type("organ");
  ASSERT_TRUE(eventually([this] { return driver.isShown("preset2"); }));
  const auto name = [this] { return driver.value("presetName", "spokenName").toString(); };
  const QString before = name();
  for (int press = 0; press < 3; ++press) {
    driver.key("Down");
  }
  EXPECT_TRUE(eventually([&] { return name() != before && !name().isEmpty(); }));
  closeEditors(synth);
}

void UnderAWindowManager::makeTrack() {
  const auto file = driver.home() / "tone.wav";
  writeTone(file);
  const auto& view = *driver.program().window.model().track();
  driver.click("stripInstrument2");
  ASSERT_TRUE(eventually([this] { return driver.isShown("playbackSource"); }));
  driver.click("playbackSource");
  ASSERT_TRUE(eventually([this] { return driver.isShown("trackFile"); }));
  driver.click("trackFile");
  driver.answerPanel(file);
  ASSERT_TRUE(eventually([&] { return view.duration() > 0 && !view.isReading(); }));
  driver.drag("trackWaveform", "trackWaveform", {0.1, 0.5}, {0.02, 0.5});
  driver.drag("trackWaveform", "trackWaveform", {0.2, 0.5}, {0.98, 0.5});
  EXPECT_TRUE(eventually([&] { return view.startTime() > 0.8 && view.endTime() < 2.2; }));
  driver.click("trackLoop");
  ASSERT_TRUE(eventually([&] { return view.isLooping(); }));
  driver.click("trackPreview");
  ASSERT_TRUE(eventually([&] { return view.isPreviewing() && view.playheadTime() > 1; }));
  const std::size_t from = recorder_->recorded();
  pass(0.2);
  EXPECT_NEAR(meanLevel(from), 0.35, 0.1) << "through the device, while no strip plays it";
  driver.click("trackPreview");
  ASSERT_TRUE(eventually([&] { return !view.isPreviewing(); }));
  driver.click("trackApply");
  ASSERT_TRUE(eventually([this] { return driver.strip(track).status() == window::StripViewModel::Status::Running; }));
}

void UnderAWindowManager::makeClips() {
  driver.click("stripInstrument3");
  ASSERT_TRUE(eventually([this] { return driver.isShown("visualSource"); }));
  driver.click("visualSource");
  const auto& view = *driver.program().window.model().clips();
  for (int row = 0; row < 2; ++row) {
    const auto file = driver.home() / ("clip" + std::to_string(row) + ".png");
    QImage picture(64, 36, QImage::Format_RGB32);
    picture.fill(row == 0 ? QColor(0, 160, 200) : QColor(200, 60, 0));
    ASSERT_TRUE(picture.save(QString::fromStdString(file.string())));
    ASSERT_TRUE(eventually([this] { return driver.isShown("addClip"); }));
    driver.click("addClip");
    const auto choose = "clipChoose" + std::to_string(row);
    ASSERT_TRUE(eventually([&] { return driver.isShown(choose); }));
    driver.click(choose);
    driver.answerPanel(file);
    ASSERT_TRUE(eventually([&] { return view.rows().size() == row + 1 && view.rows()[row].isStill; }));
  }
  EXPECT_NE(view.rows()[0].note, view.rows()[1].note);
  driver.click("clipApply");
  ASSERT_TRUE(eventually([this] { return driver.strip(clips).isVisual(); }));
}

void UnderAWindowManager::expectBothClips() {
  const auto shown = [this] {
    return driver.fromLogic<std::size_t>(
        [](Session& session) { return session.engine().visualEngine().activePlayers.get().size(); });
  };
  const auto notes = driver.fromLogic<std::vector<int>>([](Session& session) {
    std::vector<int> all;
    for (const auto& each : session.engine().channels()[clips]->visualClipMappings.get()) {
      all.push_back(each.note);
    }
    return all;
  });
  ASSERT_EQ(notes.size(), 2U);
  soloOnly(clips);
  for (std::size_t index = 0; index < 2; ++index) {
    send(0x90, static_cast<std::uint8_t>(notes[index]));
    EXPECT_TRUE(eventually([&] { return shown() == index + 1; })) << index;
  }
  for (const int note : notes) {
    send(0x80, static_cast<std::uint8_t>(note));
  }
}

void UnderAWindowManager::saveAndOpenAgain() {
  const auto file = driver.home() / "set.vrel";
  driver.key("ctrl+shift+s");
  driver.answerPanel(file);
  ASSERT_TRUE(eventually(
      [this] { return driver.session().fileName() == QLatin1String("set.vrel") && !driver.session().isDirty(); }));
  driver.close();
  driver.open();
  driver.key("ctrl+o");
  driver.answerPanel(file);
  ASSERT_TRUE(eventually([this] { return driver.isShown("alertButton1"); })) << "the new setlist is not saved";
  driver.click("alertButton1");
  ASSERT_TRUE(eventually([this] {
    return driver.session().fileName() == QLatin1String("set.vrel") && driver.isShown("strip3") &&
           !driver.session().isLoading();
  }));
  ASSERT_TRUE(eventually([this] { return driver.strip(synth).status() == window::StripViewModel::Status::Running; }));
}

TEST_F(UnderAWindowManager, ASetIsMadeInTheEditorsSavedOpenedAgainAndSoundsAsBefore) {
  chooseInstrument(organ, "setBfree DSP Tonewheel Organ");
  const double asItComes = level(organ);
  EXPECT_GT(asItComes, 1e-4);
  openInstrument(organ, "openInstrument");
  turn("setBfree DSP Tonewheel Organ Editor", {548, 222}, -100);
  const double withDrawbar = level(organ);
  EXPECT_GT(std::abs(withDrawbar / asItComes - 1), 0.15) << "a drawbar is heard";
  closeEditors(organ);

  driver.click("rack0");
  ASSERT_TRUE(eventually([this] { return driver.value("effectSearch", "activeFocus").toBool(); }));
  driver.type("ZamTube");
  ASSERT_TRUE(eventually([this] { return driver.value("effect0", "name").toString() == QLatin1String("ZamTube"); }));
  driver.key("Return");
  ASSERT_TRUE(eventually([this] { return driver.value("openEffect0", "enabled").toBool(); }));
  const double withTube = level(organ);
  driver.click("openEffect0");
  turn("ZamTube Editor", {240, 353}, -60);
  const double asMade = level(organ);
  EXPECT_GT(std::abs(asMade / withTube - 1), 0.15) << "a knob is heard";
  closeEditors(organ);
  driver.key("Escape");

  addStrip(synth);
  chooseInstrument(synth, "ZynAddSubFX");
  choosePresetByKeys();
  const double preset = level(synth);
  EXPECT_GT(preset, 1e-4);
  addStrip(track);
  makeTrack();
  addStrip(clips);
  makeClips();
  EXPECT_TRUE(isQuiet());
  const double tone = level(track);
  EXPECT_GT(tone, 0.01);
  expectBothClips();

  saveAndOpenAgain();
  EXPECT_NEAR(level(organ) / asMade, 1, 0.1);
  EXPECT_NEAR(level(track) / tone, 1, 0.1);
  EXPECT_GT(level(synth), preset / 4) << "random phases";
  expectBothClips();
}

}  // namespace
}  // namespace vrel::app::test
