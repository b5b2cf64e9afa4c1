// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/sandbox/sandboxing_unit_factory.h"

#include <utility>

#include "platform/dispatch.h"
#include "system/plugins/sandbox/editor_service.h"
#include "system/plugins/sandbox/sandboxed_unit.h"

namespace vrel::sandbox {
namespace {

std::shared_ptr<AVAudioUnit> makeNode(Supervisor::Ready ready, const AudioComponentDescription& codes,
                                      const PluginPlace& place, const SandboxSettings& settings) {
  auto processor = std::make_shared<SandboxProcessor>(
      std::move(ready), SandboxProcessor::Settings{settings.sampleRate, settings.timeout, settings.captureTimeout,
                                                   settings.counters, settings.longestBlock});
  if (codes.componentType == componentTypeMusicDevice) {
    return std::make_shared<SandboxedInstrument>(std::move(processor), place.name, settings.log,
                                                 place.requestParameters, place.presets);
  }
  return std::make_shared<SandboxedUnit>(std::move(processor), place.name, settings.log, place.requestParameters,
                                         place.presets);
}

/// What answers a request for the plug-in's view.
SandboxedInstance::RequestView viewRequest(const std::shared_ptr<EditorService>& editors, const PluginPlace& place) {
  if (editors == nullptr || !place.requestEditor) {
    return {};
  }
  return [editors, request = place.requestEditor](const std::shared_ptr<GuestGate>& guest, double sampleRate,
                                                  AUAudioUnit::ViewControllerHandler handler) {
    request([editors, guest, sampleRate, handler = std::move(handler)](std::optional<EditorPlace> found) {
      const bool canOpen = found && editors->hasDisplay();
      handler(canOpen ? EditorService::makeView(editors, *std::move(found), guest, sampleRate) : nullptr);
    });
  };
}

/// A request that has failed, while its handler runs.
struct FailedRequest {
  AudioComponentDescription description;
  Error error;
};
thread_local const FailedRequest* failedRequest = nullptr;

/// What is known of a unit once it has been made, for the case that it dies.
struct Made {
  std::weak_ptr<AVAudioUnit> node;
  int processId = 0;
};

}  // namespace

SandboxingUnitFactory::SandboxingUnitFactory(std::shared_ptr<Supervisor> supervisor, Finder finder,
                                             MainQueue& mainQueue, SandboxSettings settings)
    : supervisor_(std::move(supervisor)),
      finder_(std::move(finder)),
      mainQueue_(mainQueue),
      settings_(std::move(settings)),
      sampleRate_(settings_.sampleRate) {}

void SandboxingUnitFactory::setDeathHandler(DeathHandler handler) {
  *deathHandler_ = std::move(handler);
}

void SandboxingUnitFactory::instantiate(const AudioComponentDescription& description,
                                        AudioComponentInstantiationOptions /*options*/, UnitHandler completionHandler) {
  launch(description, std::move(completionHandler));
}

void SandboxingUnitFactory::instantiateMIDIInstrument(const AudioComponentDescription& description,
                                                      AudioComponentInstantiationOptions /*options*/,
                                                      UnitHandler completionHandler) {
  launch(description, std::move(completionHandler));
}

void SandboxingUnitFactory::launch(const AudioComponentDescription& description, UnitHandler completionHandler) {
  // Whoever asks out of process for what has failed in process would get another guest that fails.
  if (failedRequest != nullptr && failedRequest->description == description) {
    completionHandler(nullptr, failedRequest->error);
    return;
  }
  const std::optional<PluginPlace> place = finder_(description);
  if (!place) {
    completionHandler(nullptr, Error{"component not installed"});
    return;
  }
  SandboxSettings settings = settings_;
  settings.sampleRate = sampleRate_;
  Supervisor::Launch launch;
  launch.request = {.bundlePath = place->bundlePath,
                    .pluginUri = place->uri,
                    .componentType = description.componentType,
                    .componentSubType = description.componentSubType,
                    .componentManufacturer = description.componentManufacturer,
                    .sampleRate = settings.sampleRate,
                    .nominalBlockFrames = settings_.nominalBlockFrames,
                    .worksWithinBlock = settings_.worksWithinBlock,
                    .isRealTime = settings_.isRealTime};
  const auto made = std::make_shared<Made>();
  launch.done = [made, description, place = *place, settings = std::move(settings), editors = editors_,
                 handler = std::move(completionHandler)](Result<Supervisor::Ready> result) {
    if (!result) {
      const FailedRequest failed{description, result.error()};
      failedRequest = &failed;
      handler(nullptr, failed.error);
      failedRequest = nullptr;
      return;
    }
    made->processId = result.value().guest->processId();
    auto node = makeNode(std::move(result).value(), description, place, settings);
    dynamic_cast<SandboxedInstance&>(node->auAudioUnit()).setRequestView(viewRequest(editors, place));
    made->node = node;
    handler(std::move(node), std::nullopt);
  };
  launch.died = [made, name = place->name, settings = settings_, &mainQueue = mainQueue_,
                 weakHandler = std::weak_ptr(deathHandler_)](const std::string& how) {
    settings.counters->deaths.fetch_add(1, std::memory_order_relaxed);
    mainQueue.async([made, name, log = settings.log, weakHandler, how] {
      const auto handler = weakHandler.lock();
      const auto node = made->node.lock();
      if (handler != nullptr && *handler && node != nullptr) {
        (*handler)({node, made->processId, name + " " + how});
      } else if (log) {
        log("plug-in " + name + " " + how + " as it was released");
      }
    });
  };
  supervisor_->launch(std::move(launch));
}

}  // namespace vrel::sandbox
