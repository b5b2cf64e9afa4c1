// SPDX-License-Identifier: GPL-3.0-or-later
#include "apps/vrel-render/gig/gig_stage.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "document/setlist_coding.h"
#include "midi/standard_midi_file.h"
#include "system/plugins/sandboxed_node.h"
#include "visuals/visual_clip_player.h"

namespace vrel {
namespace {

lv2::HostSettings hostSettings(ConsoleOutput& console, std::shared_ptr<PluginCounters> counters) {
  lv2::HostSettings host;
  host.sampleRate = GigStage::sampleRate;
  host.nominalBlockFrames = GigStage::blockFrames;
  host.log = [&console](const std::string& line) { console.print(line); };
  host.counters = std::move(counters);
  return host;
}

std::shared_ptr<sandbox::Supervisor> startSupervisor(const std::function<void(const std::string&)>& log) {
  auto supervisor = sandbox::Supervisor::start({.helperPath = VREL_PLUGIN_HOST_PROGRAM, .log = log});
  if (!supervisor) {
    throw std::runtime_error(supervisor.error().description);
  }
  return std::move(supervisor).value();
}

}  // namespace

GigStage::GigStage(const std::filesystem::path& copiesFolder, StateWaits waits)
    : host_(hostSettings(console_, pluginCounters_)),
      supervisor_(startSupervisor(host_.log)),
      units_(makeSandbox(waits)),
      defaults_({}, console_),
      state_({defaults_, *world_, mainLoop_, console_, files_}, {}),
      engine_(AudioEngine::make({nodes_, *units_, mainLoop_, queues_, clock_, propertyLists_, console_, nullptr,
                                 nullptr, audioFiles_.get(), &clips_})),
      performer_({state_, *engine_, mainLoop_, clock_, console_, files_}, copiesFolder),
      counted_(performer_.content().songSwitch().stripsWillGo.connect([this] { ++switches_; })) {
  units_->setDeathHandler([this](const auto& death) { engine_->pluginDied(death.node, death.how); });
  watchEvents();
  mainLoop_.runPending();
}

void GigStage::watchEvents() {
  watching_.push_back(
      performer_.content().selection().channelsViewVersion.changed.connect([this](std::uint64_t) { watchTracks(); }));
  watching_.push_back(
      engine_->visualEngine().activePlayers.changed.connect([this](const VrelVisualEngine::Players& players) {
        std::set<Uuid> shown;
        for (const auto& player : players) {
          shown.insert(player->id);
          events_.clips += shownClips_.contains(player->id) ? 0 : 1;
        }
        shownClips_ = std::move(shown);
      }));
  // The gig only presses the pedal; a panic releases it.
  watching_.push_back(
      state_.sustainPedalValue.changed.connect([this](float value) { events_.panics += value == 0 ? 1 : 0; }));
}

void GigStage::watchTracks() {
  watchingTracks_.clear();
  for (const auto& channel : engine_->channels()) {
    watchingTracks_.push_back(
        channel->playbackIsPlaying.changed.connect([this](bool isPlaying) { events_.tracks += isPlaying ? 1 : 0; }));
  }
}

std::size_t GigStage::sandboxedInstruments() const {
  const auto& channels = engine_->channels();
  return static_cast<std::size_t>(std::count_if(channels.begin(), channels.end(), [](const auto& channel) {
    return dynamic_cast<const SandboxedNode*>(channel->instrumentNode.get().get()) != nullptr;
  }));
}

std::unique_ptr<sandbox::SandboxingUnitFactory> GigStage::makeSandbox(StateWaits waits) {
  const auto finder = [world = world_](const AudioComponentDescription& codes) -> std::optional<sandbox::PluginPlace> {
    const auto plugin = world->find(codes);
    return plugin ? std::optional(sandbox::PluginPlace{plugin->name, plugin->bundlePath, plugin->uri}) : std::nullopt;
  };
  sandbox::SandboxSettings settings;
  settings.sampleRate = host_.sampleRate;
  settings.nominalBlockFrames = host_.nominalBlockFrames;
  settings.log = host_.log;
  settings.counters = host_.counters;
  if (waits == StateWaits::untilDone) {
    settings.timeout = std::nullopt;
    settings.captureTimeout = std::nullopt;
  }
  return std::make_unique<sandbox::SandboxingUnitFactory>(supervisor_, finder, mainLoop_, settings);
}

SetlistFile GigStage::open(const std::filesystem::path& folder) {
  std::ofstream(folder / "raw.vrel") << encodeSetlist(gigSetlist()).value();
  load(folder / "raw.vrel");
  for (std::uint32_t song = 0; song < gigSongs; ++song) {
    perform({{0, render::SongStep{song, ""}}}, [](std::size_t) {});
    playNote(keeperNoteOf(song));
  }
  const auto opened = folder / "opened.vrel";
  if (!save(opened)) {
    throw std::runtime_error("the setlist of the gig cannot be saved");
  }
  load(opened);
  std::ifstream file(opened);
  return readSetlist(std::string(std::istreambuf_iterator<char>(file), {})).value();
}

std::vector<render::ShowStep> GigStage::stepsOf(const std::string& midi) {
  return render::showSteps(readStandardMidiFile(std::vector<std::uint8_t>(midi.begin(), midi.end())).value());
}

void GigStage::load(const std::string& setlistPath) {
  performer_.content().setlistFiles().loadSetlist(setlistPath);
  finishSwitch();
}

bool GigStage::save(const std::string& setlistPath) {
  return performer_.content().setlistFiles().writeSetlist(setlistPath);
}

void GigStage::perform(const std::vector<render::ShowStep>& steps, const std::function<void(std::size_t)>& onSwitched) {
  const std::size_t before = switches_;
  double seconds = 0;
  for (const auto& step : steps) {
    wait(step.seconds - seconds);
    seconds = step.seconds;
    const std::size_t earlier = switches_;
    const double begun = clock_.CACurrentMediaTime();
    performer_.perform(step.action);
    if (switches_ != earlier) {
      finishSwitch();
      switchTimes_.push_back((clock_.CACurrentMediaTime() - begun) * 1e3);
      onSwitched(switches_ - before);
    }
  }
}

void GigStage::wait(double seconds) {
  if (seconds > 0) {
    const auto isOver = std::make_shared<bool>(false);
    mainLoop_.asyncAfter(seconds, [isOver] { *isOver = true; });
    mainLoop_.runUntil([isOver] { return *isOver; });
  }
}

void GigStage::playNote(std::uint8_t note) {
  performer_.perform(MidiFileMessage{0x90, note, 100});
  performer_.perform(MidiFileMessage{0x80, note, 0});
  // Events that a plug-in missed in a late block are delivered with its next request.
  constexpr std::uint64_t blocksInTime = 4;
  std::uint64_t late = 0;
  std::uint64_t begun = 0;
  do {
    late = pluginCounters_->lateBlocks;
    begun = device_->blocks;
    while (device_->blocks < begun + blocksInTime) {
      wait(0.001);
    }
  } while (pluginCounters_->lateBlocks != late);
}

void GigStage::finishSwitch() {
  mainLoop_.runUntil([this] { return !state_.songSwitchInProgress.get(); });
}

void GigStage::settle() {
  finishSwitch();
  while (!isPoolIdle() || engine_->visualEngine().pendingLoads() > 0 ||
         supervisor_->processCount() != heldPlugins() + supervisor_->parkedCount()) {
    wait(0.001);
  }
}

std::size_t GigStage::heldPlugins() {
  std::set<std::string> keys;
  for (const SongConfig& song : state_.songs.get()) {
    for (const ChannelConfig& channel : song.channels) {
      keys.insert(channel.pluginPath);
    }
  }
  std::size_t held = sandboxedInstruments() + engine_->masterChannel()->effectNodes.get().size();
  for (const auto& channel : engine_->channels()) {
    held += channel->effectNodes.get().size();
  }
  for (const std::string& key : keys) {
    held += engine_->pluginPool().idleCount(key);
  }
  return held;
}

bool GigStage::isPoolIdle() {
  const auto& songs = state_.songs.get();
  return std::none_of(songs.begin(), songs.end(), [this](const SongConfig& song) {
    return std::any_of(song.channels.begin(), song.channels.end(), [this](const ChannelConfig& channel) {
      return engine_->pluginPool().isPrewarming(channel.pluginPath);
    });
  });
}

}  // namespace vrel
