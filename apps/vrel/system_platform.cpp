// SPDX-License-Identifier: GPL-3.0-or-later
#include "vrel/system_platform.h"

#include <memory>
#include <optional>
#include <utility>

#include "platform/console_output.h"
#include "system/files/file_calls.h"
#include "system/files/posix_file_manager.h"
#include "system/plugins/lv2/lv2_preset_library.h"

namespace vrel::app {
namespace {

lv2::HostSettings hostSettings(const system::SystemAudioOutput& output, std::function<void(const std::string&)> log,
                               std::shared_ptr<PluginCounters> counters) {
  lv2::HostSettings settings;
  settings.sampleRate = output.sampleRate();
  settings.nominalBlockFrames = output.blockFrames();
  settings.log = std::move(log);
  settings.counters = std::move(counters);
  return settings;
}

std::string helperPath(const SystemPlatform::Settings& settings) {
  return settings.pluginHostProgram.empty() ? sandbox::Supervisor::defaultHelperPath() : settings.pluginHostProgram;
}

std::shared_ptr<FileManager> ownFiles() {
  struct Files {
    system::FileCalls calls;
    system::PosixFileManager manager{calls};
  };
  const auto files = std::make_shared<Files>();
  return {files, &files->manager};
}

}  // namespace

SystemPlatform::SystemPlatform(const Settings& settings, MainQueue& mainQueue, HostClock& clock, ConsoleOutput& console)
    : mainQueue_(mainQueue),
      clock_(clock),
      console_(console),
      hardware_(system::makeAudioBackends(settings.jackServerName, midiInlets_.jack)),
      midi_(system::makeMidiBackends(settings.jackServerName, midiInlets_)),
      output_(std::make_shared<system::SystemAudioOutput>(hardware_, mainQueue, log(FailureKind::output))),
      clips_(clock),
      preview_(std::make_shared<audio::PreviewBus>(
          audio::PreviewBus::Collaborators{output_, *files_, queues_, files_, renderCounters_})),
      nodes_(preview_, renderCounters_, files_),
      world_(lv2::Lv2World::open({.isAwaited = false,
                                  .files = ownFiles(),
                                  .cacheFile = settings.pluginsFile,
                                  .helperProgram = helperPath(settings),
                                  .log = infoLog()})),
      lv2Units_(world_, hostSettings(*output_, log(), pluginCounters_)),
      sandbox_(makeSandbox(settings)),
      rateFollowed_(output_->sampleRateChanged.connect([this](double framesPerSecond) {
        lv2Units_.setSampleRate(framesPerSecond);
        if (sandbox_) {
          sandbox_->setSampleRate(framesPerSecond);
        }
      })) {
  output_->setTimedEvents(midiInlets_.timed);
  output_->setInfoLog(infoLog());
}

std::function<void(const std::string&)> SystemPlatform::infoLog() {
  return [&console = console_](const std::string& line) { console.printInfo(line); };
}

std::function<void(const std::string&)> SystemPlatform::log(FailureKind kind) {
  return [&console = console_, kind](const std::string& line) { console.printFailure(kind, line); };
}

std::unique_ptr<sandbox::SandboxingUnitFactory> SystemPlatform::makeSandbox(const Settings& settings) {
  const std::string program = helperPath(settings);
  auto supervisor =
      sandbox::Supervisor::start({.helperPath = program, .log = log(), .mostParked = sandbox::mostParkedGuests});
  if (!supervisor) {
    console_.print("plug-ins run in this process, without a sandbox: " + supervisor.error().description);
    return nullptr;
  }
  const auto find = [world = world_](const AudioComponentDescription& codes) -> std::optional<sandbox::PluginPlace> {
    const auto plugin = world->find(codes);
    if (plugin == nullptr) {
      return std::nullopt;
    }
    return sandbox::PluginPlace{plugin->name,
                                plugin->bundlePath,
                                plugin->uri,
                                [world, codes](double sampleRate, AUAudioUnit::ParameterTreeHandler handler) {
                                  world->requestParameters(codes, sampleRate, std::move(handler));
                                },
                                std::make_shared<lv2::Lv2PresetLibrary>(world, codes),
                                [world, codes](std::function<void(std::optional<EditorPlace>)> handler) {
                                  world->requestEditor(codes, std::move(handler));
                                }};
  };
  sandbox::SandboxSettings sandboxSettings;
  sandboxSettings.sampleRate = output_->sampleRate();
  sandboxSettings.nominalBlockFrames = output_->blockFrames();
  sandboxSettings.log = log();
  sandboxSettings.counters = pluginCounters_;
  auto factory = std::make_unique<sandbox::SandboxingUnitFactory>(std::move(supervisor).value(), find, mainQueue_,
                                                                  std::move(sandboxSettings));
  editors_ = makeEditors(program);
  factory->setEditors(editors_);
  return factory;
}

std::shared_ptr<sandbox::EditorService> SystemPlatform::makeEditors(const std::string& helperPath) {
  auto supervisor = sandbox::EditorSupervisor::start({.helperPath = helperPath, .log = log()});
  if (!supervisor) {
    console_.print("plug-ins have generic editors only: " + supervisor.error().description);
    return nullptr;
  }
  if (!sandbox::EditorService::hasDisplay()) {
    console_.printInfo("plug-ins have generic editors only: their own need an X display (DISPLAY is not set)");
  }
  return std::make_shared<sandbox::EditorService>(
      sandbox::EditorService::Settings{std::move(supervisor).value(), mainQueue_, log()});
}

EnginePlatform SystemPlatform::platform() {
  AudioUnitFactory& units = sandbox_ ? static_cast<AudioUnitFactory&>(*sandbox_) : lv2Units_;
  return {nodes_,   units,      mainQueue_, queues_,      clock_,  propertyLists_,
          console_, &hardware_, &midi_,     files_.get(), &clips_, true};
}

EditorMedia SystemPlatform::editorMedia() {
  return {.files = files_.get(), .players = preview_.get(), .queues = &queues_, .videos = &clips_};
}

void SystemPlatform::setDeathHandler(sandbox::SandboxingUnitFactory::DeathHandler handler) {
  if (sandbox_) {
    sandbox_->setDeathHandler(std::move(handler));
  }
}

std::uint64_t SystemPlatform::dropouts() const {
  return output_->underruns() + pluginCounters_->lateBlocks + pluginCounters_->silencedBlocks +
         renderCounters_->underrunBlocks + renderCounters_->silencedPlayerBlocks + renderCounters_->nonFiniteBlocks;
}

}  // namespace vrel::app
