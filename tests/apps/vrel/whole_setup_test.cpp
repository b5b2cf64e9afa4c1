// SPDX-License-Identifier: GPL-3.0-or-later
// Sets are made with the editors of plug-ins as they are, of a track and of clips, under a window manager and on a JACK
// server; they are saved, opened again, and sound as before. The sound is what the server gets.

#include <gtest/gtest.h>

#include <QColor>
#include <QGuiApplication>
#include <QImage>
#include <QQuickWindow>
#include <QString>
#include <QWindow>
#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "apps/vrel/console_driver.h"
#include "support/devices/child_process.h"
#include "support/devices/jack_peer.h"
#include "support/devices/jack_server.h"
#include "support/ui/virtual_display.h"
#include "system/plugins/editor/editor_stage.h"

namespace vrel::app::test {
namespace {

constexpr std::size_t rate = 48000;
constexpr double heardDecibels = 8;  // that no late block and no rotor makes
constexpr double middleC = 261.63;

/// How loud the partials of an organ's note are, in decibels: one for each of its drawbars.
using Partials = std::array<double, 9>;
constexpr Partials partialNumbers{0.5, 1.5, 1, 2, 3, 4, 5, 6, 8};

/// The mean power of what oscillates about so often, in windows of a tenth of a second.
double power(const std::vector<float>& samples, double hertz) {
  constexpr std::size_t window = rate / 10;
  double sum = 0;
  std::size_t count = 0;
  for (std::size_t first = 0; first + window <= samples.size(); first += window, ++count) {
    std::complex<double> found;
    for (std::size_t frame = 0; frame < window; ++frame) {
      const double phase = 2 * std::numbers::pi * static_cast<double>(frame);
      const double weighted = (1 - std::cos(phase / window)) * samples[first + frame];
      found += weighted * std::polar(1.0, phase * hertz / rate);
    }
    sum += std::norm(found / static_cast<double>(window));
  }
  return sum / static_cast<double>(std::max<std::size_t>(count, 1));
}

/// Of the partials that are heard in either.
double largestDifference(const Partials& one, const Partials& other) {
  const double loudest =
      std::max(*std::max_element(one.begin(), one.end()), *std::max_element(other.begin(), other.end()));
  constexpr double audibleDecibels = 30;
  double largest = 0;
  for (std::size_t index = 0; index < one.size(); ++index) {
    if (std::max(one[index], other[index]) > loudest - audibleDecibels) {
      largest = std::max(largest, std::abs(one[index] - other[index]));
    }
  }
  return largest;
}

double loudest(const Partials& partials) {
  return *std::max_element(partials.begin(), partials.end());
}

/// What all tests share, on the process's X server.
struct Surroundings {
  Surroundings() {
    // The keyboard is not to follow the pointer, which stays where the last press was.
    std::ofstream(folder / "settings") << "<?xml version=\"1.0\"?><JWM><FocusModel>click</FocusModel></JWM>";
    manager.start({"jwm", "-f", folder / "settings"}, folder / "log");
    server.start();
  }
  ~Surroundings() {
    manager.end(SIGTERM);
    std::filesystem::remove_all(folder);
  }
  Surroundings(const Surroundings&) = delete;
  Surroundings& operator=(const Surroundings&) = delete;

  const std::filesystem::path folder = makeTemporaryFolder();
  system::test::ChildProcess manager;
  system::test::JackServer server;
};

class WholeSetup : public testing::Test {
 protected:
  static void SetUpTestSuite() { surroundings = std::make_unique<Surroundings>(); }
  static void TearDownTestSuite() { surroundings.reset(); }

  ~WholeSetup() override {
    driver.close();
    ::unsetenv("JACK_DEFAULT_SERVER");
    ::setenv("LV2_PATH", VREL_KNOWN_BUNDLES, 1);
  }

  /// The console, where these plug-ins are installed.
  void open(const std::vector<std::string>& bundles) {
    const auto folder = driver.home() / "bundles";
    std::filesystem::create_directory(folder);
    for (const auto& bundle : bundles) {
      const auto place = std::filesystem::path(VREL_LV2_FOLDER) / bundle;
      ASSERT_TRUE(std::filesystem::exists(place)) << "not installed (see tools/install_packages.sh): " << place;
      std::filesystem::create_symlink(place, folder / bundle);
    }
    ::setenv("LV2_PATH", folder.c_str(), 1);
    ::setenv("JACK_DEFAULT_SERVER", surroundings->server.name().c_str(), 1);
    ASSERT_TRUE(eventually([this] { return desktop_.hasWindowManager(); })) << "jwm does not start";
    driver.open();
  }

  bool eventually(const std::function<bool()>& holds) { return driver.eventually(holds); }

  [[nodiscard]] bool isRunning(int strip) {
    return driver.strip(strip).status() == window::StripViewModel::Status::Running && !driver.session().isLoading();
  }

  void chooseInstrument(const std::string& name) {
    driver.click("stripInstrument0");
    ASSERT_TRUE(eventually([this] { return driver.value("instrumentSearch", "activeFocus").toBool(); }));
    driver.type(name);
    ASSERT_TRUE(eventually([&] { return driver.value("plugin0", "name").toString().toStdString() == name; })) << name;
    driver.key("Return");
    ASSERT_TRUE(eventually([this] { return isRunning(0); })) << name;
  }

  /// What the strip has is opened by this line of its menu.
  void openInstrument(const std::string& line) {
    driver.click("stripInstrument0");
    ASSERT_TRUE(eventually([&] { return driver.isShown(line); })) << line;
    driver.click(line);
  }

  void send(std::uint8_t status, std::uint8_t note) {
    driver.onLogic([=](Session& session) { session.engine().routeMIDI(status, note, 100); });
  }

  /// What the server gets, from so many seconds on.
  Partials hear(double hertz, double delay = 0.3) {
    const auto skipped = static_cast<std::size_t>(delay * rate);
    const std::size_t frames = skipped + rate * 8 / 10;
    const system::test::Recorder recorder(surroundings->server.name(), frames);
    EXPECT_TRUE(eventually([&] { return recorder.recorded() == frames; })) << "the server does not run";
    Partials partials{};
    for (std::size_t channel = 0; channel < 2; ++channel) {
      const auto& all = recorder.channel(channel);
      const std::vector<float> samples(all.begin() + static_cast<std::ptrdiff_t>(skipped), all.end());
      for (std::size_t index = 0; index < partials.size(); ++index) {
        partials[index] += power(samples, hertz * partialNumbers[index]);
      }
    }
    std::transform(partials.begin(), partials.end(), partials.begin(),
                   [](double each) { return 10 * std::log10(each + 1e-12); });
    return partials;
  }

  Partials play(std::uint8_t note = 60) {
    send(0x90, note);
    const Partials heard = hear(middleC);
    send(0x80, note);
    return heard;
  }

  [[nodiscard]] std::string titleOf(const std::string& plugin) {
    return driver.fromLogic<std::string>(
        [&](Session& session) { return session.engine().channels()[0]->name.get() + " - " + plugin + " Editor"; });
  }

  void dragIn(const std::string& title, Place place, int down) {
    const auto view = desktop_.childOf(desktop_.findClient(title));
    const auto size = desktop_.sizeOf(view);
    const auto [x, y] =
        desktop_.onScreen(view, static_cast<int>(size.width * place.x), static_cast<int>(size.height * place.y));
    std::string command = "xdotool mousemove " + std::to_string(x) + " " + std::to_string(y) + " sleep 0.1 mousedown 1";
    constexpr int steps = 10;
    for (int step = 0; step < steps; ++step) {
      command += " sleep 0.03 mousemove_relative -- 0 " + std::to_string(down / steps);
    }
    EXPECT_EQ(std::system((command + " sleep 0.1 mouseup 1").c_str()), 0);
  }

  /// Drags a control of a plug-in's own editor until that is an edit and heard; returns the sound. There and back: what
  /// an editor sends in its first second does not count as an edit, and the control may be at an end of its travel.
  Partials turnUntilHeard(const std::string& title, Place place, int down) {
    const Partials before = play();
    driver.onLogic([](Session& session) { session.state().isDirty.set(false); });
    EXPECT_TRUE(eventually([&] { return desktop_.colors(desktop_.findClient(title)) > 4; })) << "not drawn: " << title;
    Partials after = before;
    const auto isDone = [&] { return driver.session().isDirty() && largestDifference(after, before) > heardDecibels; };
    for (int drags = 0; drags < 7 && !isDone(); ++drags) {
      dragIn(title, place, drags % 2 == 0 ? down : -down);
      after = play();
    }
    EXPECT_TRUE(driver.session().isDirty()) << "no edit: " << title;
    EXPECT_GT(largestDifference(after, before), heardDecibels) << "not heard: " << title;
    desktop_.closeClient(desktop_.findClient(title));
    EXPECT_TRUE(eventually([&] { return desktop_.findClient(title) == 0; })) << "not closed: " << title;
    return after;
  }

  /// No two notes sound the same, while a rotor turns or where partials begin in random phases.
  void expectAgain(const Partials& made, const Partials& asItComes) {
    Partials heard = play();
    for (int notes = 0; notes < 3 && largestDifference(heard, made) > largestDifference(made, asItComes) / 2; ++notes) {
      heard = play();
    }
    const double difference = largestDifference(heard, made);
    EXPECT_LT(difference, largestDifference(made, asItComes) / 2)
        << "decibels of a partial: " << testing::PrintToString(heard) << " for " << testing::PrintToString(made)
        << ", without " << testing::PrintToString(asItComes);
  }

  /// So that keys reach the console.
  void returnToConsole() {
    driver.program().window.quickWindow()->requestActivate();
    ASSERT_TRUE(eventually([this] { return driver.program().window.quickWindow()->isActive(); }));
  }

  void saveAndOpenAgain() {
    const auto file = driver.home() / "set.vrel";
    const auto isShown = [this] { return driver.session().fileName() == QLatin1String("set.vrel"); };
    returnToConsole();
    driver.key("ctrl+shift+s");
    driver.answerPanel(file);
    ASSERT_TRUE(eventually([&] { return isShown() && !driver.session().isDirty(); })) << "not saved";
    driver.close();
    driver.open();
    driver.key("ctrl+o");
    driver.answerPanel(file);
    ASSERT_TRUE(eventually([this] { return driver.isShown("alertButton1"); })) << "the new setlist is not saved";
    driver.click("alertButton1");
    ASSERT_TRUE(eventually([&] { return isShown() && isRunning(0); })) << "not opened";
  }

  void writeTone(const std::filesystem::path& path) const;
  void makeTrack();
  void makeClips();
  void expectThatTheTrackLoops();
  void expectThatBothClipsStart();

  static inline std::unique_ptr<Surroundings> surroundings;
  ConsoleDriver driver;
  editor::Desktop desktop_;
};

TEST_F(WholeSetup, AnOrganAndItsEffectAreTurnedByPointerInTheirOwnEditorsAndSoundSoAgain) {
  ASSERT_NO_FATAL_FAILURE(open({"b_synth", "ZamTube.lv2"}));
  ASSERT_NO_FATAL_FAILURE(chooseInstrument("setBfree DSP Tonewheel Organ"));
  ASSERT_NO_FATAL_FAILURE(openInstrument("openInstrument"));
  const Partials asItComes = play();
  const Place drawbar{0.571, 0.694};  // the first of the upper manual, pulled out
  (void)turnUntilHeard(titleOf("setBfree DSP Tonewheel Organ"), drawbar, -150);

  driver.click("rack0");
  ASSERT_TRUE(eventually([this] { return driver.value("effectSearch", "activeFocus").toBool(); }));
  driver.type("ZamTube");
  ASSERT_TRUE(eventually([this] { return driver.value("effect0", "name").toString() == QLatin1String("ZamTube"); }));
  driver.key("Return");
  ASSERT_TRUE(eventually([this] { return driver.value("openEffect0", "enabled").toBool(); }));
  driver.click("openEffect0");
  const Partials asMade = turnUntilHeard(titleOf("ZamTube"), {0.5, 0.5}, -60);
  returnToConsole();
  driver.key("Escape");
  ASSERT_TRUE(eventually([this] { return !driver.isShown("rackPanel"); }));

  ASSERT_NO_FATAL_FAILURE(saveAndOpenAgain());
  ASSERT_TRUE(eventually([this] { return driver.strip(0).effectCount() == 1; }));
  expectAgain(asMade, asItComes);
}

TEST_F(WholeSetup, APresetThatIsChosenByKeysSoundsSoAgain) {
  ASSERT_NO_FATAL_FAILURE(open({"ZynAddSubFX.lv2", "ZynAddSubFX.lv2presets"}));
  ASSERT_NO_FATAL_FAILURE(chooseInstrument("ZynAddSubFX"));
  const Partials asItComes = play();
  ASSERT_NO_FATAL_FAILURE(openInstrument("openControls"));
  ASSERT_TRUE(eventually([this] { return driver.isShown("presetName"); }));
  driver.click("presetName");
  ASSERT_TRUE(eventually([this] { return driver.isShown("presetSearch"); }));
  driver.click("presetSearch");
  ASSERT_TRUE(eventually([this] { return driver.value("presetSearch", "activeFocus").toBool(); }));
  driver.type("organ");
  ASSERT_TRUE(eventually([this] { return driver.isShown("preset2"); }));
  const auto name = [this] { return driver.value("presetName", "spokenName").toString(); };
  const QString none = name();
  for (const auto* const key : {"Down", "Down", "Up"}) {
    const QString before = name();
    driver.key(key);
    ASSERT_TRUE(eventually([&] { return name() != before && name() != none; })) << before.toStdString();
    (void)play();
  }
  // It is loaded beside the blocks, and silent meanwhile.
  Partials asChosen = play();
  for (int notes = 0; notes < 8 && (loudest(asChosen) < -60 || largestDifference(asChosen, asItComes) < heardDecibels);
       ++notes) {
    asChosen = play();
  }
  EXPECT_GT(loudest(asChosen), -60) << name().toStdString() << " is silent";
  EXPECT_GT(largestDifference(asChosen, asItComes), heardDecibels) << name().toStdString() << " is not heard";
  for (QWindow* const window : QGuiApplication::topLevelWindows()) {
    if (window->objectName() == QLatin1String("pluginEditor")) {
      window->close();
    }
  }
  ASSERT_TRUE(eventually([this] { return !driver.isShown("presetName"); }));

  ASSERT_NO_FATAL_FAILURE(saveAndOpenAgain());
  expectAgain(asChosen, asItComes);
}

/// Ten seconds of 440 Hz, mono, 16 bits, 8000 frames per second.
void WholeSetup::writeTone(const std::filesystem::path& path) const {
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

void WholeSetup::makeTrack() {
  const auto file = driver.home() / "tone.wav";
  writeTone(file);
  const auto& view = *driver.program().window.model().track();
  driver.click("stripInstrument0");
  ASSERT_TRUE(eventually([this] { return driver.isShown("playbackSource"); }));
  driver.click("playbackSource");
  ASSERT_TRUE(eventually([this] { return driver.isShown("trackFile"); }));
  driver.click("trackFile");
  driver.answerPanel(file);
  ASSERT_TRUE(eventually([&] { return view.duration() > 0 && !view.isReading(); })) << "the file is not read";
  driver.drag("trackWaveform", "trackWaveform", {0.1, 0.5}, {0.02, 0.5});
  driver.drag("trackWaveform", "trackWaveform", {0.2, 0.5}, {0.98, 0.5});
  ASSERT_TRUE(eventually([&] { return view.startTime() > 0.8 && view.endTime() < 2.2; }))
      << view.startTime() << " to " << view.endTime();
  driver.click("trackLoop");
  ASSERT_TRUE(eventually([&] { return view.isLooping(); }));
  driver.click("trackPreview");
  ASSERT_TRUE(eventually([&] { return view.isPreviewing(); }));
  EXPECT_GT(loudest(hear(440)), -30) << "through the device, while no strip plays it";
  driver.click("trackPreview");
  ASSERT_TRUE(eventually([&] { return !view.isPreviewing(); }));
  driver.click("trackApply");
  ASSERT_TRUE(eventually([this] { return isRunning(0); })) << "the track is not loaded";
}

/// A note begins it, and another one ends it.
void WholeSetup::expectThatTheTrackLoops() {
  send(0x90, 48);
  const Partials heard = hear(440, 1.5);  // longer than its range
  send(0x80, 48);
  send(0x90, 48);
  send(0x80, 48);
  EXPECT_GT(heard[2], -30) << "440 Hz";
  EXPECT_LT(*std::max_element(heard.begin() + 3, heard.end()), heard[2] - 20) << "and no other";
  EXPECT_TRUE(eventually([this] { return loudest(hear(440, 0.1)) < -60; })) << "the second note does not end it";
}

void WholeSetup::makeClips() {
  driver.click("addChannelButton");
  ASSERT_TRUE(eventually([this] { return driver.isShown("stripInstrument1"); }));
  driver.click("stripInstrument1");
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
    ASSERT_TRUE(eventually([&] { return driver.isShown(choose); })) << choose;
    driver.click(choose);
    driver.answerPanel(file);
    ASSERT_TRUE(eventually([&] { return view.rows().size() == row + 1 && view.rows()[row].isStill; })) << file;
  }
  driver.click("clipNote1");
  ASSERT_TRUE(eventually([this] { return driver.isShown("noteKeys"); }));
  driver.click("noteKeys", {0.6, 0.9});
  ASSERT_TRUE(eventually([&] { return view.rows()[1].note != view.rows()[0].note; }));
  driver.click("clipApply");
  ASSERT_TRUE(eventually([this] { return driver.strip(1).isVisual(); })) << "the clips are not applied";
}

void WholeSetup::expectThatBothClipsStart() {
  const auto shown = [this] {
    return driver.fromLogic<std::size_t>(
        [](Session& session) { return session.engine().visualEngine().activePlayers.get().size(); });
  };
  const auto notes = driver.fromLogic<std::vector<std::uint8_t>>([](Session& session) {
    std::vector<std::uint8_t> all;
    for (const auto& each : session.engine().channels()[1]->visualClipMappings.get()) {
      all.push_back(each.note);
    }
    return all;
  });
  ASSERT_EQ(notes.size(), 2U);
  ASSERT_EQ(shown(), 0U);
  for (std::size_t index = 0; index < 2; ++index) {
    send(0x90, notes[index]);
    EXPECT_TRUE(eventually([&] { return shown() == index + 1; })) << "the clip on note " << int{notes[index]};
  }
  for (const auto note : notes) {
    send(0x80, note);
  }
  EXPECT_TRUE(eventually([&] { return shown() == 0; }));
}

TEST_F(WholeSetup, ALoopedTrackAndTwoClipsAreSetUpAndPlayedByNotesAgain) {
  ASSERT_NO_FATAL_FAILURE(open({}));
  ASSERT_NO_FATAL_FAILURE(makeTrack());
  ASSERT_NO_FATAL_FAILURE(expectThatTheTrackLoops());
  ASSERT_NO_FATAL_FAILURE(makeClips());
  ASSERT_NO_FATAL_FAILURE(expectThatBothClipsStart());
  ASSERT_NO_FATAL_FAILURE(saveAndOpenAgain());
  ASSERT_TRUE(eventually([this] { return driver.isShown("strip1") && driver.strip(1).isVisual(); }));
  ASSERT_NO_FATAL_FAILURE(expectThatTheTrackLoops());
  ASSERT_NO_FATAL_FAILURE(expectThatBothClipsStart());
}

}  // namespace
}  // namespace vrel::app::test
