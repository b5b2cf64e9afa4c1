// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/plugins/lv2/host_features.h"

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/parameters/parameters.h>
#include <lv2/state/state.h>
#include <lv2/worker/worker.h>

#include <algorithm>

#include "system/audio/node_processor.h"
#include "system/plugins/lv2/port_buffers.h"

namespace vrel::lv2 {

HostFeatures::HostFeatures(UridMap& urids, const HostSettings& settings, double sampleRate, PluginLog& log,
                           PluginWorker& worker, StateFiles& files)
    : sampleRate_(static_cast<float>(sampleRate)),
      maximumBlockFrames_(audio::maximumBlockFrames),
      nominalBlockFrames_(static_cast<std::int32_t>(settings.nominalBlockFrames)),
      sequenceBytes_(PortBuffers::sequenceBytes) {
  const auto option = [&urids](const char* key, const char* type, const auto& value) {
    return LV2_Options_Option{LV2_OPTIONS_INSTANCE, 0, urids.map(key), sizeof value, urids.map(type), &value};
  };
  options_ = {option(LV2_PARAMETERS__sampleRate, LV2_ATOM__Float, sampleRate_),
              option(LV2_BUF_SIZE__minBlockLength, LV2_ATOM__Int, minimumBlockFrames_),
              option(LV2_BUF_SIZE__maxBlockLength, LV2_ATOM__Int, maximumBlockFrames_),
              option(LV2_BUF_SIZE__nominalBlockLength, LV2_ATOM__Int, nominalBlockFrames_),
              option(LV2_BUF_SIZE__sequenceSize, LV2_ATOM__Int, sequenceBytes_),
              LV2_Options_Option{}};

  offer(LV2_URID__map, urids.mapFeature());
  offer(LV2_URID__unmap, urids.unmapFeature());
  offer(LV2_OPTIONS__options, options_.data());
  offer(LV2_BUF_SIZE__boundedBlockLength);
  offer(LV2_WORKER__schedule, worker.feature());
  offer(LV2_LOG__log, log.feature());
  offer(LV2_STATE__makePath, files.makePathFeature());
  offer(LV2_STATE__mapPath, files.mapPathFeature());
  offer(LV2_STATE__freePath, files.freePathFeature());
  offer(LV2_STATE__threadSafeRestore);
  offer(LV2_STATE__loadDefaultState);
  // Promises about the plug-in itself, or about buffers that this host never shares.
  offer(LV2_CORE__hardRTCapable);
  offer(LV2_CORE__inPlaceBroken);
  offer(LV2_CORE__isLive);

  for (const LV2_Feature& feature : features_) {
    list_.push_back(&feature);
  }
  list_.push_back(nullptr);
}

std::optional<std::string> HostFeatures::firstMissing(const PluginDescription& description) const {
  for (const std::string& required : description.requiredFeatures) {
    const bool isOffered = std::any_of(features_.begin(), features_.end(),
                                       [&required](const LV2_Feature& feature) { return required == feature.URI; });
    if (!isOffered) {
      return required;
    }
  }
  return std::nullopt;
}

}  // namespace vrel::lv2
