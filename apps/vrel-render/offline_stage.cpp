// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel-render/offline_stage.h"

#include <algorithm>
#include <chrono>
#include <set>
#include <utility>

#include "platform/console_output.h"
#include "system/audio/player_feeder.h"
#include "system/files/user_folders.h"
#include "vrel-render/load_problems.h"

namespace vrel::render {
namespace {

lv2::HostSettings hostSettings(const OfflineStage::Settings& settings, ConsoleOutput& console,
                               std::shared_ptr<PluginCounters> counters) {
  lv2::HostSettings host;
  host.sampleRate = settings.rate;
  host.nominalBlockFrames = settings.block;
  host.workerMode = lv2::WorkerMode::withinBlock;
  host.log = [&console](const std::string& line) { console.print(line); };
  host.counters = std::move(counters);
  return host;
}

sandbox::SandboxSettings sandboxSettings(const lv2::HostSettings& host, std::chrono::seconds blockTimeout) {
  sandbox::SandboxSettings settings;
  settings.sampleRate = host.sampleRate;
  settings.nominalBlockFrames = host.nominalBlockFrames;
  settings.worksWithinBlock = true;
  settings.isRealTime = false;
  settings.timeout = std::nullopt;
  settings.captureTimeout = std::nullopt;
  settings.longestBlock = blockTimeout;
  settings.log = host.log;
  settings.counters = host.counters;
  return settings;
}

sandbox::SandboxingUnitFactory::Finder finderIn(const std::shared_ptr<lv2::Lv2World>& world) {
  return [world](const AudioComponentDescription& codes) -> std::optional<sandbox::PluginPlace> {
    const auto plugin = world->find(codes);
    return plugin ? std::optional(sandbox::PluginPlace{plugin->name, plugin->bundlePath, plugin->uri}) : std::nullopt;
  };
}

void addCount(std::vector<std::string>& problems, std::uint64_t count, const std::string& what) {
  if (count > 0) {
    problems.push_back(std::to_string(count) + " " + what);
  }
}

}  // namespace

OfflineStage::OfflineStage(Settings settings, std::shared_ptr<lv2::Lv2World> world, ConsoleOutput& console,
                           EventLog* log)
    : answerTimeout_(settings.answerTimeout),
      console_(console),
      device_(std::make_shared<audio::OfflineDevice>(settings.rate, settings.block)),
      nodes_(device_, renderCounters_, files_),
      lv2Units_(world, hostSettings(settings, console, pluginCounters_)),
      sandboxUnits_(makeSandbox(settings, world)),
      units_(sandboxUnits_ ? static_cast<AudioUnitFactory&>(*sandboxUnits_) : lv2Units_, mainLoop_),
      defaults_({}, console),
      state_({defaults_, *world, mainLoop_, console, runFiles_}, {}),
      engine_(AudioEngine::make({nodes_, units_, mainLoop_, queues_, clock_, propertyLists_, console, nullptr, nullptr,
                                 files_.get(), &clips_})),
      performer_({state_, *engine_, mainLoop_, clock_, console, runFiles_}, system::userCopiesFolder()),
      recorder_({state_, *engine_, performer_.content(), clock_}, log),
      clipRecorder_(*engine_, clock_, log) {
  if (sandboxUnits_) {
    // A plug-in may crash while its answer is held back; its death must be handled after that answer.
    sandboxUnits_->setDeathHandler([this](const sandbox::SandboxingUnitFactory::Death& death) {
      units_.afterAnswers([this, death] { pluginDied(death); });
    });
  }
}

std::unique_ptr<sandbox::SandboxingUnitFactory> OfflineStage::makeSandbox(const Settings& settings,
                                                                          const std::shared_ptr<lv2::Lv2World>& world) {
  if (!settings.sandbox) {
    return nullptr;
  }
  const lv2::HostSettings host = hostSettings(settings, console_, pluginCounters_);
  auto supervisor =
      sandbox::Supervisor::start({.helperPath = sandbox::Supervisor::defaultHelperPath(), .log = host.log});
  if (!supervisor) {
    sandboxFailure_ = supervisor.error();
    return nullptr;
  }
  return std::make_unique<sandbox::SandboxingUnitFactory>(std::move(supervisor).value(), finderIn(world), mainLoop_,
                                                          sandboxSettings(host, settings.blockTimeout));
}

Outcome OfflineStage::start(SetlistFile setlist) {
  if (sandboxFailure_) {
    return sandboxFailure_;
  }
  state_.songs.set(std::move(setlist.songs));
  state_.globalMidiControlAssignments.set(std::move(setlist.globalMidiControlAssignments));
  state_.songControl.set(setlist.songControl);
  performer_.content().setlistFiles().setCollectedFolder(std::move(setlist.collectedFolder));
  mainLoop_.runPending();
  if (engine_->engine().isRunning()) {
    return {};
  }
  return engine_->lastEngineStartError().value_or(Error{"the audio engine failed to start"});
}

void OfflineStage::applySong(std::size_t index) {
  performer_.content().songSwitch().applySong(static_cast<std::ptrdiff_t>(index));
  finishStep();
}

void OfflineStage::finishStep() {
  mainLoop_.runPending();  // a learned control changes the song behind its message
  if (songsWaitedFor_ < songsApplied().size()) {
    songsWaitedFor_ = songsApplied().size();
    waitForPlugins();
    noteLoadProblems();
  }
  mainLoop_.runPending();
}

void OfflineStage::waitForPlugins() {
  if (!mainLoop_.waitUntil([this] { return hasSettled(); }, answerTimeout_)) {
    continueWithoutAnswers();
  }
  mainLoop_.runPending();
}

void OfflineStage::continueWithoutAnswers() {
  console_.print("a plug-in or a file does not respond; the show continues without it");
  constexpr std::chrono::seconds forHeldBackAnswers{1};
  units_.skipUnanswered();
  mainLoop_.waitUntil([this] { return hasSettled(); }, forHeldBackAnswers);
  unanswered_.merge(pluginsBeingMade());
  performer_.content().songSwitch().songSwitchTimedOut(state_.songSwitchLoadToken.get());
}

bool OfflineStage::hasSettled() {
  // The pool comes first: the query runs the pool's queue, so that every pending request posts its answer to the
  // main queue, which ends the wait.
  return pluginsBeingMade().empty() && !state_.songSwitchInProgress.get() &&
         performer_.content().learnedPluginControls().areControlsKnown() && engine_->visualEngine().pendingLoads() == 0;
}

std::set<std::string> OfflineStage::pluginsBeingMade() {
  std::set<std::string> paths;
  for (const auto& song : songs()) {
    for (const auto& channel : song.channels) {
      paths.insert(channel.pluginPath);
    }
  }
  std::erase_if(paths, [this](const std::string& path) {
    return unanswered_.contains(path) || !engine_->pluginPool().isPrewarming(path);
  });
  return paths;
}

void OfflineStage::noteLoadProblems() {
  for (auto& problem : loadProblems(songs()[songsApplied().back()], *engine_, state_)) {
    if (std::find(loadProblems_.begin(), loadProblems_.end(), problem) == loadProblems_.end()) {
      loadProblems_.push_back(std::move(problem));
    }
  }
}

void OfflineStage::perform(const ShowStep& step) {
  mainLoop_.advanceUpTo(step.seconds);
  performer_.perform(step.action);
  waitForPlayers();
  finishStep();
}

void OfflineStage::waitForPlayers() {
  nodes_.playerFeeder().feedBeforeBlock([this] {
    engine_->playbackRuns().playbackQueue().sync([] {});
    mainLoop_.runPending();
  });
}

audio::OfflineDevice::Block OfflineStage::renderBlockUntil(double seconds) {
  mainLoop_.advanceUpTo(seconds);
  waitForPlayers();
  // What happens within a block happens at its first frame, and so does its beat.
  clock_.set(std::exchange(renderedUntil_, seconds));
  const auto begin = std::chrono::steady_clock::now();
  const auto block = device_->renderBlock();
  lastBlockTime_ = std::chrono::steady_clock::now() - begin;
  clock_.set(seconds);
  return block;
}

bool OfflineStage::save(const std::string& path) {
  return performer_.content().setlistFiles().writeSetlist(path);
}

void OfflineStage::pluginDied(const sandbox::SandboxingUnitFactory::Death& death) {
  recorder_.pluginDied(death.node, death.processId);
  engine_->pluginDied(death.node, death.how);
}

std::uint64_t OfflineStage::silencedBlocks() const {
  return pluginCounters_->silencedBlocks + renderCounters_->nonFiniteBlocks + renderCounters_->silencedPlayerBlocks;
}

std::vector<std::string> OfflineStage::problems() const {
  std::vector<std::string> problems = loadProblems_;
  if (const auto& error = engine_->lastEngineStartError()) {
    problems.push_back("the audio engine failed to restart: " + error->description);
  }
  const auto& plugins = *pluginCounters_;
  addCount(problems, plugins.droppedEvents, "events dropped: the queue of an instrument was full");
  addCount(problems, plugins.silencedBlocks, "blocks of a plug-in silenced: not finite or too large");
  addCount(problems, plugins.skippedBlocks, "blocks without a plug-in that was being reconfigured");
  addCount(problems, plugins.refusedWork, "background jobs of a plug-in dropped: the queue was full");
  addCount(problems, plugins.deaths, "plug-ins crashed");
  const auto& blocks = *renderCounters_;
  addCount(problems, blocks.silentBlocks, "blocks silent: the engine was stopped");
  addCount(problems, blocks.nonFiniteBlocks, "blocks of the mix silenced: not finite");
  addCount(problems, blocks.underrunBlocks, "blocks with an underrun of an audio file");
  addCount(problems, blocks.silencedPlayerBlocks, "blocks of an audio file silenced: not finite or too large");
  addCount(problems, blocks.unreadFrames, "frames of audio files silent: could not be read");
  addCount(problems, blocks.refusedConnections, "connections were refused by the audio graph");
  addCount(problems, blocks.refusedNodes, "nodes were refused by the audio graph");
  return problems;
}

}  // namespace vrel::render
