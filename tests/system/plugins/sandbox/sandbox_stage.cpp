// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/sandbox_stage.h"

#include <algorithm>

#include "system/plugins/lv2/lv2_preset_library.h"
#include "system/plugins/sandbox/processes.h"
#include "system/plugins/sandbox/word_wait.h"

namespace vrel::sandbox {

SandboxStage::SandboxStage(GuestLink::Timeout timeout, std::string helper, bool isRealTime, lv2::Bundles bundles,
                           std::chrono::milliseconds longestBlock, std::size_t mostParked)
    : inProcess_(bundles) {
  // The scan reads the environment, which some tests change.
  (void)inProcess_.world->componentsMatchingDescription({});
  settings_.timeout = timeout;
  settings_.captureTimeout = timeout;
  settings_.worksWithinBlock = true;
  settings_.isRealTime = isRealTime;
  settings_.longestBlock = longestBlock;
  settings_.log = [lines = lines_](const std::string& line) {
    const std::lock_guard lock(lines->mutex);
    lines->all.push_back(line);
  };
  editors_ = std::make_shared<EditorService>(EditorService::Settings{
      EditorSupervisor::start({.helperPath = helper, .log = settings_.log, .closingGrace = 200ms}).value(), mainLoop_,
      settings_.log});
  supervisor_ = Supervisor::start({.helperPath = std::move(helper),
                                   .log = settings_.log,
                                   .closingGrace = 200ms,
                                   .mostParked = mostParked,
                                   .remakingGrace = 2s,
                                   .presetGrace = 300ms})
                    .value();
  const auto finder = [world = inProcess_.world](const AudioComponentDescription& codes) -> std::optional<PluginPlace> {
    const auto plugin = world->find(codes);
    if (plugin == nullptr) {
      return std::nullopt;
    }
    return PluginPlace{plugin->name,
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
  factory_ = std::make_unique<SandboxingUnitFactory>(supervisor_, finder, mainLoop_, settings_);
  factory_->setEditors(editors_);
  factory_->setDeathHandler([this](const SandboxingUnitFactory::Death& death) {
    deaths_.push_back(death.processId);
    settings_.log(death.how);
  });
}

SandboxStage::~SandboxStage() {
  factory_.reset();
  editors_.reset();
  supervisor_.reset();
  EXPECT_TRUE(childrenOf(getpid()).empty()) << "a process is left behind";
}

std::future<SandboxStage::Made> SandboxStage::makeLater(const AudioComponentDescription& codes,
                                                        AudioComponentInstantiationOptions options) {
  auto made = std::make_shared<std::promise<Made>>();
  factory_->instantiate(codes, options, [made](std::shared_ptr<AVAudioUnit> unit, std::optional<Error> error) {
    made->set_value({std::move(unit), std::move(error)});
  });
  return made->get_future();
}

std::future<SandboxStage::Made> SandboxStage::makeLater(const std::string& uri,
                                                        AudioComponentInstantiationOptions options) {
  return makeLater(inProcess_.component(uri).audioComponentDescription, options);
}

SandboxStage::Made SandboxStage::make(const AVAudioUnitComponent& component) {
  return makeLater(component.audioComponentDescription, AudioComponentInstantiationOptions::outOfProcess).get();
}

SandboxStage::Made SandboxStage::make(const std::string& uri, AudioComponentInstantiationOptions options) {
  return makeLater(uri, options).get();
}

std::optional<PropertyListDictionary> SandboxStage::stateOf(const std::shared_ptr<AVAudioUnit>& unit) {
  std::optional<PropertyListDictionary> state;
  EXPECT_TRUE(happens([&] { return (state = unit->auAudioUnit().fullStateForDocument()).has_value(); }));
  return state;
}

std::vector<std::string> SandboxStage::lines() const {
  const std::lock_guard lock(lines_->mutex);
  return lines_->all;
}

bool SandboxStage::hasLogged(const std::string& part) const {
  const auto all = lines();
  return std::any_of(all.begin(), all.end(),
                     [&part](const std::string& line) { return line.find(part) != std::string::npos; });
}

lv2::Sound DeadlinePlayer::block(std::optional<std::chrono::microseconds> wait) {
  constexpr std::uint32_t frames = 128;
  lv2::Sound sound{std::vector<float>(frames), std::vector<float>(frames)};
  const audio::Stream output{{sound.left.data(), sound.right.data()}, 2};
  std::optional<std::int64_t> deadline;
  if (wait) {
    deadline = monotonicNanoseconds() + std::chrono::nanoseconds(*wait).count();
  }
  const AudioThreadScope block;
  processor_->begin(frames);
  processor_->process({.frameCount = frames, .inputs = {}, .output = output, .deadline = deadline});
  return sound;
}

}  // namespace vrel::sandbox
