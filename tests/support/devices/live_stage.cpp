// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/devices/live_stage.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "document/component_scan.h"
#include "system/plugins/lv2/component_codes.h"

namespace vrel::system::test {
namespace {

lv2::HostSettings hostSettings(const SystemAudioOutput& output, const std::shared_ptr<PluginCounters>& counters) {
  lv2::HostSettings settings;
  settings.sampleRate = output.sampleRate();
  settings.nominalBlockFrames = output.blockFrames();
  settings.log = [](const std::string&) {};
  settings.counters = counters;
  return settings;
}

}  // namespace

LiveStage::LiveStage(const Settings& settings)
    : hardware_(makeAudioBackends(settings.jackServerName, midiInlets_.jack)),
      midi_(makeMidiBackends(settings.jackServerName, midiInlets_)),
      output_(std::make_shared<SystemAudioOutput>(hardware_, loop_,
                                                  [this](const std::string& line) { console_.print(line); })),
      nodes_(output_, std::make_shared<audio::RenderCounters>()),
      lv2Units_(world_, hostSettings(*output_, pluginCounters_)) {
  output_->setTimedEvents(midiInlets_.timed);
  if (settings.sandbox) {
    makeSandbox(settings);
  }
  rateFollowed_ = output_->sampleRateChanged.connect([this](double framesPerSecond) {
    lv2Units_.setSampleRate(framesPerSecond);
    if (sandbox_) {
      sandbox_->setSampleRate(framesPerSecond);
    }
  });
  engine_ = AudioEngine::make({nodes_, units(), loop_, queues_, clock_, propertyLists_, console_, &hardware_, &midi_});
  loop_.runPending();
}

void LiveStage::makeSandbox(const Settings& settings) {
  auto supervisor = sandbox::Supervisor::start({.helperPath = settings.pluginHostProgram, .log = {}});
  if (!supervisor) {
    throw std::runtime_error(supervisor.error().description);
  }
  const auto find = [world = world_](const AudioComponentDescription& codes) -> std::optional<sandbox::PluginPlace> {
    const auto plugin = world->find(codes);
    return plugin ? std::optional(sandbox::PluginPlace{plugin->name, plugin->bundlePath, plugin->uri}) : std::nullopt;
  };
  sandbox::SandboxSettings sandboxSettings;
  sandboxSettings.sampleRate = output_->sampleRate();
  sandboxSettings.nominalBlockFrames = output_->blockFrames();
  sandboxSettings.log = [](const std::string&) {};
  sandboxSettings.counters = pluginCounters_;
  sandbox_ = std::make_unique<sandbox::SandboxingUnitFactory>(std::move(supervisor).value(), find, loop_,
                                                              std::move(sandboxSettings));
}

Outcome LiveStage::load(const std::string& uri) {
  const auto all = scanInstrumentComponents(*world_);
  const auto found = std::find_if(all.begin(), all.end(), [&](const AVAudioUnitComponent& component) {
    const auto& codes = component.audioComponentDescription;
    return codes == lv2::componentCodes(codes.componentType, uri);
  });
  if (found == all.end()) {
    return Error{"not installed: " + uri};
  }
  const auto isLoaded =
      std::make_shared<std::optional<bool>>();  // the answer may come after this function has returned
  engine_->instruments().loadInstrument(engine_->addChannel(found->name), *found, std::nullopt,
                                        [isLoaded](bool succeeded) { *isLoaded = succeeded; });
  if (!loop_.waitUntil([&] { return isLoaded->has_value(); }, std::chrono::seconds(30))) {
    return Error{"the instrument did not respond: " + uri};
  }
  return **isLoaded ? Outcome() : Error{"the instrument failed to load: " + uri};
}

const std::vector<std::string>& LiveStage::lines() {
  loop_.runPending();
  return console_.lines;
}

}  // namespace vrel::system::test
