// SPDX-License-Identifier: GPL-3.0-or-later
// Strips of the engine over real processes: a strip whose plug-in dies shows it, and is brought back.

#include <csignal>
#include <tuple>

#include "document/component_scan.h"
#include "document/plugin_path.h"
#include "engine/audio_engine.h"
#include "simulation/recording_console.h"
#include "system/audio/offline_device.h"
#include "system/audio/render_node_factory.h"
#include "system/dispatch/serial_queue.h"
#include "system/plugins/sandbox/own_scratch.h"
#include "system/plugins/sandbox/processes.h"
#include "system/plugins/sandbox/sandbox_stage.h"
#include "system/property_list/libplist_serialization.h"

namespace vrel::sandbox {
namespace {

class RevivedStrips : public SandboxStage {
 protected:
  /// An engine with a rebel that is silent and a sine that sounds.
  struct Show {
    std::shared_ptr<audio::OfflineDevice> device = std::make_shared<audio::OfflineDevice>(48000, 128);
    audio::RenderNodeFactory nodes{device, std::make_shared<audio::RenderCounters>()};
    std::shared_ptr<AudioEngine> engine;
    std::shared_ptr<AudioChannel> rebel;
    std::shared_ptr<AudioChannel> sine;
    std::vector<float> sound;

    void render() {
      for (int block = 0; block < 3; ++block) {
        const auto next = device->renderBlock();
        sound.insert(sound.end(), next.left.begin(), next.left.end());
      }
    }
  };

  void begin(Show& show) {
    show.engine = AudioEngine::make({show.nodes, *factory_, mainLoop_, queues_, clock_, propertyLists_, console_});
    mainLoop_.runPending();
    show.engine->pluginPool().setResolver([all = scanInstrumentComponents(*inProcess_.world)](const std::string& key) {
      return resolvePluginPath(key, all);
    });
    factory_->setDeathHandler([this, &engine = *show.engine](const SandboxingUnitFactory::Death& death) {
      ++deathCount_;
      engine.pluginDied(death.node, death.how);
    });
    show.rebel = load(*show.engine, "urn:vrel:zoo:rebel-kind");
    show.sine = load(*show.engine, "urn:vrel:zoo:sine");
    show.engine->routeMIDI(0x90, 69, 100);
  }

  std::shared_ptr<AudioChannel> load(AudioEngine& engine, const std::string& uri) {
    const auto channel = engine.addChannel(uri);
    channel->maxNote.set(uri == "urn:vrel:zoo:sine" ? 127 : 0);
    engine.instruments().loadInstrument(channel, inProcess_.component(uri), std::nullopt, nullptr);
    waitUntilRunning(*channel);
    return channel;
  }

  void waitUntilRunning(const AudioChannel& channel) {
    EXPECT_TRUE(mainLoop_.waitUntil([&] { return channel.status.get() == ChannelStatus::running; }, 30s));
  }

  static int processOfStrip(const AudioChannel& channel) {
    return dynamic_cast<SandboxedNode&>(*channel.instrumentNode.get()).processId();
  }

  void killAndRevive(Show& show) {
    kill(processOfStrip(*show.rebel), SIGKILL);
    ASSERT_TRUE(happens([&] {
      mainLoop_.runPending();
      return show.rebel->status.get() == ChannelStatus::crashed;
    }));
    show.render();
    show.engine->instruments().reviveChannel(show.rebel);
    ASSERT_EQ(show.rebel->status.get(), ChannelStatus::loading);
    waitUntilRunning(*show.rebel);
    show.render();
  }

  /// The effect in this slot of the strip, once it is there.
  std::shared_ptr<AVAudioUnit> effectIn(const AudioChannel& channel, const Uuid& slotId) {
    const auto& nodes = channel.effectNodes.get();
    EXPECT_TRUE(mainLoop_.waitUntil([&] { return nodes.contains(slotId); }, 30s));
    return nodes.at(slotId);
  }

  int deathCount_ = 0;
  simulation::RecordingConsole console_;

 private:
  system::SerialQueueFactory queues_;
  system::LibplistSerialization propertyLists_;
};

TEST_F(RevivedStrips, AnEffectThatDiesIsMarkedAndReportedWithItsStripAndComesBackWithItsState) {
  const auto effects = scanAudioEffectComponents(*inProcess_.world);
  for (const bool isOfMaster : {false, true}) {
    Show show;
    begin(show);
    const auto channel = isOfMaster ? show.engine->masterChannel() : show.sine;
    const Uuid slotId = Uuid::fresh();
    show.engine->effects().loadEffect(channel, slotId, inProcess_.component("urn:vrel:zoo:gain"), nullptr);
    auto effect = effectIn(*channel, slotId);
    auto state = *effect->auAudioUnit().fullStateForDocument();
    std::get<PropertyListDictionary>(state["ports"].content)["gain"] = {0.0};
    effect->auAudioUnit().setFullStateForDocument(state);
    show.render();
    show.sound.clear();
    show.render();
    EXPECT_EQ(lv2::peak(show.sound), 0) << "its gain";
    kill(dynamic_cast<SandboxedNode&>(*effect).processId(), SIGKILL);
    ASSERT_TRUE(happens([&] {
      mainLoop_.runPending();
      return channel->failedEffects.get() == std::set{slotId};
    }));
    show.render();
    EXPECT_GT(lv2::peak(show.sound), 0.01F) << "its strip is dry";
    EXPECT_EQ(show.sine->status.get(), ChannelStatus::running);
    const std::string where = isOfMaster ? "the master" : "strip urn:vrel:zoo:sine";
    EXPECT_EQ(std::ranges::count(console_.lines, "Effect crashed on " + where + ": Zoo Gain was killed by signal 9"),
              1);
    effect.reset();
    show.engine->effects().reviveEffect(channel, slotId,
                                        [&](const std::string& key) { return resolvePluginPath(key, effects); });
    EXPECT_EQ(effectIn(*channel, slotId)->auAudioUnit().fullStateForDocument(), state);
    EXPECT_TRUE(channel->failedEffects.get().empty());
  }
}

TEST_F(RevivedStrips, ADeathShowsTheSameAsItsRehearsal) {
  Show show;
  begin(show);
  const auto look = [](const AudioChannel& channel) {
    return std::tuple(channel.status.get(), channel.pluginPath.get(), channel.pluginName.get(),
                      channel.instrumentNode.get() == nullptr, channel.peakL.get(), channel.peakR.get());
  };
  kill(processOfStrip(*show.rebel), SIGKILL);
  ASSERT_TRUE(happens([&] {
    mainLoop_.runPending();
    return show.rebel->status.get() == ChannelStatus::crashed;
  }));
  const auto afterDeath = look(*show.rebel);
  show.engine->instruments().reviveChannel(show.rebel);
  waitUntilRunning(*show.rebel);
  show.engine->instruments().simulatePluginCrash(*show.rebel);
  EXPECT_EQ(look(*show.rebel), afterDeath);
  EXPECT_TRUE(happens([this] { return guestCount() == 1; })) << "a rehearsal ends the process too";
}

TEST_F(RevivedStrips, AHundredDeathsAndRevivalsLeaveNothingBehindAndAreNotHeardInTheOtherStrip) {
  const OwnScratch scratch;
  Show show;
  begin(show);
  for (int warm = 0; warm < 10; ++warm) {
    ASSERT_NO_FATAL_FAILURE(killAndRevive(show));
  }
  const std::size_t descriptors = descriptorCount();
  const std::size_t memory = residentBytes();
  for (int round = 0; round < 100; ++round) {
    ASSERT_NO_FATAL_FAILURE(killAndRevive(show));
  }
  EXPECT_EQ(deathCount_, 110);
  EXPECT_TRUE(happens([this] { return guestCount() == 2; }));
  EXPECT_EQ(childrenOf(getpid()).size(), 2U);
  EXPECT_EQ(descriptorCount(), descriptors);
  EXPECT_EQ(sharedMappingCount(), 2U);
  EXPECT_EQ(scratch.count(), 2U);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  EXPECT_LT(residentBytes(), memory + (4U << 20U));
#else
  (void)memory;
#endif

  Show calm;
  begin(calm);
  while (calm.sound.size() < show.sound.size()) {
    calm.render();
  }
  EXPECT_GT(lv2::peak(show.sound), 0.01F);
  EXPECT_TRUE(show.sound == calm.sound);
}

}  // namespace
}  // namespace vrel::sandbox
