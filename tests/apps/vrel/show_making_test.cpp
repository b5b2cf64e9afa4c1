// SPDX-License-Identifier: GPL-3.0-or-later

// A show is made in the window by a person with no other tool, is opened again, and sounds as its file is rendered.

#include <gtest/gtest.h>

#include <QQuickItem>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "apps/vrel-render/show/render_run.h"
#include "apps/vrel-render/show/show_files.h"
#include "apps/vrel-render/show/sound_file.h"
#include "apps/vrel/console_driver.h"
#include "apps/vrel/made_show.h"
#include "console/piano_layout.h"
#include "console/window/level_meter.h"
#include "document/value_scales.h"
#include "support/devices/jack_peer.h"
#include "support/devices/jack_server.h"

namespace vrel::app::test {
namespace {

constexpr std::size_t rate = 48000;
constexpr std::size_t block = 1024;  // frames; chosen in the window, so that a busy machine is late less often
constexpr std::uint8_t lowNote = 48;
constexpr std::uint8_t highNote = 72;

/// While a key was down, in blocks of the recording: from the first that sounds to the first after its release.
struct HeldKey {
  std::size_t from;
  std::size_t to;
};

bool isSilentBlock(const SoundFile& sound, std::size_t index) {
  const auto begin = sound.left.begin() + static_cast<std::ptrdiff_t>(index * block);
  return std::all_of(begin, begin + block, [](float sample) { return std::abs(sample) < 1e-6F; });
}

/// A sine of the zoo that is released loses a hundredth with each frame while its phase rests.
bool isReleasedBlock(const SoundFile& sound, std::size_t index) {
  constexpr std::size_t enough = 32;  // frames
  for (std::size_t frame = index * block; frame < index * block + enough; ++frame) {
    const double expected = 0.99 * sound.left[frame];
    if (std::abs(sound.left[frame + 1] - expected) > 2e-5 * std::abs(expected) + 1e-9) {
      return false;
    }
  }
  return true;
}

std::vector<HeldKey> keysIn(const SoundFile& sound) {
  std::vector<HeldKey> keys;
  bool isDown = false;
  for (std::size_t index = 0; index < sound.frameCount() / block; ++index) {
    const bool isPlayed = !isSilentBlock(sound, index) && !isReleasedBlock(sound, index);
    if (isPlayed && !isDown) {
      keys.push_back({index, index});
    } else if (!isPlayed && isDown) {
      keys.back().to = index;
    }
    isDown = isPlayed;
  }
  return keys;
}

class ShowMaking : public testing::Test {
 protected:
  ShowMaking() {
    ::setenv("LV2_PATH", VREL_ZOO_PATH, 1);
    server.start();
    ::setenv("JACK_DEFAULT_SERVER", server.name().c_str(), 1);
    driver.open();
    peer.emplace(server.name(), "board");
    peer->addPort("out");
  }

  ~ShowMaking() override {
    peer.reset();
    driver.close();
    ::unsetenv("JACK_DEFAULT_SERVER");
    ::setenv("LV2_PATH", VREL_KNOWN_BUNDLES, 1);
  }

  bool eventually(const std::function<bool()>& holds) { return driver.eventually(holds); }

  void chooseBufferSize() {
    for (const auto* line : {"Settings", "I/O Buffer Size", "1024 samples"}) {
      ASSERT_TRUE(eventually([&] { return driver.isShown(line); })) << line;
      driver.click(line);
    }
    ASSERT_TRUE(eventually([this] {
      return driver.fromLogic<bool>(
          [](Session& session) { return session.state().audioIOBufferFrameSize.get() == block; });
    }));
  }

  /// Presses again where the strips of a song that comes on stage have taken the place of those that were pressed.
  void replaceText(const std::string& field, const std::string& text) {
    ASSERT_TRUE(eventually([&] {
      driver.click(field);
      return driver.value(field, "activeFocus").toBool();
    })) << field;
    driver.key("ctrl+a");
    driver.type(text);
    driver.key("Return");
  }

  void bringOnStage(std::size_t index) {
    const auto& made = madeSongs.at(index);
    if (index == 0) {
      driver.doubleClick("songName0");
      ASSERT_TRUE(eventually([this] { return driver.value("songNameField", "activeFocus").toBool(); }));
      driver.key("ctrl+a");
      driver.type(made.typedName);
      driver.key("Return");
      return;
    }
    replaceText("newSongField", made.typedName);
    const auto row = "songRow" + std::to_string(index);
    ASSERT_TRUE(eventually([&] { return driver.isShown(row); }));
    driver.click(row);
    ASSERT_TRUE(eventually([&] {
      return driver.session().selectedSongIndex() == static_cast<int>(index) && !driver.isShown("strip1") &&
             !driver.session().isLoading();
    }));
  }

  void chooseInstrument(int strip, const std::string& instrument) {
    driver.click("stripInstrument" + std::to_string(strip));
    ASSERT_TRUE(eventually([this] { return driver.value("instrumentSearch", "activeFocus").toBool(); }));
    driver.type(instrument);
    ASSERT_TRUE(eventually([&] { return driver.value("plugin0", "name").toString().toStdString() == instrument; }))
        << instrument;
    driver.key("Return");
    ASSERT_TRUE(eventually([&] {
      return driver.strip(strip).status() == window::StripViewModel::Status::Running &&
             driver.strip(strip).instrumentText().toStdString() == instrument && !driver.session().isLoading();
    })) << instrument;
  }

  /// Where a key is in the band above the keyboard, in the row of a strip.
  Place inBand(int strip, int note) {
    const PianoLayout layout(driver.session().keyboardStartNote(), driver.session().keyboardKeyCount(),
                             driver.value("splitBand", "viewWidth").toDouble());
    return {layout.keyX(note) / driver.value("splitBand", "width").toDouble(),
            split_band::middle(static_cast<std::size_t>(strip)) / driver.value("splitBand", "height").toDouble()};
  }

  /// The strip is chosen in its row, and an end of its bar is dragged.
  void dragSplit(int strip, int from, int to) {
    driver.click("splitBand", inBand(strip, (from + to) / 2));
    ASSERT_TRUE(eventually([&] { return driver.strip(strip).isSelected(); }));
    driver.drag("splitBand", "splitBand", inBand(strip, to), inBand(strip, from));
  }

  void split() {
    dragSplit(0, driver.strip(0).maxNote(), splitNote);
    EXPECT_TRUE(eventually([this] { return driver.strip(0).maxNote() == splitNote; })) << driver.strip(0).maxNote();
    dragSplit(1, driver.strip(1).minNote(), splitNote + 1);
    EXPECT_TRUE(eventually([this] { return driver.strip(1).minNote() == splitNote + 1; })) << driver.strip(1).minNote();
  }

  void addEffect() {
    driver.click("rack0");
    ASSERT_TRUE(eventually([this] { return driver.value("effectSearch", "activeFocus").toBool(); }));
    driver.type(madeEffect);
    ASSERT_TRUE(eventually([this] { return driver.value("effect0", "name").toString() == QLatin1String(madeEffect); }));
    driver.key("Return");
    ASSERT_TRUE(eventually([this] { return driver.strip(0).effectCount() == 1 && !driver.session().isLoading(); }));
    driver.key("Escape");
    ASSERT_TRUE(eventually([this] { return !driver.isShown("rackPanel"); }));
  }

  void learn(const std::string& fader, window::learn_kind::Kind kind, int channel, std::uint8_t controller) {
    driver.click("learnButton");
    ASSERT_TRUE(eventually([this] { return driver.session().isLearning(); }));
    driver.click(fader);
    ASSERT_TRUE(eventually([&] { return driver.isWaitingFor(kind, channel); })) << fader;
    peer->send({{0xB0, controller, 64}});
    ASSERT_TRUE(eventually([this] { return !driver.session().isLearning(); }));
  }

  void makeSong(std::size_t index) {
    const auto& made = madeSongs.at(index);
    ASSERT_NO_FATAL_FAILURE(bringOnStage(index));
    ASSERT_NO_FATAL_FAILURE(replaceText("tempoField", std::to_string(made.tempoBpm)));
    ASSERT_NO_FATAL_FAILURE(replaceText("stripName0", madeStripName));
    driver.click("addChannelButton");
    ASSERT_TRUE(eventually([this] { return driver.isShown("strip1"); }));
    for (const int strip : {0, 1}) {
      ASSERT_NO_FATAL_FAILURE(chooseInstrument(strip, made.instruments.at(static_cast<std::size_t>(strip))));
    }
    ASSERT_NO_FATAL_FAILURE(split());
    ASSERT_NO_FATAL_FAILURE(addEffect());
    using Kind = window::learn_kind::Kind;
    ASSERT_NO_FATAL_FAILURE(learn("masterFader", Kind::MasterVolume, -1, made.masterFader));
    if (index == 0) {
      ASSERT_NO_FATAL_FAILURE(learn("fader0", Kind::ChannelVolume, 0, stripFader));
    }
  }

  void saveAs() {
    driver.key("ctrl+shift+s");
    driver.answerPanel(file);
    ASSERT_TRUE(eventually([this] {
      return driver.session().fileName().toStdString() == file.filename() && !driver.session().isDirty();
    }));
  }

  void reopen() {
    driver.close();
    driver.open();
    driver.key("ctrl+o");
    driver.answerPanel(file);
    ASSERT_TRUE(eventually([this] { return driver.isShown("alertButton1"); })) << "the new setlist is not saved";
    driver.click("alertButton1");
    ASSERT_TRUE(eventually([this] {
      return driver.session().fileName().toStdString() == file.filename() && peer->isLinked() && isLoaded();
    }));
  }

  /// Also what is made ahead for the songs to come, as a render waits for it.
  bool isLoaded() {
    return !driver.session().isLoading() && driver.fromLogic<bool>([](Session& session) {
      const auto& channels = session.engine().channels();
      return std::all_of(channels.begin(), channels.end(), [&](const auto& channel) {
        return channel->status.get() == ChannelStatus::running &&
               !session.engine().pluginPool().isPrewarming(channel->pluginPath.get());
      });
    });
  }

  int decibels(int strip) {
    const auto* const shown = driver.find("strip" + std::to_string(strip));
    const auto* const meter = shown != nullptr ? shown->findChild<window::LevelMeter*>() : nullptr;
    return meter != nullptr ? meter->decibels() : 1000;
  }

  void passBlocks(const system::test::Recorder& recorder, std::size_t blocks) {
    const std::size_t end = recorder.recorded() + blocks * block;
    ASSERT_TRUE(eventually([&] { return recorder.recorded() >= end; }));
  }

  /// A key that is in the split of one strip only: the other one's meter must not move.
  void playKey(const system::test::Recorder& recorder, std::uint8_t note) {
    const int sounding = note <= splitNote ? 0 : 1;
    const int silent = 1 - sounding;
    ASSERT_TRUE(eventually([&] { return decibels(silent) == window::LevelMeter::silentDecibels; }));
    peer->send({{0x90, note, 100}});
    EXPECT_TRUE(eventually([&] { return decibels(sounding) > -40; })) << int{note};
    ASSERT_NO_FATAL_FAILURE(passBlocks(recorder, 8));
    EXPECT_EQ(decibels(silent), window::LevelMeter::silentDecibels) << int{note} << " is outside of its split";
    peer->send({{0x80, note, 0}});
    ASSERT_NO_FATAL_FAILURE(passBlocks(recorder, 16));
  }

  void playShow(const system::test::Recorder& recorder) {
    for (std::size_t index = 0; index < madeSongs.size(); ++index) {
      driver.click("songRow" + std::to_string(index));
      ASSERT_TRUE(eventually([&] {
        return driver.session().selectedSongIndex() == static_cast<int>(index) && driver.isShown("strip1") &&
               isLoaded();
      }));
      peer->send(fadersMoved(index));
      ASSERT_TRUE(eventually([&] {
        return std::abs(driver.strip(0).volume() - stripPosition / 127.0) < 0.001 &&
               std::abs(driver.value("masterFader", "value").toDouble() - masterPosition(index) / 127.0) < 0.001;
      }));
      ASSERT_NO_FATAL_FAILURE(passBlocks(recorder, 16));
      for (const auto note : {lowNote, highNote}) {
        ASSERT_NO_FATAL_FAILURE(playKey(recorder, note));
      }
    }
  }

  [[nodiscard]] static SoundFile soundOf(const system::test::Recorder& recorder) {
    const auto frames = static_cast<std::ptrdiff_t>(recorder.recorded() / block * block);
    const auto channel = [&](std::size_t index) {
      const auto begin = recorder.channel(index).begin();
      return std::vector<float>(begin, begin + frames);
    };
    return {rate, channel(0), channel(1)};
  }

  /// The messages as they were sent, each in the block in which the program took it: a key when it began or ended to
  /// sound, what makes no sound in the silence before. Block 0 is that of `origin` in the recording.
  [[nodiscard]] static std::string showAsPlayed(const std::vector<HeldKey>& keys, std::size_t origin) {
    const auto milliseconds = [origin](std::size_t index) {
      return static_cast<std::uint32_t>(
          std::lround((static_cast<double>(index - origin) + 0.5) * 1000.0 * block / rate));
    };
    MidiFileMaker show;
    for (std::size_t index = 0; index < madeSongs.size(); ++index) {
      const HeldKey& low = keys[2 * index];
      const HeldKey& high = keys[2 * index + 1];
      if (index > 0) {
        show.marker(milliseconds(low.from - 12), "song " + std::to_string(index));
      }
      for (const auto& fader : fadersMoved(index)) {
        show.message(milliseconds(low.from - 8), fader);
      }
      show.message(milliseconds(low.from), {0x90, lowNote, 100});
      show.message(milliseconds(low.to), {0x80, lowNote, 0});
      show.message(milliseconds(high.from), {0x90, highNote, 100});
      show.message(milliseconds(high.to), {0x80, highNote, 0});
    }
    return show.bytes();
  }

  /// Beside the render, which has the same controls from the file: pitch and level as they must be.
  static void expectWhatTheControlsSay(const SoundFile& played, const std::vector<HeldKey>& keys) {
    const auto crossings = [&](const HeldKey& key) {
      return played.crossingsPerSecond(key.from * block, key.to * block);
    };
    EXPECT_NEAR(crossings(keys[0]), 2 * 130.81, 10) << "the sine of the first song, for the left hand";
    const HeldKey& last = keys.back();
    EXPECT_NEAR(crossings(last), 2 * 523.25, 10) << "the sine of the last song, for the right hand";
    float peak = 0;
    for (std::size_t frame = last.from * block; frame < last.to * block; ++frame) {
      peak = std::max(peak, std::abs(played.left[frame]));
    }
    const float expected = 100.0F / 127.0F * ChannelFaderScale::linearGain(newStripVolume) *
                           ChannelFaderScale::linearGain(static_cast<float>(masterPosition(2)) / 127.0F);
    EXPECT_NEAR(peak, expected, 0.01 * expected);
  }

  [[nodiscard]] SoundFile render(const std::string& show) const {
    const auto midi = driver.home() / "show.mid";
    const auto out = driver.home() / "show.wav";
    std::ofstream(midi, std::ios::binary) << show;
    const auto run = renderOnZoo({"--rate", std::to_string(rate), "--block", std::to_string(block), "--out",
                                  out.string(), file.string(), midi.string()});
    EXPECT_EQ(run.exitCode, 0) << run.output << run.errors;
    std::ifstream rendered(out, std::ios::binary);
    return soundIn(std::string(std::istreambuf_iterator<char>(rendered), {}));
  }

  static constexpr std::uint8_t stripPosition = 80;
  static constexpr float newStripVolume = 0.8F;
  static std::uint8_t masterPosition(std::size_t song) { return static_cast<std::uint8_t>(90 + 10 * song); }
  static std::vector<std::vector<std::uint8_t>> fadersMoved(std::size_t song) {
    return {{0xB0, stripFader, stripPosition}, {0xB0, madeSongs.at(song).masterFader, masterPosition(song)}};
  }

  system::test::JackServer server;
  ConsoleDriver driver;
  std::optional<system::test::MidiPeer> peer;
  const std::filesystem::path file = driver.home() / "friday.vrel";
};

/// The largest difference of any sample, in decibels of full scale. `origin` is the frame of `played` at which
/// `rendered` begins.
double largestDifference(const SoundFile& played, const SoundFile& rendered, std::size_t origin) {
  float largest = 0;
  const std::size_t frames = std::min(played.frameCount() - origin, rendered.frameCount());
  for (std::size_t frame = 0; frame < frames; ++frame) {
    largest = std::max({largest, std::abs(played.left[origin + frame] - rendered.left[frame]),
                        std::abs(played.right[origin + frame] - rendered.right[frame])});
  }
  return largest > 0 ? 20 * std::log10(largest) : -1000;
}

TEST_F(ShowMaking, ThreeSongsAreMadeByPointerAndKeysSavedOpenedAgainAndSoundAsTheirFileIsRendered) {
  ASSERT_TRUE(eventually([this] { return peer->isLinked(); }));
  ASSERT_NO_FATAL_FAILURE(chooseBufferSize());
  for (std::size_t index = 0; index < madeSongs.size(); ++index) {
    SCOPED_TRACE(madeSongs.at(index).name);
    ASSERT_NO_FATAL_FAILURE(makeSong(index));
  }
  ASSERT_NO_FATAL_FAILURE(saveAs());
  ASSERT_NO_FATAL_FAILURE(expectMadeShow(file));

  // A take with late blocks, on a machine that is too busy, is played again.
  double difference = 0;
  int dropouts = 0;
  constexpr int takes = 8;
  for (int take = 0; take < takes; ++take) {
    ASSERT_NO_FATAL_FAILURE(reopen());
    const int before = driver.session().dropouts();
    system::test::Recorder recorder(server.name(), 90 * rate);
    ASSERT_NO_FATAL_FAILURE(playShow(recorder));
    const SoundFile played = soundOf(recorder);
    const auto keys = keysIn(played);
    if (keys.size() == 2 * madeSongs.size()) {
      const std::size_t origin = keys.front().from - 16;
      const SoundFile rendered = render(showAsPlayed(keys, origin));
      EXPECT_GT(rendered.peak(), 0.1F);
      difference = largestDifference(played, rendered, origin * block);
      if (difference <= -90) {
        expectWhatTheControlsSay(played, keys);
        break;
      }
    }
    ASSERT_NO_FATAL_FAILURE(passBlocks(recorder, 64));  // they are counted once a second
    dropouts = driver.session().dropouts() - before;
    ASSERT_GT(dropouts, 0) << keys.size() << " keys, " << difference << " dB";
  }
  EXPECT_LE(difference, -90) << dropouts << " late blocks";
  RecordProperty("decibels", std::to_string(difference));
}

}  // namespace
}  // namespace vrel::app::test
