// SPDX-License-Identifier: GPL-3.0-or-later
// A show on devices that are lost again and again, while its performer goes on.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "console/setlist_copies.h"
#include "console/setlist_files.h"
#include "document/component_scan.h"
#include "document/plugin_path.h"
#include "document/setlist_coding.h"
#include "engine/audio_engine.h"
#include "simulation/recording_console.h"
#include "simulation/scripted_desktop.h"
#include "support/devices/child_process.h"
#include "support/session_on.h"
#include "system/audio/render_node_factory.h"
#include "system/devices/process_count.h"
#include "system/devices/scripted_outputs.h"
#include "system/devices/system_audio_hardware.h"
#include "system/devices/system_audio_output.h"
#include "system/dispatch/offline_main_loop.h"
#include "system/dispatch/serial_queue.h"
#include "system/plugins/lv2/component_codes.h"
#include "system/plugins/lv2/lv2_unit_factory.h"
#include "system/property_list/libplist_serialization.h"

namespace vrel::system::test {
namespace {

/// A session with two songs, on three loudspeakers of which one has another sample rate.
class AudioLosses : public testing::Test {
 protected:
  static constexpr std::chrono::milliseconds watchTick{10};  // ten times as fast as on stage

  AudioLosses() {
    hardware = std::make_unique<SystemAudioHardware>(backends());
    output = std::make_shared<SystemAudioOutput>(
        *hardware, loop, [this](const std::string& line) { console.print(line); }, watchTick);
    nodes = std::make_unique<audio::RenderNodeFactory>(output, std::make_shared<audio::RenderCounters>());
    units = std::make_unique<lv2::Lv2UnitFactory>(world, lv2::HostSettings{.log = [](const std::string&) {}});
    rateFollowed = output->sampleRateChanged.connect([this](double rate) { units->setSampleRate(rate); });
    engine = AudioEngine::make({*nodes, *units, loop, queues, clock, propertyLists, console, hardware.get(), nullptr});
    loop.runPending();
    session = std::make_unique<SessionOn>(*engine, loop, clock, console);
    session->state.scannedPlugins.set(scanInstrumentComponents(*world));
    session->files.place(gig, encodeSetlist(setlist()).value());
    copies = std::make_unique<SetlistCopies>(session->files, console, "/home/me/copies");
    setlistFiles = std::make_unique<SetlistFiles>(SetlistFiles::Collaborators{
        session->state, *engine, session->songSwitch, session->files, desktop, console, *copies});
    setlistFiles->loadSetlist(gig);
  }

  AudioBackends backends() {
    outputs.speakers["main"] = std::make_shared<ScriptedSpeaker>();
    outputs.speakers["spare"] = std::make_shared<ScriptedSpeaker>();
    outputs.speakers["hall"] = std::make_shared<ScriptedSpeaker>(44100);
    outputs.setDefault("main");
    AudioBackends all;
    all.push_back(std::make_unique<ScriptedBackend>(outputs));
    return all;
  }

  [[nodiscard]] SetlistFile setlist() const {
    SetlistFile file;
    for (const auto* const uri : {"http://drobilla.net/plugins/mda/Piano", "http://drobilla.net/plugins/mda/EPiano"}) {
      const auto all = scanInstrumentComponents(*world);
      const auto found = std::find_if(all.begin(), all.end(), [&](const AVAudioUnitComponent& component) {
        const auto& codes = component.audioComponentDescription;
        return codes == lv2::componentCodes(codes.componentType, uri);
      });
      SongConfig song;
      song.name = uri;
      song.channels.resize(1);
      song.channels[0].pluginPath = found == all.end() ? "not installed" : pluginKey(*found);
      file.songs.push_back(std::move(song));
    }
    return file;
  }

  [[nodiscard]] bool eventuallyOnMain(const std::function<bool()>& holds) {
    return eventually([&] {
      loop.runPending();
      return holds();
    });
  }

  void setAllThere(bool areThere) {
    for (const auto& [name, speaker] : outputs.speakers) {
      speaker->isThere = areThere;
      speaker->forget();
    }
  }

  /// Whether a key that is struck again and again is heard on any loudspeaker.
  [[nodiscard]] bool isHeard() {
    int looks = 0;
    return eventuallyOnMain([&] {
      if (looks++ % 50 == 0) {
        engine->routeMIDI(0x90, 60, 127);
      }
      return std::any_of(outputs.speakers.begin(), outputs.speakers.end(), [](const auto& entry) {
        const auto left = entry.second->left();
        return std::any_of(left.begin(), left.end(), [](float sample) { return sample != 0; });
      });
    });
  }

  void performOn(std::mt19937& random) {
    switch (random() % 4) {
      case 0:
        session->songSwitch.applySong(random() % 2);
        ASSERT_TRUE(eventuallyOnMain([&] { return !session->state.songSwitchInProgress.get(); }));
        break;
      case 1:
        EXPECT_TRUE(setlistFiles->saveSetlist());
        break;
      case 2: {
        const std::array<std::optional<std::string>, 4> devices{std::nullopt, "stage:main", "stage:spare",
                                                                "stage:hall"};
        engine->applyAudioSettings(128, devices.at(random() % devices.size()));
        break;
      }
      default:
        break;
    }
    EXPECT_TRUE(engine->engine().isRunning());
  }

  // In construction order: each uses those above it.
  const std::string gig = "/home/me/gig.vrel";
  ScriptedOutputs outputs;
  simulation::RecordingConsole console;
  OfflineClock clock;
  OfflineMainLoop loop{clock};
  SerialQueueFactory queues;
  LibplistSerialization propertyLists;
  simulation::ScriptedDesktop desktop;
  std::unique_ptr<SystemAudioHardware> hardware;
  std::shared_ptr<SystemAudioOutput> output;
  std::unique_ptr<audio::RenderNodeFactory> nodes;
  std::shared_ptr<lv2::Lv2World> world = lv2::Lv2World::open();
  std::unique_ptr<lv2::Lv2UnitFactory> units;
  std::shared_ptr<void> rateFollowed;
  std::shared_ptr<AudioEngine> engine;
  std::unique_ptr<SessionOn> session;
  std::unique_ptr<SetlistCopies> copies;
  std::unique_ptr<SetlistFiles> setlistFiles;
};

TEST_F(AudioLosses, AHundredAreReturnedFromWhileSongsAndDevicesChangeAndSetlistsAreSaved) {
  constexpr int losses = 100;
  constexpr int settled = 20;
  ASSERT_TRUE(eventuallyOnMain([&] { return !session->state.songSwitchInProgress.get(); }));
  std::mt19937 random(7);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same show each time
  std::size_t threadsBefore = 0;
  std::size_t descriptorsBefore = 0;
  for (int loss = 0; loss < losses && !HasFatalFailure(); ++loss) {
    SCOPED_TRACE(loss);
    performOn(random);
    ASSERT_TRUE(isHeard());
    setAllThere(false);
    ASSERT_TRUE(eventuallyOnMain([&] { return !output->state().get().hasDevice(); }));
    performOn(random);
    performOn(random);
    setAllThere(true);
    ASSERT_TRUE(eventuallyOnMain([&] { return output->state().get().hasDevice(); }));
    ASSERT_TRUE(isHeard());
    ASSERT_EQ(engine->channels().size(), 1U);
    EXPECT_EQ(engine->channels()[0]->status.get(), ChannelStatus::running);
    if (loss == settled) {
      threadsBefore = threads();
      descriptorsBefore = openDescriptors();
    }
  }
  EXPECT_TRUE(eventuallyOnMain([&] { return threads() <= threadsBefore && openDescriptors() <= descriptorsBefore; }));
  ASSERT_TRUE(setlistFiles->saveSetlist());
  const auto saved = decodeSetlist(session->files.files[gig]);
  ASSERT_TRUE(saved.ok());
  ASSERT_EQ(saved.value().songs.size(), 2U);
  for (std::size_t song = 0; song < 2; ++song) {
    EXPECT_EQ(saved.value().songs[song].channels[0].pluginPath, setlist().songs[song].channels[0].pluginPath);
  }
}

}  // namespace
}  // namespace vrel::system::test
